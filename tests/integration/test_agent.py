"""lldp-snmpd as a whole: the scalars it serves from the state file, who may read them, how the
served state follows the file, notifications, the AgentX role, and the process itself."""

import copy
import json
import os
import re
import signal
import subprocess
import time

import pytest

from conftest import (READY_TIMEOUT, Daemon, MasterAgent, daemon_binary, neighbor,
                      poll)

LLDP = "1.0.8802.1.1.2"
NOTIFICATION = f"{LLDP}.0.0.1"  # lldpRemTablesChange

# name: (OID, expected type)
SCALARS = {
    "lldpMessageTxInterval": (f"{LLDP}.1.1.1.0", "INTEGER"),
    "lldpMessageTxHoldMultiplier": (f"{LLDP}.1.1.2.0", "INTEGER"),
    "lldpReinitDelay": (f"{LLDP}.1.1.3.0", "INTEGER"),
    "lldpTxDelay": (f"{LLDP}.1.1.4.0", "INTEGER"),
    "lldpNotificationInterval": (f"{LLDP}.1.1.5.0", "INTEGER"),
    "lldpStatsRemTablesLastChangeTime": (f"{LLDP}.1.2.1.0", "Timeticks"),
    "lldpStatsRemTablesInserts": (f"{LLDP}.1.2.2.0", "Gauge32"),
    "lldpStatsRemTablesDeletes": (f"{LLDP}.1.2.3.0", "Gauge32"),
    "lldpStatsRemTablesDrops": (f"{LLDP}.1.2.4.0", "Gauge32"),
    "lldpStatsRemTablesAgeouts": (f"{LLDP}.1.2.5.0", "Gauge32"),
    "lldpLocChassisIdSubtype": (f"{LLDP}.1.3.1.0", "INTEGER"),
    "lldpLocChassisId": (f"{LLDP}.1.3.2.0", "Hex-STRING"),
    "lldpLocSysName": (f"{LLDP}.1.3.3.0", "STRING"),
    "lldpLocSysDesc": (f"{LLDP}.1.3.4.0", "STRING"),
    "lldpLocSysCapSupported": (f"{LLDP}.1.3.5.0", "Hex-STRING"),
    "lldpLocSysCapEnabled": (f"{LLDP}.1.3.6.0", "Hex-STRING"),
}


def oid(name):
    return SCALARS[name][0]


def value_of(result, name):
    return result.values()[oid(name)][1]


def served_sys_name(daemon):
    result = daemon.get(oid("lldpLocSysName"))
    return value_of(result, "lldpLocSysName") if result.ok else None


def timeticks(text):
    return int(re.match(r"\((\d+)\)", text).group(1))


# --- the scalars ------------------------------------------------------------------------------


class TestScalars:
    def test_every_scalar_answers_with_its_type_and_the_state_value(self, start_daemon,
                                                                    base_state):
        daemon = start_daemon(base_state)
        result = daemon.get(*(o for o, _ in SCALARS.values()))
        assert result.ok, result
        values = result.values()
        for name, (o, kind) in SCALARS.items():
            assert values[o][0] == kind, f"{name}: {values[o]}"
        expected = {
            "lldpMessageTxInterval": "30",
            "lldpMessageTxHoldMultiplier": "4",
            "lldpReinitDelay": "2",
            "lldpTxDelay": "2",
            "lldpNotificationInterval": "5",
            "lldpStatsRemTablesInserts": "7",
            "lldpStatsRemTablesDeletes": "3",
            "lldpStatsRemTablesDrops": "1",
            "lldpStatsRemTablesAgeouts": "2",
            "lldpLocChassisIdSubtype": "4",
            "lldpLocChassisId": "00 1C 73 00 00 99",
            "lldpLocSysName": '"leaf1"',
            "lldpLocSysDesc": '"Leaf switch 1"',
            "lldpLocSysCapSupported": "28 00",  # bridge(2) and router(4)
            "lldpLocSysCapEnabled": "20 00",  # bridge(2)
        }
        for name, text in expected.items():
            assert values[oid(name)][1].strip() == text, name
        # The change time of the file lies before the agent started: uptime 0.
        assert timeticks(values[oid("lldpStatsRemTablesLastChangeTime")][1]) == 0

    def test_other_configuration_values_are_served_as_written(self, start_daemon, base_state):
        base_state["config"] = {"messageTxInterval": 17, "messageTxHoldMultiplier": 9,
                                "reinitDelay": 3, "txDelay": 8}
        base_state["localSystem"]["chassisIdSubtype"] = 7  # local, by number
        base_state["localSystem"]["chassisId"] = "chassis-7"
        base_state["localSystem"]["sysCapSupported"] = ["other", "stationOnly", 8]
        daemon = start_daemon(base_state)
        values = daemon.get(oid("lldpMessageTxInterval"), oid("lldpMessageTxHoldMultiplier"),
                            oid("lldpReinitDelay"), oid("lldpTxDelay"),
                            oid("lldpNotificationInterval"), oid("lldpLocChassisIdSubtype"),
                            oid("lldpLocChassisId"), oid("lldpLocSysCapSupported")).values()
        assert [values[oid(n)][1] for n in ("lldpMessageTxInterval", "lldpMessageTxHoldMultiplier",
                                            "lldpReinitDelay", "lldpTxDelay",
                                            "lldpNotificationInterval",
                                            "lldpLocChassisIdSubtype")] == \
            ["17", "9", "3", "8", "5", "7"]
        assert values[oid("lldpLocChassisId")][1] == '"chassis-7"'
        assert values[oid("lldpLocSysCapSupported")][1].strip() == "81 80"

    def test_with_the_mibs_loaded_every_scalar_has_the_type_its_mib_declares(self, start_daemon,
                                                                            base_state):
        daemon = start_daemon(base_state)
        result = daemon.get(*(o for o, _ in SCALARS.values()), mibs=True)
        assert result.ok, result
        assert "Wrong Type" not in result.stdout + result.stderr
        assert len(result.values()) == len(SCALARS)

    def test_values_the_mib_cannot_show_answer_generr_and_the_rest_is_served(self, start_daemon,
                                                                             base_state):
        base_state["localSystem"]["sysDesc"] = "d" * 256
        base_state["localSystem"]["chassisIdSubtype"] = "local"
        base_state["localSystem"]["chassisId"] = ""
        daemon = start_daemon(base_state)
        for name in ("lldpLocSysDesc", "lldpLocChassisId"):
            result = daemon.get(oid(name))
            assert not result.ok and not result.timed_out, result
            assert "genError" in result.stderr, result
        assert served_sys_name(daemon) == '"leaf1"'


# --- who may read, and nobody may write ------------------------------------------------------


class TestAccess:
    def test_without_a_config_file_only_public_reads(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        assert served_sys_name(daemon) == '"leaf1"'
        assert daemon.get(oid("lldpLocSysName"), community="private").timed_out
        assert "answering SNMP on" in daemon.log()
        assert "community public, read-only, from 127.0.0.1" in daemon.log()

    def test_a_wrong_community_gets_no_answer(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        result = daemon.get(oid("lldpLocSysName"), community="wrong")
        assert result.timed_out, result

    def test_the_config_file_grants_its_communities_and_users_and_nothing_else(
            self, start_daemon, base_state):
        config = ("rocommunity secret 127.0.0.1\n"
                  "createUser alice SHA alicepassword AES alicepassword\n"
                  "rouser alice priv\n")
        daemon = start_daemon(base_state, config=config, ready_community="secret")
        assert value_of(daemon.get(oid("lldpLocSysName"), community="secret"),
                        "lldpLocSysName") == '"leaf1"'
        assert daemon.get(oid("lldpLocSysName"), community="public").timed_out
        v3 = daemon.tools.run("snmpget", [f"127.0.0.1:{daemon.port}", oid("lldpLocSysName")],
                              version="3",
                              extra=["-u", "alice", "-l", "authPriv", "-a", "SHA", "-A",
                                     "alicepassword", "-x", "AES", "-X", "alicepassword"])
        assert v3.ok, v3
        assert value_of(v3, "lldpLocSysName") == '"leaf1"'
        wrong = daemon.tools.run("snmpget", [f"127.0.0.1:{daemon.port}", oid("lldpLocSysName")],
                                 version="3",
                                 extra=["-u", "alice", "-l", "authPriv", "-a", "SHA", "-A",
                                        "wrongpassword", "-x", "AES", "-X", "wrongpassword"])
        assert not wrong.ok

    def test_no_snmp_configuration_of_the_system_or_the_user_is_read(self, start_daemon,
                                                                     base_state, tmp_path):
        # Every place net-snmp would look on its own offers community "leak".
        planted = tmp_path / "planted"
        (planted / ".snmp").mkdir(parents=True)
        for directory in (planted, planted / ".snmp"):
            for name in ("lldp-snmpd.conf", "lldp-snmpd.local.conf", "snmp.conf"):
                (directory / name).write_text("rocommunity leak 127.0.0.1\n")
        env = dict(os.environ, SNMPCONFPATH=str(planted), HOME=str(planted),
                   SNMP_PERSISTENT_DIR=str(planted))
        daemon = start_daemon(base_state, env=env)
        assert served_sys_name(daemon) == '"leaf1"'
        assert daemon.get(oid("lldpLocSysName"), community="leak").timed_out

    def test_agentaddress_of_the_config_file_is_where_it_listens_without_listen(
            self, start_daemon, base_state, udp_port):
        config = f"agentaddress udp:127.0.0.1:{udp_port}\nrocommunity public 127.0.0.1\n"
        daemon = start_daemon(base_state, config=config, listen=False, ready=False)
        daemon.port = udp_port
        daemon.wait_ready()
        assert served_sys_name(daemon) == '"leaf1"'


class TestSet:
    CONFIG = "rocommunity public 127.0.0.1\nrwcommunity private 127.0.0.1\n"

    def test_a_configuration_scalar_is_not_writable(self, start_daemon, base_state):
        daemon = start_daemon(base_state, config=self.CONFIG)
        result = daemon.set(oid("lldpMessageTxInterval"), "i", 40)
        assert not result.ok and not result.timed_out, result
        assert "notWritable" in result.stderr, result
        assert value_of(daemon.get(oid("lldpMessageTxInterval")), "lldpMessageTxInterval") == "30"

    def test_a_local_system_scalar_is_refused(self, start_daemon, base_state):
        daemon = start_daemon(base_state, config=self.CONFIG)
        result = daemon.set(oid("lldpLocSysName"), "s", "intruder")
        assert not result.ok and not result.timed_out, result
        assert re.search(r"notWritable|noAccess|noCreation", result.stderr), result
        assert served_sys_name(daemon) == '"leaf1"'


# --- the served state follows the file --------------------------------------------------------


class TestLiveState:
    def test_rewriting_the_state_changes_what_is_served(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        base_state["localSystem"]["sysName"] = "leaf1-renamed"
        daemon.rewrite_state(base_state)
        assert poll(lambda: served_sys_name(daemon) == '"leaf1-renamed"', READY_TIMEOUT)

    def test_a_file_rewritten_in_place_is_seen_too(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        base_state["localSystem"]["sysName"] = "in-place"
        with open(daemon.state_path, "w") as f:
            f.write(json.dumps(base_state))
        assert poll(lambda: served_sys_name(daemon) == '"in-place"', READY_TIMEOUT)

    def test_sighup_reads_the_file_again(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        mark = len(daemon.log())
        daemon.send_signal(signal.SIGHUP)
        assert daemon.wait_for_log(f"applied state file {daemon.state_path}", start=mark)
        assert served_sys_name(daemon) == '"leaf1"'

    @pytest.mark.parametrize("bad, path, reason", [
        ("{\"localSystem\": ", "line 1", "not valid JSON"),
        ({"interfaces": [{"name": "Ethernet9", "portNum": 4095}]}, "$.interfaces[2].portNum",
         "out of range"),
        ({"localSystem": {"sysname": "typo"}}, "$.localSystem.sysname", "unknown key"),
    ])
    def test_an_invalid_rewrite_keeps_the_served_state_and_says_where_and_why(
            self, start_daemon, base_state, bad, path, reason):
        daemon = start_daemon(base_state)
        if isinstance(bad, dict):
            doc = copy.deepcopy(base_state)
            if "interfaces" in bad:
                doc["interfaces"] += bad["interfaces"]
            else:
                doc["localSystem"].update(bad["localSystem"])
            doc["localSystem"]["sysName"] = "must-not-appear"
            text = json.dumps(doc)
        else:
            text = bad
        mark = len(daemon.log())
        daemon.rewrite_state(text)
        assert daemon.wait_for_log("refusing state file", start=mark), daemon.log()
        line = next(l for l in daemon.log()[mark:].splitlines() if "refusing state file" in l)
        assert str(daemon.state_path) in line
        assert path in line and reason in line, line
        assert "stays as it was" in line
        assert served_sys_name(daemon) == '"leaf1"'
        # And the next good file is taken again.
        base_state["localSystem"]["sysName"] = "good-again"
        daemon.rewrite_state(base_state)
        assert poll(lambda: served_sys_name(daemon) == '"good-again"', READY_TIMEOUT)

    def test_counters_and_change_time_follow_neighbour_changes_the_file_does_not_count(
            self, start_daemon, base_state):
        del base_state["status"]
        daemon = start_daemon(base_state)
        names = ("lldpStatsRemTablesInserts", "lldpStatsRemTablesDeletes",
                 "lldpStatsRemTablesLastChangeTime")

        def counters():
            values = daemon.get(*(oid(n) for n in names)).values()
            return (int(values[oid(names[0])][1]), int(values[oid(names[1])][1]),
                    timeticks(values[oid(names[2])][1]))

        inserts, deletes, changed_at = counters()
        assert (inserts, deletes) == (2, 0)  # both neighbours of the first file

        time.sleep(0.3)  # so that a later change time is a larger uptime
        base_state["interfaces"][0]["neighbors"].append(
            neighbor(2, "spine3", "00:1c:73:00:03:01", "Ethernet49/1"))
        del base_state["interfaces"][1]["neighbors"][0]
        daemon.rewrite_state(base_state)
        assert poll(lambda: counters()[:2] == (3, 1), READY_TIMEOUT), counters()
        assert counters()[2] > changed_at

        # A file with nothing new changes neither the counters nor the time.
        before = counters()
        base_state["interfaces"][0]["statistics"] = {"txFramesTotal": 5}
        daemon.rewrite_state(base_state)
        assert poll(lambda: daemon.get(f"{LLDP}.1.2.6.1.2.1").values().get(
            f"{LLDP}.1.2.6.1.2.1", ("", ""))[1] == "5", READY_TIMEOUT)
        assert counters() == before

    def test_a_neighbour_that_changes_keeps_its_row_and_shows_the_change(self, start_daemon,
                                                                         base_state):
        daemon = start_daemon(base_state)
        sys_name = f"{LLDP}.1.4.1.1.9"  # lldpRemSysName
        walked = daemon.walk(sys_name).values()
        assert sorted(v for _, v in walked.values()) == ['"spine1"', '"spine2"']
        base_state["interfaces"][0]["neighbors"][0]["sysName"] = "spine1-new"
        daemon.rewrite_state(base_state)

        def names():
            return sorted(v for _, v in daemon.walk(sys_name).values().values())

        assert poll(lambda: names() == ['"spine1-new"', '"spine2"'], READY_TIMEOUT), names()

    def test_interfaces_come_and_go_with_the_file(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        port_id = f"{LLDP}.1.3.7.1.3"  # lldpLocPortId

        def ports():
            return {o.rsplit(".", 1)[1]: v for o, (_, v) in daemon.walk(port_id).values().items()}

        assert ports() == {"1": '"Ethernet1"', "2": '"Ethernet2"'}
        base_state["interfaces"] = [
            base_state["interfaces"][1],
            {"name": "Ethernet7", "portNum": 7, "local": {"portId": "Ethernet7"}},
        ]
        daemon.rewrite_state(base_state)
        assert poll(lambda: ports() == {"2": '"Ethernet2"', "7": '"Ethernet7"'},
                    READY_TIMEOUT), ports()
        # The neighbour of the interface that went has gone with it.
        rem = daemon.walk(f"{LLDP}.1.4.1.1.9").values()
        assert [v for _, v in rem.values()] == ['"spine2"']

    def test_an_interface_that_changes_its_port_number_moves(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        base_state["interfaces"][0]["portNum"] = 11
        daemon.rewrite_state(base_state)
        port_id = f"{LLDP}.1.3.7.1.3"

        def ports():
            return sorted(int(o.rsplit(".", 1)[1]) for o in daemon.walk(port_id).values())

        assert poll(lambda: ports() == [2, 11], READY_TIMEOUT), ports()
        rem = daemon.walk(f"{LLDP}.1.4.1.1.9").values()
        # lldpRemSysName.<timeMark>.<localPortNum>.<index>
        assert sorted(o.split(".")[-2] for o in rem) == ["11", "2"]

    def test_a_local_management_address_that_changes_is_served_with_its_new_value(
            self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        if_id = f"{LLDP}.1.3.8.1.5.1.4.192.0.2.1"  # lldpLocManAddrIfId of 192.0.2.1
        assert daemon.get(if_id).values()[if_id][1] == "1"
        base_state["localSystem"]["managementAddresses"][0]["ifId"] = 42
        daemon.rewrite_state(base_state)
        assert poll(lambda: daemon.get(if_id).values().get(if_id, ("", ""))[1] == "42",
                    READY_TIMEOUT)


# --- notifications ----------------------------------------------------------------------------


def change_neighbours_until(daemon, state, received):
    """Adds a neighbour, then (should a notification sent at start hold the next one back
    for the notification interval) removes another one; returns what received() says."""
    state["interfaces"][0]["neighbors"].append(
        neighbor(2, "spine3", "00:1c:73:00:03:01", "Ethernet49/1"))
    daemon.rewrite_state(state)
    if poll(received, 6.0):
        return received()
    del state["interfaces"][1]["neighbors"][0]
    daemon.rewrite_state(state)
    return poll(received, 6.0)


class TestNotifications:
    def test_a_neighbour_change_sends_lldpRemTablesChange_to_the_trap_sink(
            self, start_daemon, base_state, trap_receiver):
        del base_state["status"]
        config = f"rocommunity public 127.0.0.1\ntrap2sink {trap_receiver.address} public\n"
        daemon = start_daemon(base_state, config=config)

        def sent_with_three_inserts():
            return [n for n in trap_receiver.notifications(NOTIFICATION)
                    if (f"{LLDP}.1.2.2.0", "Gauge32", "3") in n]

        found = change_neighbours_until(daemon, base_state, sent_with_three_inserts)
        assert found, trap_receiver.log()
        # After snmpTrapOID.0: inserts, deletes, drops, ageouts, each a Gauge32.
        varbinds = found[0]
        after = [v for v in varbinds if v[0] != "1.3.6.1.2.1.1.3.0"][1:]
        assert [(o, t) for o, t, _ in after] == [(f"{LLDP}.1.2.{i}.0", "Gauge32")
                                                 for i in (2, 3, 4, 5)]
        assert [v for _, _, v in after][2:] == ["0", "0"]

    def test_lldpNotification_off_in_the_config_file_switches_it_off(
            self, start_daemon, base_state, trap_receiver):
        del base_state["status"]
        config = (f"rocommunity public 127.0.0.1\ntrap2sink {trap_receiver.address} public\n"
                  "lldpNotification lldpRemTablesChange off\n")
        daemon = start_daemon(base_state, config=config, extra_args=["--trace", "Snmp=4"])
        reason = f"disabled by lldpNotification in {daemon.config_path}"
        assert change_neighbours_until(daemon, base_state, lambda: reason in daemon.log()), \
            daemon.log()
        assert trap_receiver.notifications(NOTIFICATION) == []

    def test_a_bad_lldpNotification_line_is_reported_with_its_file_and_line(
            self, start_daemon, base_state):
        config = "rocommunity public 127.0.0.1\nlldpNotification noSuchThing off\n"
        daemon = start_daemon(base_state, config=config)
        assert daemon.wait_for_log(f"{daemon.config_path}: line 2")
        assert "unknown notification 'noSuchThing'" in daemon.log()


# --- the AgentX role --------------------------------------------------------------------------


def sys_name_through(master):
    result = master.get(oid("lldpLocSysName"), quick=True)
    return value_of(result, "lldpLocSysName") if oid("lldpLocSysName") in result.values() \
        else None


class TestAgentX:
    def test_the_scalars_are_served_through_the_master(self, start_daemon, base_state,
                                                       master_agent):
        daemon = start_daemon(base_state, agentx=master_agent.socket, ready=False)
        assert poll(lambda: sys_name_through(master_agent) == '"leaf1"', READY_TIMEOUT), \
            daemon.log()
        result = master_agent.get(*(o for o, _ in SCALARS.values()))
        values = result.values()
        for name, (o, kind) in SCALARS.items():
            assert values[o][0] == kind, f"{name}: {values[o]}"
        assert values[oid("lldpMessageTxInterval")][1] == "30"
        assert values[oid("lldpLocChassisId")][1].strip() == "00 1C 73 00 00 99"
        daemon.stop()

    def test_the_subagent_comes_back_after_the_master_restarts_and_says_so_once(
            self, start_daemon, base_state, master_agent):
        daemon = start_daemon(base_state, agentx=master_agent.socket, ready=False)
        assert poll(lambda: sys_name_through(master_agent) == '"leaf1"', READY_TIMEOUT)
        master_agent.stop()
        time.sleep(1)
        master_agent.start()
        assert poll(lambda: sys_name_through(master_agent) == '"leaf1"', 30.0), daemon.log()
        log = daemon.log()
        assert log.count("AgentX: lost the master agent") == 1, log
        assert log.count("AgentX: registered with the master agent") == 2, log
        daemon.stop()

    def test_notifications_go_out_through_the_master(self, start_daemon, base_state, tmp_path,
                                                     tools, trap_receiver):
        master = MasterAgent(tmp_path, tools,
                             extra_config=f"trap2sink {trap_receiver.address} public\n")
        try:
            del base_state["status"]
            daemon = start_daemon(base_state, agentx=master.socket, ready=False)
            assert poll(lambda: sys_name_through(master) == '"leaf1"', READY_TIMEOUT)

            def sent_with_three_inserts():
                return [n for n in trap_receiver.notifications(NOTIFICATION)
                        if (f"{LLDP}.1.2.2.0", "Gauge32", "3") in n]

            assert change_neighbours_until(daemon, base_state, sent_with_three_inserts), \
                trap_receiver.log()
            daemon.stop()
        finally:
            master.cleanup()

    def test_the_subagent_waits_quietly_for_a_master_that_is_not_there_yet(
            self, start_daemon, base_state, tmp_path, tools):
        master = MasterAgent(tmp_path, tools, start=False)
        try:
            daemon = start_daemon(base_state, agentx=master.socket, ready=False)
            time.sleep(7)  # longer than one retry
            master.start()
            assert poll(lambda: sys_name_through(master) == '"leaf1"', 30.0), daemon.log()
            log = daemon.log()
            assert log.count("AgentX: no master agent") == 1, log
            assert "Failed to connect" not in log
            daemon.stop()
        finally:
            master.cleanup()


# --- the process ------------------------------------------------------------------------------


class TestProcess:
    @pytest.mark.parametrize("sig", [signal.SIGTERM, signal.SIGINT])
    def test_a_stop_signal_unregisters_every_module_and_exits_0(self, start_daemon, base_state,
                                                                sig):
        daemon = start_daemon(base_state, extra_args=["--trace", "Snmp=2"])
        daemon.stop(sig)
        log = daemon.log()
        for module in ("LldpMIB", "LldpXdot1MIB", "LldpXdot3MIB"):
            assert f'Unregistering {module} in context ""' in log, log

    def test_sigusr1_writes_the_recent_events_to_the_log(self, start_daemon, base_state):
        daemon = start_daemon(base_state)
        daemon.send_signal(signal.SIGUSR1)
        assert daemon.wait_for_log("Jotlog: ")
        assert "state applied" in daemon.log()
        assert served_sys_name(daemon) == '"leaf1"'

    def test_help_and_version_tell_the_truth(self):
        binary = str(daemon_binary())
        helped = subprocess.run([binary, "--help"], capture_output=True, text=True, timeout=30)
        assert helped.returncode == 0
        for flag in ("--listen", "--agentx", "--config", "--state", "--trace", "--version",
                     "--help", "--persistent-dir", "--snmp-debug", "ZIM_TRACE", "SIGUSR1"):
            assert flag in helped.stdout, flag
        version = subprocess.run([binary, "--version"], capture_output=True, text=True,
                                 timeout=30)
        assert version.returncode == 0
        assert re.fullmatch(r"lldp-snmpd \d+\.\d+\.\d+ \(net-snmp 5\.\d+[.\d]*\)\n",
                            version.stdout), version.stdout

    def test_a_bad_command_line_is_refused(self, tmp_path):
        binary = str(daemon_binary())
        state = tmp_path / "state.json"
        state.write_text("{}")
        cases = [
            ([], None, "--state"),
            (["--state", str(state), "--trace", "Snmp=12"], None, "bad trace level"),
            (["--state", str(state)], "Snmp=x", "ZIM_TRACE"),
            (["--state", str(state), "--agentx", "--listen", "udp:127.0.0.1:1"], None,
             "--listen and --agentx"),
            (["--state", str(state), "--config", str(tmp_path / "missing.conf")], None,
             "missing.conf"),
        ]
        for args, env_trace, expected in cases:
            env = dict(os.environ)
            env.pop("ZIM_TRACE", None)
            if env_trace:
                env["ZIM_TRACE"] = env_trace
            proc = subprocess.run([binary, *args], capture_output=True, text=True, env=env,
                                  timeout=30)
            assert proc.returncode != 0, args
            assert expected in proc.stdout + proc.stderr, (args, proc.stdout, proc.stderr)

    def test_an_invalid_state_file_at_start_stops_it_with_the_reason(self, tmp_path, tools,
                                                                     base_state):
        base_state["interfaces"][1]["neighbors"][0]["dot1"] = {"vlanNames": [{"id": 0,
                                                                              "name": "x"}]}
        daemon = Daemon(tmp_path, tools, base_state)
        try:
            assert daemon.proc.wait(timeout=READY_TIMEOUT) == 1
        finally:
            daemon.cleanup()
        log = daemon.log()
        assert str(daemon.state_path) in log
        assert "$.interfaces[1].neighbors[0].dot1.vlanNames[0].id" in log
        assert "VlanId::value < 1 or > 4094 not allowed" in log

    def test_the_persistent_directory_keeps_the_agent_state(self, start_daemon, base_state,
                                                            tmp_path):
        persist = tmp_path / "persist"
        persist.mkdir()
        daemon = start_daemon(base_state, extra_args=["--persistent-dir", str(persist)])
        daemon.stop()
        saved = (persist / "lldp-snmpd.conf").read_text()
        assert "engineBoots" in saved
        boots = int(re.search(r"engineBoots (\d+)", saved).group(1))
        again = start_daemon(base_state, extra_args=["--persistent-dir", str(persist)])
        again.stop()
        saved = (persist / "lldp-snmpd.conf").read_text()
        assert int(re.search(r"engineBoots (\d+)", saved).group(1)) == boots + 1
