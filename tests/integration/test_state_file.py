"""The state file lldp-snmpd refuses: whole, at start or when rewritten, naming the file, the JSON
path and the reason, with the state already served kept."""

import copy
import json
import os
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
    (N + ".dot1.vlanNames[0].id", 0, "0 is out of range (1..4094)"),
    (N + ".dot1.protoVlans", [{"id": 4095}], "4095 is out of range (0..4094)", "[0].id"),
    (N + ".unknownTlvs[0]", {"type": 8, "info": "x"}, "8 is out of range (9..126)", ".type"),
    (N + ".unknownTlvs[0]", {"type": 9, "info": "x" * 512},
     'the string "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx..." has 512 bytes, more than the '
     "511 allowed", ".info"),
    (N + ".managementAddresses[0]", {"subtype": "other", "address": {"hex": "01" * 32}},
     "has 32 bytes, more than the 31 allowed", ".address"),
    (N + ".managementAddresses[0].address", "2001:db8::1", "expected an IPv4 address"),
    (N + ".managementAddresses[1]", {"subtype": "ipV6", "address": "2001:db8::g"},
     "expected an IPv6 address", ".address"),
    (N + ".managementAddresses[1]", {"subtype": "ipV4", "address": "192.0.2.10"},
     'the string "192.0.2.10" is a duplicate management address', ".address"),
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
     "91 is out of range (-90..90)", ".med.locations[0].coordinates.latitude"),
    ("$.interfaces[1].local", {"med": {"locations": [{"elin": "12345"}]}},
     'the string "12345" is not an ELIN (10 to 25 digits)', ".med.locations[0].elin"),
    ("$.interfaces[1].local", {"med": {"locations": [{"elin": "5550100000", "info": "x"}]}},
     "expected exactly one of", ".med.locations[0]"),
    ("$.interfaces[1].local", {"med": {"psePower": {"powerAv": 1024}}},
     "1024 is out of range (0..1023)", ".med.psePower.powerAv"),
    ("$.interfaces[1].local", {"vlanNames": [{"id": 5, "name": "v" * 33}]},
     "has 33 bytes, more than the 32 allowed", ".vlanNames[0].name"),
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


def with_name(name):
    state = copy.deepcopy(STATE)
    state["localSystem"]["sysName"] = name
    return state


def served_name(daemon):
    return daemon.get_one(SYS_NAME).value


def test_hostile_rewrites_are_refused_and_the_daemon_keeps_serving(start_daemon, tmp_path):
    daemon = start_daemon(STATE)
    forged = "/etc/forged.json: 9 neighbours added"
    hostile = [
        ('{"stray": 1e400}', "$.stray: number overflow parsing '1e400'"),
        ('{"localSystem": {"sysName": -1e999}}', "$.localSystem.sysName: number overflow"),
        ('{"x\\nlldp-snmpd: applied state file ' + forged + '": 1}', "unknown key"),
        ('{"localSystem": {"chassisIdSubtype": "' + "\\u001b" * 3 + "q" * 100000 + '"}}',
         "more than the 65536 allowed"),
        ("[" * 100000, "nested deeper than the 32 levels allowed"),
    ]
    for text, reason in hostile:
        mark = len(daemon.log())
        daemon.rewrite(text)
        assert daemon.wait_for_log("stays as it was", start=mark), (reason, daemon.log()[mark:])
        line = next(l for l in daemon.log()[mark:].splitlines() if "refusing" in l)
        assert reason in line and len(line) < 400, line
        assert daemon.proc.poll() is None and served_name(daemon) == b"leaf1"
    assert not any(l.startswith("lldp-snmpd: applied state file /etc/forged.json")
                   for l in daemon.log().splitlines())
    assert "\x1b" not in daemon.log()

    # A named pipe moved into place is refused without the daemon waiting on it.
    fifo = tmp_path / "pipe"
    os.mkfifo(fifo)
    mark = len(daemon.log())
    os.replace(fifo, daemon.state_path)
    assert daemon.wait_for_log("not a regular file (a named pipe)", start=mark), daemon.log()
    assert served_name(daemon) == b"leaf1"
    daemon.rewrite(with_name("after-pipe"))
    assert wait_until(lambda: served_name(daemon) == b"after-pipe", 5.0)


def test_a_named_pipe_at_start_is_refused_at_once(tmp_path):
    fifo = tmp_path / "state.json"
    os.mkfifo(fifo)
    proc = subprocess.run([daemon_binary(), "--listen", "udp:127.0.0.1:0", "--state", str(fifo)],
                          capture_output=True, text=True, timeout=10)
    assert proc.returncode == 1, proc
    assert "not a regular file (a named pipe)" in proc.stderr, proc.stderr


def test_a_link_into_another_folder_is_followed_when_its_target_changes(start_daemon, tmp_path):
    daemon = start_daemon(STATE)
    elsewhere = tmp_path / "elsewhere"
    elsewhere.mkdir()
    target = elsewhere / "state.json"
    target.write_text(json.dumps(with_name("linked")))
    link = daemon.state_path.with_suffix(".link")
    link.symlink_to(target)
    os.replace(link, daemon.state_path)
    assert wait_until(lambda: served_name(daemon) == b"linked", 5.0)

    target.write_text(json.dumps(with_name("rewritten-in-place")))
    assert wait_until(lambda: served_name(daemon) == b"rewritten-in-place", 5.0), daemon.log()
    replacement = elsewhere / "next.tmp"
    replacement.write_text(json.dumps(with_name("replaced-by-rename")))
    os.replace(replacement, target)
    assert wait_until(lambda: served_name(daemon) == b"replaced-by-rename", 5.0), daemon.log()
