"""lldpRemTablesChange, sent by the running daemon to a real snmptrapd.

The notification is throttled on its leading edge: the first change after a quiet period is
announced at once, the changes in the five seconds after it are not announced at all (not even
when the interval ends), and the next change after that is announced again."""

import copy
import time

import pytest

from conftest import RW_CONFIG, SYS_UPTIME, notifications, patient, wait_until
from mib_rows import AGEOUTS, DELETES, DROPS, INSERTS, REM, REM_TABLES_CHANGE, entry, neighbour

COUNTERS = [INSERTS, DELETES, DROPS, AGEOUTS]
SNMP_TRAP_OID = (1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0)
INTERVAL = 5.0  # lldpNotificationInterval
STATE = {"status": {"remTablesDrops": 3, "remTablesAgeouts": 4},
         "localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
         "interfaces": [{"name": f"Ethernet{p}", "portNum": p, "neighbors": [
             neighbour(i, sysName=name) for i, name in names.items()]}
             for p, names in ((1, {1: "a", 2: "b"}), (2, {1: "c"}), (3, {}))]}


def apply(daemon, state, port, names, check):
    """Sets the neighbours of a port ({index: sysName}) and waits until the daemon serves
    neighbour check = (index, sysName), or its absence when sysName is None; returns the new
    state."""
    state = copy.deepcopy(state)
    state["interfaces"][port - 1]["neighbors"] = [neighbour(i, sysName=name)
                                                  for i, name in names.items()]
    daemon.rewrite(state)
    index, name = check
    assert wait_until(lambda: daemon.get_one(entry(REM, 9, 0, port, index)).value ==
                      (name.encode() if name else None))
    return state


def arrivals(receiver, count, timeout):
    """Waits for `count` notifications; returns them, each with when it was first seen."""
    seen = []
    deadline = time.monotonic() + patient(timeout)
    while len(seen) < count and time.monotonic() < deadline:
        got = notifications(receiver, REM_TABLES_CHANGE)
        seen += [(time.monotonic(), n) for n in got[len(seen):]]
        time.sleep(0.05)
    return seen


def test_a_burst_of_changes_gives_one_notification(start_daemon, trap_receiver):
    daemon = start_daemon(STATE, config=RW_CONFIG + f"trap2sink 127.0.0.1:{trap_receiver.port}"
                                                    " public\n")
    # Whatever the agent announces about its start must not overlap the burst.
    early = arrivals(trap_receiver, 1, timeout=1.0)
    if early:
        time.sleep(max(0.0, early[-1][0] + INTERVAL + 0.5 - time.monotonic()))
    before = len(notifications(trap_receiver, REM_TABLES_CHANGE))
    counters = [v.value for v in daemon.get(*COUNTERS)]
    assert counters[2:] == [3, 4]

    # Four changes, each served before the next: an insert, a delete, a change, an insert.
    started = time.monotonic()
    state = apply(daemon, STATE, 3, {7: "d"}, (7, "d"))
    state = apply(daemon, state, 1, {1: "a"}, (2, None))
    state = apply(daemon, state, 2, {1: "c2"}, (1, "c2"))
    state = apply(daemon, state, 3, {7: "d", 8: "e"}, (8, "e"))
    if time.monotonic() - started > INTERVAL - 1.0:
        pytest.skip("the four changes took too long to fall into one interval")
    got = arrivals(trap_receiver, before + 1, timeout=5)
    assert len(got) == before + 1, "no lldpRemTablesChange arrived"
    # snmpTrapOID.0, then the counters of its own moment (the first change: one insert), each
    # a Gauge32 with .0.
    first_at, varbinds = got[-1]
    expected = [counters[0] + 1] + counters[1:]
    assert [(v.oid, v.type, v.value) for v in varbinds] == \
        [(SYS_UPTIME, "Timeticks", varbinds[0].value), (SNMP_TRAP_OID, "OID", REM_TABLES_CHANGE)] \
        + [(o, "Gauge32", c) for o, c in zip(COUNTERS, expected)]

    # The other three are dropped, not kept for the end of the interval; the next change after
    # the interval is announced, with the counters of that moment.
    time.sleep(max(0.0, first_at + INTERVAL + 1.0 - time.monotonic()))
    assert len(notifications(trap_receiver, REM_TABLES_CHANGE)) == before + 1
    apply(daemon, state, 2, {}, (1, None))
    got = arrivals(trap_receiver, before + 2, timeout=5)
    assert len(got) == before + 2, "no lldpRemTablesChange after the interval"
    expected = [counters[0] + 2, counters[1] + 2] + counters[2:]
    assert [v.value for v in got[-1][1][2:]] == expected == [v.value for v in daemon.get(*COUNTERS)]


def test_an_operator_can_switch_it_off_in_the_config_file(start_daemon, trap_receiver):
    config = (RW_CONFIG + f"trap2sink 127.0.0.1:{trap_receiver.port} public\n"
              "lldpNotification lldpRemTablesChange off\nlldpNotification noSuchThing off\n")
    daemon = start_daemon(STATE, config=config, args=["--trace", "Snmp=4"])
    assert f"{daemon.config_path}: line 5" in daemon.log()
    assert "unknown notification 'noSuchThing'" in daemon.log()
    apply(daemon, STATE, 3, {7: "d"}, (7, "d"))
    assert daemon.wait_for_log(f"disabled by lldpNotification in {daemon.config_path}")
    assert "lldpRemTablesChange notification not sent" in daemon.log()
    time.sleep(1.0)
    assert notifications(trap_receiver, REM_TABLES_CHANGE) == []
