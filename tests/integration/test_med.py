"""LLDP-EXT-MED-MIB through the running daemon: the application-type index of the policy tables
in OID order, neighbours that sent no MED TLVs, and lldpXMedTopologyChangeDetected at a real
snmptrapd (examples/switch.json gives every table of the four modules rows: test_examples)."""

import copy
import time

from conftest import RW_CONFIG, compare_tables, notifications, wait_until
from mib_rows import (MED, MED_LOC_POLICY, MED_REM_CAP, MED_REM_INVENTORY, MED_REM_POLICY,
                      MED_REM_PD, MED_REM_XPOE, OID, REM, app_type_index, entry, expected_rows,
                      neighbour, table_rows, walk_rows)

TOPOLOGY_CHANGE = OID["lldpXMedTopologyChangeDetected"]
LOCAL = {"chassisIdSubtype": "local", "chassisId": "leaf"}


def phone(index, **med):
    return neighbour(index, chassisIdSubtype="macAddress", chassisId="02:00:00:30:00:%02x" % index,
                     med={"deviceClass": "endpointClass3", **med})


def policies(*types):
    return [{"appType": t, "vlanId": 10 + k, "priority": k, "dscp": 8 * k, "tagged": k % 2 == 0,
             "unknown": k == 2} for k, t in enumerate(types)]


def test_the_policy_tables_order_application_types_by_their_bits_index(start_daemon):
    """One, two and three application types on a port and on a neighbour: the index is the
    two-octet BITS value after its length, so a walk meets the highest application type first,
    and GET and GETNEXT find each row by that index."""
    sets = {1: ["voice"], 2: ["videoSignaling", "voice"],
            3: ["unknown", "streamingVideo", "guestVoiceSignaling"]}
    state = {"localSystem": LOCAL, "interfaces": [
        {"name": f"Ethernet{p}", "portNum": p, "local": {"med": {"policies": policies(*types)}},
         "neighbors": [phone(1, policies=policies(*types))]} for p, types in sets.items()]}
    daemon = start_daemon(state)
    bits = {"unknown": 0, "voice": 1, "guestVoiceSignaling": 4, "streamingVideo": 7,
            "videoSignaling": 8}
    walked = [v.oid for v in daemon.walk(entry(MED_LOC_POLICY, 2))]
    expected = [entry(MED_LOC_POLICY, 2, p, *app_type_index(t))
                for p in sorted(sets) for t in sorted(sets[p], key=lambda t: -bits[t])]
    assert walked == expected
    assert entry(MED_LOC_POLICY, 2, 3, 2, 0x00, 0x80) not in walked  # no videoSignaling on 3
    assert walked[1][-3:] == (2, 0x00, 0x80) and walked[2][-3:] == (2, 0x40, 0x00)
    remote = [v.oid[len(MED_REM_POLICY) + 2:] for v in daemon.walk(entry(MED_REM_POLICY, 2))]
    assert remote == [(0, o[len(MED_LOC_POLICY) + 2], 1) + o[-3:] for o in expected]
    # Every column of every row answers as the state says; GETNEXT from each row gives the next.
    compare_tables(walk_rows(daemon), expected_rows(state))
    nexts = daemon.getnext(*expected[:-1])
    assert [v.oid for v in nexts] == expected[1:]
    # An index naming no single application type names no row.
    for bad in [(2, 0x60, 0x00), (2, 0x00, 0x40), (1, 0x40), (3, 0x40, 0x00, 0x00)]:
        got = daemon.get_one(entry(MED_LOC_POLICY, 2, 2, *bad))
        assert got.type == "noSuchInstance", (bad, got)


def test_a_neighbour_without_med_tlvs_has_no_med_rows(start_daemon):
    """The MED tables list a neighbour only for the TLVs it sent: none without the
    capabilities TLV (its lldpRemTable row is there), the PD table only for a PD."""
    neighbours = [neighbour(1, sysName="plain"),
                  phone(2, power={"deviceType": "pdDevice", "value": 40}),
                  phone(3, inventory={"modelName": "desk-100"})]
    state = {"localSystem": LOCAL,
             "interfaces": [{"name": "Ethernet1", "portNum": 1, "neighbors": neighbours}]}
    daemon = start_daemon(state)
    assert daemon.get_one(entry(REM, 9, 0, 1, 1)).value == b"plain"
    rows = walk_rows(daemon)
    remote = {o for o in rows if o[:len(MED) + 1] == MED + (3,)}
    assert remote and not [o for o in remote if o[len(MED) + 4:len(MED) + 7] == (0, 1, 1)]
    instances = lambda table: {o[len(table) + 2:] for o in table_rows(rows, table)}  # noqa: E731
    assert instances(MED_REM_CAP) == {(0, 1, 2), (0, 1, 3)}
    assert instances(MED_REM_XPOE) == instances(MED_REM_PD) == {(0, 1, 2)}
    assert instances(MED_REM_INVENTORY) == {(0, 1, 3)}
    compare_tables(rows, expected_rows(state))


def test_the_topology_notification_follows_each_port_setting(start_daemon, trap_receiver):
    """A phone appearing on a port with notifications off raises nothing; on a port with
    them on, lldpXMedTopologyChangeDetected arrives with the phone's chassis id subtype,
    chassis id and device class under the phone's instance."""
    state = {"localSystem": LOCAL, "interfaces": [
        {"name": "Ethernet1", "portNum": 1, "local": {"med": {"notifEnable": True}}},
        {"name": "Ethernet2", "portNum": 2, "local": {"med": {"notifEnable": False}}}]}
    sink = f"trap2sink 127.0.0.1:{trap_receiver.port} public\n"
    daemon = start_daemon(state, config=RW_CONFIG + sink)
    changed = copy.deepcopy(state)
    changed["interfaces"][1]["neighbors"] = [phone(4)]
    daemon.rewrite(changed)
    assert wait_until(lambda: daemon.get(entry(MED_REM_CAP, 3, 0, 2, 4))[0].value == 3)
    time.sleep(1.0)  # time enough for a notification to arrive, had one been sent
    assert notifications(trap_receiver, TOPOLOGY_CHANGE) == []

    changed["interfaces"][0]["neighbors"] = [phone(7)]
    daemon.rewrite(changed)
    got = wait_until(lambda: notifications(trap_receiver, TOPOLOGY_CHANGE), 5.0)
    assert len(got) == 1, trap_receiver.log()
    varbinds = [(v.oid[:-3], v.type, v.value) for v in got[0][2:]]
    assert varbinds == [(REM + (1, 4), "INTEGER", 4),
                        (REM + (1, 5), "Hex-STRING", bytes.fromhex("020000300007")),
                        (MED_REM_CAP + (1, 3), "INTEGER", 3)]
    assert {v.oid[-2:] for v in got[0][2:]} == {(1, 7)}
