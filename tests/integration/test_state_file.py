"""The state file lldp-snmpd refuses: whole, at start or when rewritten, naming the file, the JSON
path and the reason, with the state already served kept."""

import copy
import json
import os
import subprocess

from conftest import daemon_binary, wait_until
from mib_rows import LOC_SYS_NAME

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
# The parser's refusals are unit-tested one by one; here, that the daemon refuses a rewrite
# whole, logs the file, the place and the reason on one line, and keeps serving: a refusal deep
# in a neighbour, a syntax error (a line and a column), a number no double holds (it once
# stopped the daemon) and a key that forges a log line with a newline and escapes.
FORGED = "/etc/forged.json: 9 neighbours added"
REFUSED = [
    (json.dumps(dict(STATE, localSystem=dict(STATE["localSystem"], sysName="must-not-appear"),
                     interfaces=[dict(STATE["interfaces"][0], neighbors=[
                         dict(NEIGHBOUR, unknownTlvs=[{"type": 8, "info": "x"}])])])),
     "$.interfaces[0].neighbors[0].unknownTlvs[0].type: 8 is out of range (9..126)"),
    ('{\n  "config": {\n    "txDelay": 2,\n  }\n}', "line 4, column 3: not valid JSON"),
    ('{"stray": 1e400}', "$.stray: number overflow parsing '1e400'"),
    ('{"x\\nlldp-snmpd: applied state file ' + FORGED + '\\u001b[31m": 1}',
     '$["x\\nlldp-snmpd: applied state file /etc'),
]


def test_a_bad_rewrite_is_refused_whole_naming_file_path_and_reason(start_daemon, tmp_path):
    daemon = start_daemon(STATE)
    for bad, refusal in REFUSED:
        mark = len(daemon.log())
        daemon.rewrite(bad)
        assert daemon.wait_for_log("stays as it was", start=mark), (refusal, daemon.log()[mark:])
        line = next(l for l in daemon.log()[mark:].splitlines() if "refusing" in l)
        assert f"refusing state file {daemon.state_path}: {refusal}" in line, line
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
    daemon.rewrite(with_name("good-again"))
    assert wait_until(lambda: served_name(daemon) == b"good-again", 5.0)


def test_a_bad_file_at_start_stops_the_daemon_with_the_reason(tmp_path):
    state_file = tmp_path / "state.json"
    bad, refusal = REFUSED[0]
    state_file.write_text(bad)
    proc = subprocess.run([daemon_binary(), "--listen", "udp:127.0.0.1:0", "--state",
                           str(state_file)], capture_output=True, text=True, timeout=10)
    assert proc.returncode == 1, proc
    assert f"refusing state file {state_file}: {refusal}" in proc.stderr


def with_name(name):
    state = copy.deepcopy(STATE)
    state["localSystem"]["sysName"] = name
    return state


def served_name(daemon):
    return daemon.get_one(LOC_SYS_NAME).value


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
