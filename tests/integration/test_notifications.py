"""lldpRemTablesChange, sent by the running daemon to a real snmptrapd.

The notification is throttled on its leading edge: the first change after a quiet period is
announced at once, the changes in the five seconds after it are not announced at all (not even
when the interval ends), and the next change after that is announced again.
"""

import copy
import time

import pytest

import tables_support as ts
from tables_support import REM, entry

SNMP_TRAP_OID = (1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0)
SYS_UP_TIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
COUNTERS = [ts.REM_TABLES_INSERTS, ts.REM_TABLES_DELETES, ts.REM_TABLES_DROPS,
            ts.REM_TABLES_AGEOUTS]
INTERVAL = 5.0  # lldpNotificationInterval


def neighbour(index, name):
    return {"index": index, "chassisIdSubtype": "local", "chassisId": "chassis-%s" % name,
            "portIdSubtype": "local", "portId": "port-%s" % name, "sysName": name}


def notification_state():
    return {
        "status": {"remTablesDrops": 3, "remTablesAgeouts": 4},
        "localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
        "interfaces": [
            {"name": "Ethernet1", "portNum": 1, "neighbors": [neighbour(1, "a"), neighbour(2, "b")]},
            {"name": "Ethernet2", "portNum": 2, "neighbors": [neighbour(1, "c")]},
            {"name": "Ethernet3", "portNum": 3},
        ],
    }


def with_neighbours(state, port, neighbours):
    changed = copy.deepcopy(state)
    for intf in changed["interfaces"]:
        if intf["portNum"] == port:
            intf["neighbors"] = neighbours
    return changed


@pytest.fixture
def receiver(trap_receiver):
    return trap_receiver


def received(receiver):
    return ts.notifications(receiver, ts.REM_TABLES_CHANGE)


def apply(daemon, state, port, index, name):
    """Rewrites the state and waits until the neighbour (port, index) shows as `name`, or is
    gone when name is None."""
    daemon.rewrite(state)
    oid = entry(REM, 9, 0, port, index)

    def applied():
        got = daemon.agent.get_one(oid)
        return got.type == "noSuchInstance" if name is None else got.value == name.encode()

    ts.wait_until(applied, message="the change of neighbour %d on port %d" % (index, port))


def arrivals(receiver, count, timeout):
    """Waits until `count` notifications have arrived; returns them with the time each was
    first seen."""
    seen = []
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        got = received(receiver)
        while len(seen) < len(got):
            seen.append((time.monotonic(), got[len(seen)]))
        if len(seen) >= count:
            break
        time.sleep(0.05)
    return seen


def check_notification(varbinds, counters):
    assert [v.oid for v in varbinds] == [SYS_UP_TIME, SNMP_TRAP_OID] + COUNTERS
    assert (varbinds[1].type, varbinds[1].value) == ("OID", ts.REM_TABLES_CHANGE)
    assert [(v.type, v.value) for v in varbinds[2:]] == [("Gauge32", c) for c in counters]


def counters_now(agent):
    return [v.value for v in agent.get(*COUNTERS)]


def test_a_burst_of_changes_gives_one_notification(receiver, start_daemon):
    state = notification_state()
    daemon = ts.start(start_daemon, state, trap_port=receiver.port)
    # Whatever the agent announces about its start must not overlap the burst.
    early = arrivals(receiver, 1, timeout=1.0)
    if early:
        time.sleep(max(0.0, early[-1][0] + INTERVAL + 0.5 - time.monotonic()))
    receiver_before = len(received(receiver))

    inserts, deletes, drops, ageouts = counters_now(daemon.agent)
    assert (drops, ageouts) == (3, 4)

    # Four changes, each applied before the next: an insert, a delete, a change, an insert.
    burst_started = time.monotonic()
    first = with_neighbours(state, 3, [neighbour(7, "d")])
    apply(daemon, first, 3, 7, "d")
    second = with_neighbours(first, 1, [neighbour(1, "a")])
    apply(daemon, second, 1, 2, None)
    third = with_neighbours(second, 2, [neighbour(1, "c2")])
    apply(daemon, third, 2, 1, "c2")
    fourth = with_neighbours(third, 3, [neighbour(7, "d"), neighbour(8, "e")])
    apply(daemon, fourth, 3, 8, "e")
    if time.monotonic() - burst_started > INTERVAL - 1.0:
        pytest.skip("the four changes took too long to fall into one interval")

    got = arrivals(receiver, receiver_before + 1, timeout=5)
    assert len(got) >= receiver_before + 1, "no lldpRemTablesChange arrived"
    first_at, notification = got[receiver_before]
    # It carries the counters of its own moment: the first change, one insert.
    check_notification(notification, [inserts + 1, deletes, drops, ageouts])

    # The other three changes are dropped, not kept for the end of the interval.
    time.sleep(max(0.0, first_at + INTERVAL + 1.0 - time.monotonic()))
    assert len(received(receiver)) == receiver_before + 1

    # The next change after the interval is announced, with the counters of that moment.
    fifth = with_neighbours(fourth, 2, [])
    apply(daemon, fifth, 2, 1, None)
    got = arrivals(receiver, receiver_before + 2, timeout=5)
    assert len(got) == receiver_before + 2, "no lldpRemTablesChange after the interval"
    check_notification(got[-1][1], counters_now(daemon.agent))
    assert counters_now(daemon.agent) == [inserts + 2, deletes + 2, drops, ageouts]


def test_switched_off_notification_is_not_sent(receiver, start_daemon):
    state = notification_state()
    daemon = ts.start(start_daemon, state, trap_port=receiver.port,
                      config_lines=["lldpNotification lldpRemTablesChange off"], trace="Snmp=4")
    changed = with_neighbours(state, 3, [neighbour(7, "d")])
    apply(daemon, changed, 3, 7, "d")
    apply(daemon, with_neighbours(changed, 3, []), 3, 7, None)
    time.sleep(2.0)
    assert received(receiver) == []
    assert "lldpRemTablesChange notification not sent" in daemon.log_text()
