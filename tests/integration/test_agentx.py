"""The AgentX role against a real snmpd master: time stamps on the master's clock, and a stop of
master and subagent at the same moment."""

import copy
import os
import shutil
import signal
import socket
import struct
import tempfile
import threading
import time

from conftest import SYS_UPTIME, parse_output, patient, stop, wait_until
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


class MasterLeavingAtRegistration:
    """An AgentX master on a socket of its own that opens sessions and answers pings but closes
    the connection at the first registration it is sent: a master that goes away while the
    subagent registers. snmpd cannot be made to stop at exactly that point, so this one does,
    every time, at any speed."""

    OPEN, CLOSE, REGISTER, RESPONSE = 1, 2, 3, 18
    NETWORK_BYTE_ORDER = 0x10

    def __init__(self, folder):
        self.socket = os.path.join(folder, "master")
        self.server = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.server.bind(self.socket)
        self.server.listen()
        self.server.settimeout(0.2)
        self.registrations, self.running = 0, True
        self.thread = threading.Thread(target=self._serve, daemon=True)
        self.thread.start()

    def _serve(self):
        while self.running:
            try:
                connection, _ = self.server.accept()
            except socket.timeout:
                continue
            with connection:
                self._session(connection)

    def _session(self, connection):
        connection.settimeout(patient(10))
        while self.running:
            header = self._read(connection, 20)
            if header is None:
                return
            _, kind, flags, _ = header[:4]
            order = ">" if flags & self.NETWORK_BYTE_ORDER else "<"
            session, transaction, packet, length = struct.unpack(order + "4I", header[4:])
            if self._read(connection, length) is None:
                return
            if kind == self.REGISTER:
                self.registrations += 1
                return  # the connection closes before any answer
            answer = struct.pack(order + "IHH", 0, 0, 0)  # sysUpTime, noAgentXError, index
            connection.sendall(bytes([1, self.RESPONSE, flags & self.NETWORK_BYTE_ORDER, 0]) +
                               struct.pack(order + "4I", 1 if kind == self.OPEN else session,
                                           transaction, packet, len(answer)) + answer)
            if kind == self.CLOSE:
                return

    @staticmethod
    def _read(connection, size):
        data = b""
        while len(data) < size:
            try:
                chunk = connection.recv(size - len(data))
            except (socket.timeout, OSError):
                return None
            if not chunk:
                return None
            data += chunk
        return data

    def stop(self):
        self.running = False
        self.thread.join()
        self.server.close()


def test_a_master_lost_in_the_middle_of_the_registrations_is_survived(start_daemon):
    folder = tempfile.mkdtemp(prefix="ax-")  # socket paths are limited to ~100 bytes
    master = MasterLeavingAtRegistration(folder)
    try:
        daemon = start_daemon(STATE, agentx=master.socket, ready=False)
        assert daemon.wait_for_log("lost the master agent"), daemon.log()
        assert master.registrations >= 1, daemon.log()
        assert daemon.proc.poll() is None, daemon.log()
        assert daemon.stop() == 0, daemon.log()
        for fault in ("_callback_lock", "netsnmp_assert", "sleeps more than"):
            assert fault not in daemon.log(), daemon.log()
    finally:
        master.stop()
        shutil.rmtree(folder, ignore_errors=True)
