"""The AgentX role against a real snmpd master: time stamps on the master's clock, and a stop of
master and subagent at the same moment."""

import copy
import signal
import time

from conftest import SYS_UPTIME, parse_output, stop, wait_until
from mib_rows import LAST_CHANGE, time_mark

STATE = {
    "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:00:99",
                    "sysName": "leaf1"},
    "interfaces": [{"name": "Ethernet1", "portNum": 1, "neighbors": [
        {"index": 1, "chassisIdSubtype": "local", "chassisId": "spine1",
         "portIdSubtype": "local", "portId": "Ethernet49/1", "sysName": "spine1"}]}],
}


def with_second_neighbour():
    state = copy.deepcopy(STATE)
    state["interfaces"][0]["neighbors"].append(
        {"index": 2, "chassisIdSubtype": "local", "chassisId": "spine2",
         "portIdSubtype": "local", "portId": "Ethernet50/1", "sysName": "spine2"})
    return state


def clocks(master):
    """The master's sysUpTime.0, lldpStatsRemTablesLastChangeTime.0 (read together) and the time
    marks of the two neighbours (index 1 and 2 on port 1; None for one not served)."""
    proc = master.snmp.run("snmpget", SYS_UPTIME, LAST_CHANGE)
    if proc.returncode:
        return None
    uptime, change = (v.value for v in parse_output(proc.stdout))
    return uptime, change, [time_mark(master.snmp, 1, index, uptime) for index in (1, 2)]


def served(master):
    proc = master.snmp.run("snmpget", LAST_CHANGE, quick=True)
    return proc.returncode == 0 and parse_output(proc.stdout)[0].type == "Timeticks"


def master_uptime(master):
    return master.snmp.get_one(SYS_UPTIME).value


def test_time_stamps_are_on_the_masters_clock(start_daemon, agentx_master):
    agentx_master.start()
    time.sleep(4)  # the master's sysUpTime is ahead of anything the subagent could count
    started = master_uptime(agentx_master)
    daemon = start_daemon(STATE, agentx=agentx_master.socket, ready=False)
    assert wait_until(lambda: served(agentx_master), 10.0), daemon.log()

    before = master_uptime(agentx_master)
    daemon.rewrite(with_second_neighbour())
    assert wait_until(lambda: (clocks(agentx_master) or (0, 0, [None, None]))[2][1] is not None,
                      10.0), daemon.log()
    uptime, change, marks = wait_until(lambda: clocks(agentx_master))
    # On the subagent's own clock the change would be some 400 hundredths before `before`.
    assert before <= change <= uptime, (before, change, uptime, daemon.log())
    # (the TimeFilter lets a row through up to two hundredths after its change)
    assert change <= marks[1] <= change + 2 and started <= marks[0] <= marks[1], (marks, change)
    assert "the master agent has been up" in daemon.log()

    # A new subagent under the same master: nothing goes back on the master's clock.
    assert daemon.stop() == 0
    time.sleep(1)
    again = start_daemon(with_second_neighbour(), agentx=agentx_master.socket, ready=False)
    assert wait_until(lambda: served(agentx_master), 10.0), again.log()
    uptime_after, change_after, marks_after = wait_until(lambda: clocks(agentx_master))
    assert change < change_after <= uptime_after, (change, change_after, uptime_after)
    assert marks_after[1] >= marks[1] and marks_after[0] >= marks[0], (marks, marks_after)


def test_master_and_subagent_stopped_together_exit_cleanly(start_daemon, agentx_master):
    for attempt in range(5):
        agentx_master.start()
        daemon = start_daemon(STATE, agentx=agentx_master.socket, ready=False)
        assert wait_until(lambda: served(agentx_master), 10.0), daemon.log()
        # Both at once, in either order, as a system shutdown does.
        first, second = (agentx_master.proc, daemon.proc)[::1 if attempt % 2 else -1]
        first.send_signal(signal.SIGTERM)
        second.send_signal(signal.SIGTERM)
        assert stop(daemon.proc) == 0, daemon.log()
        agentx_master.stop()
        log = daemon.log()
        for fault in ("_callback_lock", "netsnmp_assert", "sleeps more than"):
            assert fault not in log, f"attempt {attempt}:\n{log}"
