"""The state file lldp-snmpd refuses: whole, at start or when rewritten, naming the file, the JSON
path and the reason, with the state already served kept."""

import copy
import json
import re
import subprocess

from conftest import daemon_binary, wait_until
from mib_rows import OBJECTS

SYS_NAME = OBJECTS + (3, 3, 0)
N = "$.interfaces[0].neighbors[0]"
NEIGHBOUR = {"index": 1, "chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:01:01",
             "portIdSubtype": "interfaceName", "portId": "Ethernet49/1", "sysName": "spine1",
             "managementAddresses": [{"subtype": "ipV4", "address": "192.0.2.10"}],
             "unknownTlvs": [{"type": 9, "info": {"hex": "0102"}}],
             "dot1": {"portVlanId": 1, "vlanNames": [{"id": 10, "name": "users"}]}}
STATE = {
    "config": {"messageTxInterval": 30},
    "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:00:99",
                    "sysName": "leaf1", "managementAddresses": [
                        {"subtype": "ipV4", "address": "192.0.2.1", "priority": 1}]},
    "interfaces": [{"name": "Ethernet1", "portNum": 1, "neighbors": [NEIGHBOUR]},
                   {"name": "Ethernet2", "portNum": 2}],
}
DELETE = object()

# (where in STATE, the bad value there (DELETE: removed), reason, the path named when not
# `where`: one that starts with "." or "[" goes on from `where`). Without `where`, the value is
# the whole text of the file.
REFUSED = [
    ("$.interfaces[0].portNum", 4095, "4095 is out of range (1..4094)"),
    ("$.interfaces[1].portNum", 1, "duplicate portNum"),
    ("$.interfaces[1].name", "Ethernet1", "duplicate interface name"),
    ("$.interfaces[0].name", "", "expected an interface name"),
    ("$.interfaces[0].config", {"notificationEnable": 1}, "expected true or false",
     ".notificationEnable"),
    (N + ".dot1.vlanNames[0].id", 0, "VlanId::value < 1 or > 4094 not allowed"),
    (N + ".unknownTlvs[0]", {"type": 8, "info": "x"}, "UnknownTlv::type < 9 or > 126"),
    (N + ".managementAddresses[0]", {"subtype": "other", "address": {"hex": "01" * 32}},
     "ManAddress::bytes > 31 not allowed", ".address"),
    (N + ".managementAddresses[0].address", "2001:db8::1", "expected an IPv4 address"),
    (N + ".managementAddresses[1]", {"subtype": "ipV6", "address": "2001:db8::g"},
     "expected an IPv6 address", ".address"),
    (N + ".managementAddresses[1]", {"subtype": "ipV4", "address": "192.0.2.10"},
     "duplicate management address"),
    (N + ".portId", DELETE, "missing key \"portId\"", N),
    ("$.interfaces[0].neighbors[1]", NEIGHBOUR, "duplicate neighbour index", ".index"),
    (N + ".lastChangeTime", -1, "is not a time"),
    (N + ".orgDefTlvs", [{"oui": "0012bb", "subtype": 1, "index": 1, "info": "x"}],
     "expected an OUI", "[0].oui"),
    ("$.localSystem.sysname", "typo", "unknown key; expected one of: chassisIdSubtype"),
    ("$.config.messageTxInterval", "30", "expected an integer, found the string \"30\""),
    ("$.status", {"remTablesDrops": -1}, "out of range (0..4294967295)", ".remTablesDrops"),
    ("$.localSystem.chassisIdSubtype", "mac", "unknown name \"mac\"; expected one of: chassis"),
    ("$.localSystem.sysCapSupported", [2, "switch"], "unknown bit name \"switch\"", "[1]"),
    ("$.localSystem.sysCapEnabled", [16], "out of range (0..15)", "[0]"),
    ("$.localSystem.sysCapEnabled", "bridge", "expected an array"),
    ("$.localSystem.chassisId", "02:00:00:00:00", "expected a MAC address"),
    ("$.localSystem.sysDesc", {"hex": "0g"}, "not a hex string", ".hex"),
    ("$.localSystem.sysDesc", {"hex": "abc"}, "odd number of hex digits", ".hex"),
    ("$.localSystem.managementAddresses[0].oid", "1.3.x", "expected an OID"),
    ("$.localSystem.managementAddresses[1]", {"subtype": "ipV4", "address": "10.0.0.1",
                                              "priority": 1}, "duplicate priority", ".priority"),
    ("$.config.medFastStartRepeatCount", 0, "0 is out of range (1..10)"),
    (N + ".med", {"deviceClass": 5}, "5 is not one of: notDefined (0)", ".deviceClass"),
    (N + ".med", {"deviceClass": 3, "policies": [{"appType": "voice", "dscp": 64}]},
     "64 is out of range (0..63)", ".policies[0].dscp"),
    (N + ".med", {"deviceClass": 3, "policies": [{"appType": 9}]}, "9 is not one of",
     ".policies[0].appType"),
    (N + ".med", {"deviceClass": 3, "capCurrent": ["capabilities"], "inventory": {}},
     "the neighbour sends inventory, which capCurrent does not name", ".capCurrent"),
    (N + ".med", {"deviceClass": 3, "power": {"deviceType": "pdDevice", "source": "primary"}},
     "unknown name \"primary\"", ".power.source"),
    ("$.interfaces[1].local", {"med": {"locations": [
        {"coordinates": {"latitude": 91, "longitude": 0}}]}},
     "latitude 91 is not within -90..90", ".med.locations[0].coordinates"),
    ("$.interfaces[1].local", {"med": {"locations": [{"elin": "12345"}]}},
     "ELIN of 5 digits, expected 10 to 25", ".med.locations[0].elin"),
    ("$.interfaces[1].local", {"med": {"locations": [{"elin": "5550100000", "info": "x"}]}},
     "expected exactly one of", ".med.locations[0]"),
    ("$.interfaces[1].local", {"med": {"psePower": {"powerAv": 1024}}},
     "1024 is out of range (0..1023)", ".med.psePower.powerAv"),
    ("$.interfaces[1].local", {"vlanNames": [{"id": 5, "name": "v" * 33}]},
     "33 bytes; expected 1 to 32", ".vlanNames[0].name"),
    ("$.interfaces[1].local", {"protoVlans": [{"id": 7}, {"id": 7}]},
     "duplicate port-and-protocol VLAN id", ".protoVlans[1].id"),
    (None, '{"localSystem": {"chassisIdSubtype": 7, "chassisId": "a", "sysName": "b", '
           '"sysName": "c"}}', "duplicate key", "$.localSystem.sysName"),
    (None, '{\n  "config": {\n    "txDelay": 2,\n  }\n}', "not valid JSON", "line 4, column 3"),
    (None, "[]", "expected an object, found an array", "$"),
]


def bad_text(where, value):
    if where is None:
        return value
    doc = copy.deepcopy(STATE)
    doc["localSystem"]["sysName"] = "must-not-appear"
    keys = [int(i) if i else k for k, i in re.findall(r"\.(\w+)|\[(\d+)\]", where)]
    parent = doc
    for key in keys[:-1]:
        parent = parent[key]
    if value is DELETE:
        del parent[keys[-1]]
    elif isinstance(parent, list) and keys[-1] == len(parent):
        parent.append(value)
    else:
        parent[keys[-1]] = value
    return json.dumps(doc)


def test_a_bad_rewrite_is_refused_whole_naming_file_path_and_reason(start_daemon):
    daemon = start_daemon(STATE)
    for where, value, reason, *named in REFUSED:
        path = where + named[0] if named and named[0][0] in ".[" else (named or [where])[0]
        mark = len(daemon.log())
        daemon.rewrite(bad_text(where, value))
        assert daemon.wait_for_log("stays as it was", start=mark), (where, daemon.log()[mark:])
        line = next(l for l in daemon.log()[mark:].splitlines() if "refusing" in l)
        assert f"refusing state file {daemon.state_path}: {path}: " in line, line
        assert reason in line, line
    assert daemon.get_one(SYS_NAME).value == b"leaf1"
    state = copy.deepcopy(STATE)
    state["localSystem"]["sysName"] = "good-again"
    daemon.rewrite(state)
    assert wait_until(lambda: daemon.get_one(SYS_NAME).value == b"good-again", 1.0)


def test_a_bad_file_at_start_stops_the_daemon_with_the_reason(tmp_path):
    state_file = tmp_path / "state.json"
    state_file.write_text(bad_text(*REFUSED[0][:2]))
    proc = subprocess.run([daemon_binary(), "--listen", "udp:127.0.0.1:0", "--state",
                           str(state_file)], capture_output=True, text=True, timeout=10)
    assert proc.returncode == 1, proc
    assert f"refusing state file {state_file}: {REFUSED[0][0]}: {REFUSED[0][2]}" in proc.stderr
