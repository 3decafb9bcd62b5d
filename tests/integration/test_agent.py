"""lldp-snmpd as a whole: the sixteen scalars, who may read them, how the served state follows
the file, the AgentX role, and the process itself."""

import copy
import json
import os
import re
import signal
import subprocess
import time

import pytest

from conftest import (RW_CONFIG, as_dict, compare_tables, daemon_binary, error_status,
                      free_udp_port, notifications, parse_output, timed_out, wait_until)
from mib_rows import OBJECTS, REM_TABLES_CHANGE, bits, identifier, integer, octets

SCALARS = [OBJECTS + (group, k, 0) for group, count in ((1, 5), (2, 5), (3, 6))
           for k in range(1, count + 1)]
TX_INTERVAL, SYS_NAME = OBJECTS + (1, 1, 0), OBJECTS + (3, 3, 0)
CHASSIS, SYS_DESC = OBJECTS + (3, 2, 0), OBJECTS + (3, 4, 0)

STATE = {
    "config": {"messageTxInterval": 17, "messageTxHoldMultiplier": 9, "reinitDelay": 3,
               "txDelay": 8},
    "status": {"remTablesLastChangeTime": 1700000000.0, "remTablesInserts": 7,
               "remTablesDeletes": 3, "remTablesDrops": 1, "remTablesAgeouts": 2},
    "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:00:99",
                    "sysName": "leaf1", "sysDesc": "Leaf switch 1",
                    "sysCapSupported": ["other", "bridge", "router", 8], "sysCapEnabled": [2]},
    "interfaces": [{"name": "Ethernet1", "portNum": 1, "neighbors": [
        {"index": 1, "chassisIdSubtype": "local", "chassisId": "spine1",
         "portIdSubtype": "local", "portId": "Ethernet49/1"}]}],
}


def expected_scalars(state):
    c, s, loc = state["config"], state["status"], state["localSystem"]
    values = [integer(c[k]) for k in ("messageTxInterval", "messageTxHoldMultiplier",
                                      "reinitDelay", "txDelay")]
    values += [integer(5), ("Timeticks", 0)]  # the file's change time is before the start
    values += [("Gauge32", s[k]) for k in ("remTablesInserts", "remTablesDeletes",
                                           "remTablesDrops", "remTablesAgeouts")]
    values += [integer(loc["chassisIdSubtype"], "lldpLocChassisIdSubtype"),
               octets(identifier(loc, "chassisId", ("macAddress", 4))), octets(loc["sysName"]),
               octets(loc["sysDesc"]), bits(loc["sysCapSupported"], "lldpLocSysCapSupported", 2),
               bits(loc["sysCapEnabled"], "lldpLocSysCapEnabled", 2)]
    return dict(zip(SCALARS, values))


def test_every_scalar_answers_with_its_type_and_the_state_value_and_none_is_writable(
        start_daemon):
    daemon = start_daemon(STATE, config=RW_CONFIG)
    compare_tables(as_dict(daemon.get(*SCALARS)), expected_scalars(STATE))
    named = daemon.run("snmpget", *SCALARS, mibs=True, flags=("-On",))
    assert named.returncode == 0 and "Wrong Type" not in named.stdout, named
    assert len(parse_output(named.stdout)) == len(SCALARS)
    assert error_status(daemon.set(TX_INTERVAL, "i", 40)) == "notWritable"
    assert error_status(daemon.set(SYS_NAME, "s", "intruder")) in ("notWritable", "noAccess")
    assert [v.value for v in daemon.get(TX_INTERVAL, SYS_NAME)] == [17, b"leaf1"]
    # Values the MIB cannot show answer genErr; the rest is served.
    state = copy.deepcopy(STATE)
    state["localSystem"].update(sysDesc="d" * 256, chassisIdSubtype="local", chassisId="",
                                sysName="bad-values")
    daemon.rewrite(state)
    assert wait_until(lambda: daemon.get_one(SYS_NAME).value == b"bad-values")
    assert [error_status(daemon.run("snmpget", oid)) for oid in (SYS_DESC, CHASSIS)] == \
        ["genError"] * 2


def test_without_a_config_file_only_public_reads_from_loopback(start_daemon, tmp_path):
    # Every place net-snmp would look on its own offers community "leak".
    planted = tmp_path / "planted"
    (planted / ".snmp").mkdir(parents=True)
    for name in ("lldp-snmpd.conf", "lldp-snmpd.local.conf", "snmp.conf"):
        for folder in (planted, planted / ".snmp"):
            (folder / name).write_text("rocommunity leak 127.0.0.1\n")
    daemon = start_daemon(STATE, env=dict(os.environ, SNMPCONFPATH=str(planted),
                                          HOME=str(planted), SNMP_PERSISTENT_DIR=str(planted)))
    assert daemon.get_one(SYS_NAME).value == b"leaf1"
    for community in ("wrong", "private", "leak"):
        assert timed_out(daemon.run("snmpget", SYS_NAME, community=community, quick=True))
    assert "(community public, read-only, from 127.0.0.1)" in daemon.log()


def test_the_config_file_sets_address_communities_and_users(start_daemon):
    port = free_udp_port()
    config = (f"agentaddress udp:127.0.0.1:{port}\nrocommunity secret 127.0.0.1\n"
              "createUser alice SHA alicepassword AES alicepassword\nrouser alice priv\n")
    daemon = start_daemon(STATE, config=config, listen=False, ready=False)
    daemon.port = port
    daemon.wait_ready("secret")
    assert timed_out(daemon.run("snmpget", SYS_NAME, quick=True))
    for password, answered in (("alicepassword", True), ("wrongpassword", False)):
        v3 = ("-v", "3", "-u", "alice", "-l", "authPriv", "-a", "SHA", "-A", password, "-x",
              "AES", "-X", password, "-On", "-Ox")
        proc = daemon.run("snmpget", SYS_NAME, flags=v3)
        assert (parse_output(proc.stdout)[0].value == b"leaf1" if answered
                else proc.returncode != 0), proc


def test_the_served_state_follows_the_file(start_daemon):
    daemon = start_daemon(STATE)
    state = copy.deepcopy(STATE)
    for name, in_place in (("renamed", False), ("in-place", True)):
        state["localSystem"]["sysName"] = name
        daemon.rewrite(state, atomically=not in_place)
        assert wait_until(lambda: daemon.get_one(SYS_NAME).value == name.encode(), 1.0), name
    mark = len(daemon.log())
    daemon.proc.send_signal(signal.SIGHUP)
    assert daemon.wait_for_log(f"applied state file {daemon.state_path}", start=mark)


def test_agentx_subagent_through_a_real_master(start_daemon, agentx_master, trap_receiver):
    master = agentx_master
    with open(master.conf, "a") as conf:
        conf.write(f"trap2sink 127.0.0.1:{trap_receiver.port} public\n")
    daemon = start_daemon(STATE, agentx=master.socket, ready=False,
                          config="agentxPingInterval 1\n")

    def served():
        proc = master.snmp.run("snmpget", *SCALARS, quick=True)
        return proc.returncode == 0 and as_dict(parse_output(proc.stdout)) == \
            expected_scalars(STATE)

    # The subagent tries a few times, quietly, before the master is there (counted from its
    # first try: a sanitized daemon takes seconds to get there).
    assert daemon.wait_for_log("AgentX: no master agent"), daemon.log()
    time.sleep(2.5)
    master.start()
    assert wait_until(served, 10.0), daemon.log()
    # Stopped once every subtree is registered, not while the last ones still are.
    assert daemon.wait_for_log("AgentX: registered with the master agent"), daemon.log()
    master.stop()
    time.sleep(1.5)
    master.start()
    assert wait_until(served, 10.0), daemon.log()
    # The master answers for the first objects registered while the subagent still registers
    # the others: it reports its return once every one is.
    assert daemon.wait_for_log("registered again with the master agent"), daemon.log()
    log = daemon.log()
    assert [log.count(f"AgentX: {event}") for event in (
        "no master agent", "registered with the master agent", "lost the master agent",
        "registered again with the master agent")] == [1, 1, 1, 1] and \
        "Failed to connect" not in log, log
    # How long the LLDP MIBs were away: the master was down 1.5 s, then took its time to start
    # and the subagent up to a ping interval to find it.
    away = float(re.search(r"unreachable for (\d+\.\d) s", log).group(1))
    assert 1.5 <= away < 15.0, log

    # lldpRemTablesChange goes out through the master (a second change should the first fall
    # in the notification interval of one at start).
    state = copy.deepcopy(STATE)
    del state["status"]  # counters and change time the file gives are not maintained
    for index in (2, 3):
        state["interfaces"][0]["neighbors"].append(dict(state["interfaces"][0]["neighbors"][0],
                                                        index=index))
        daemon.rewrite(state)
        if wait_until(lambda: notifications(trap_receiver, REM_TABLES_CHANGE), 5.5):
            break
    assert notifications(trap_receiver, REM_TABLES_CHANGE), daemon.log()


@pytest.mark.parametrize("sig", [signal.SIGTERM, signal.SIGINT])
def test_a_stop_signal_unregisters_every_module_and_exits_0(start_daemon, sig):
    daemon = start_daemon(STATE, args=["--trace", "Snmp=2"])
    daemon.proc.send_signal(signal.SIGUSR1)  # the recent events go to the log
    assert daemon.wait_for_log("Jotlog: ") and "state applied" in daemon.log()
    assert daemon.stop(sig) == 0
    for module in ("LldpMIB", "LldpXdot1MIB", "LldpXdot3MIB"):
        assert f'Unregistering {module} in context ""' in daemon.log()


def test_the_command_line(tmp_path):
    env = {k: v for k, v in os.environ.items() if k != "ZIM_TRACE"}
    run = lambda *cmd: subprocess.run(cmd, capture_output=True, text=True, env=env)  # noqa: E731
    binary, state = daemon_binary(), tmp_path / "state.json"
    helped = run(binary, "--help")
    assert helped.returncode == 0 and all(word in helped.stdout for word in (
        "--listen", "--agentx", "--config", "--state", "--trace", "--version", "--persistent-dir",
        "--snmp-debug", "ZIM_TRACE", "SIGUSR1")), helped.stdout
    assert re.fullmatch(r"lldp-snmpd \d+\.\d+\.\d+ \(net-snmp 5\.[\d.]+\)\n",
                        run(binary, "--version").stdout)
    state.write_text(json.dumps(STATE))
    with_state = [binary, "--state", str(state)]
    for expected, cmd in [
            ("--state", [binary]), ("bad trace level", with_state + ["--trace", "Snmp=12"]),
            ("ZIM_TRACE", ["env", "ZIM_TRACE=Snmp=x"] + with_state),
            ("--listen and --agentx", with_state + ["--agentx", "--listen", "udp:127.0.0.1:1"]),
            ("missing.conf", with_state + ["--config", str(tmp_path / "missing.conf")])]:
        proc = run(*cmd)
        assert proc.returncode != 0 and expected in proc.stdout + proc.stderr, proc


def test_the_persistent_directory_counts_engine_boots(start_daemon, tmp_path):
    saved = tmp_path / "persist" / "lldp-snmpd.conf"
    saved.parent.mkdir()
    boots = []
    for _ in range(2):
        assert start_daemon(STATE, args=["--persistent-dir", str(saved.parent)]).stop() == 0
        boots.append(int(re.search(r"engineBoots (\d+)", saved.read_text()).group(1)))
    assert boots[1] == boots[0] + 1


def test_the_trace_of_loaded_types_names_what_the_plug_in_announced(start_daemon):
    daemon = start_daemon(STATE, args=["--trace", "LldpSnmp=1"])
    line = next((x for x in daemon.log().splitlines() if "loaded types: " in x), "")
    types = line.split("loaded types: ", 1)[-1].split(", ")
    assert {"Lldp::Snmp::Root", "Lldp::Snmp::RemoteSystem::Key"} <= set(types), line
