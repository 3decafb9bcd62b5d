"""Fixtures for the integration tests: the real lldp-snmpd on free loopback ports, queried with
net-snmp's own tools, plus snmptrapd as a notification receiver and snmpd as an AgentX master.

Everything a test starts is stopped when the test ends, and lives in the test's own temporary
directory.
"""

import copy
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from pathlib import Path

import pytest

REPO = Path(__file__).resolve().parents[2]
MIBDIRS = os.environ.get("LLDP_MIBDIRS")
SYS_UPTIME = "1.3.6.1.2.1.1.3.0"
READY_TIMEOUT = 10.0
STOP_TIMEOUT = 10.0
TOOL_PATH = os.pathsep.join([os.environ.get("PATH", ""), "/usr/sbin", "/sbin"])


def daemon_binary():
    """The daemon under test: $LLDP_SNMPD (set by CMake), else build/lldp-snmpd."""
    path = Path(os.environ.get("LLDP_SNMPD") or REPO / "build" / "lldp-snmpd")
    if not path.is_file():
        pytest.fail(f"lldp-snmpd not found at {path}; build it or set LLDP_SNMPD")
    return path


def find_tool(name):
    return shutil.which(name, path=TOOL_PATH)


def free_udp_port():
    """A UDP port on 127.0.0.1 that nothing uses right now."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def poll(predicate, timeout, interval=0.1):
    """Calls predicate until it returns something true or the time is up; returns the last
    result."""
    deadline = time.monotonic() + timeout
    while True:
        result = predicate()
        if result or time.monotonic() >= deadline:
            return result
        time.sleep(interval)


def write_atomically(path, text):
    """Writes through a temporary file and a rename, as careful writers and editors do."""
    tmp = Path(str(path) + ".tmp")
    tmp.write_text(text)
    os.replace(tmp, path)


class SnmpResult:
    """What one net-snmp tool said."""

    def __init__(self, proc):
        self.returncode = proc.returncode
        self.stdout = proc.stdout
        self.stderr = proc.stderr

    @property
    def ok(self):
        return self.returncode == 0 and "Timeout" not in self.stderr

    @property
    def timed_out(self):
        return "Timeout: No Response" in self.stderr

    def values(self):
        """{numeric OID without leading dot: (type, value)} from -On output."""
        out = {}
        last = None
        for line in self.stdout.splitlines():
            m = re.match(r"^\.?([0-9.]+) = (?:([A-Za-z0-9 -]+): )?(.*)$", line)
            if m:
                last = m.group(1)
                out[last] = (m.group(2) or "", m.group(3))
            elif last is not None:
                # A value that went on over several lines (long strings, hex dumps).
                kind, value = out[last]
                out[last] = (kind, value + "\n" + line)
        return out

    def __repr__(self):
        return f"SnmpResult(rc={self.returncode}, stdout={self.stdout!r}, stderr={self.stderr!r})"


class SnmpTools:
    """net-snmp's command-line tools, isolated from the system's and the user's configuration."""

    def __init__(self, tmp_path):
        self.confdir = tmp_path / "tools-conf"
        self.confdir.mkdir(exist_ok=True)
        self.env = dict(os.environ)
        self.env["SNMPCONFPATH"] = str(self.confdir)
        self.env["SNMP_PERSISTENT_DIR"] = str(self.confdir)
        self.env.pop("MIBS", None)
        self.env.pop("MIBDIRS", None)

    def run(self, tool, args, community="public", version="2c", mibs=False, extra=()):
        path = find_tool(tool)
        if path is None:
            pytest.fail(f"{tool} not found (install the snmp package)")
        cmd = [path, "-v", version]
        if version != "3":
            cmd += ["-c", community]
        cmd += ["-On", "-Oe", "-t", "2", "-r", "1"]
        if mibs:
            if not MIBDIRS:
                pytest.skip("LLDP_MIBDIRS is not set: checks with MIB names need the MIB files")
            cmd += ["-M", MIBDIRS, "-m", "ALL"]
        else:
            cmd += ["-m", ""]
        cmd += list(extra) + list(args)
        proc = subprocess.run(cmd, capture_output=True, text=True, env=self.env, timeout=120)
        return SnmpResult(proc)


class Daemon:
    """One lldp-snmpd, started with a state file (from a dict) and, optionally, a config file."""

    def __init__(self, tmp_path, tools, state, config=None, agentx=None, listen=None,
                 extra_args=(), env=None, name="lldp-snmpd"):
        self.tools = tools
        self.dir = tmp_path / name
        self.dir.mkdir()
        self.port = None
        self.state_path = self.dir / "state.json"
        self.state_path.write_text(state if isinstance(state, str) else json.dumps(state, indent=1))
        self.config_path = None
        if config is not None:
            self.config_path = self.dir / "lldp-snmpd.conf"
            self.config_path.write_text(config)
        self.log_path = self.dir / "lldp-snmpd.log"
        args = [str(daemon_binary()), "--state", str(self.state_path)]
        if self.config_path:
            args += ["--config", str(self.config_path)]
        if agentx is not None:
            args += ["--agentx", agentx]
        elif listen is not False:
            self.port = free_udp_port()
            args += ["--listen", listen or f"udp:127.0.0.1:{self.port}"]
        args += list(extra_args)
        self._log = open(self.log_path, "w")
        env = dict(env if env is not None else os.environ)
        # The daemon's private directory lands here, even should it be killed.
        env["TMPDIR"] = str(self.dir)
        self.proc = subprocess.Popen(args, stdout=self._log, stderr=subprocess.STDOUT, env=env)

    @property
    def address(self):
        return f"udp:127.0.0.1:{self.port}"

    def log(self):
        return self.log_path.read_text(errors="replace")

    def wait_ready(self, oid=SYS_UPTIME, community="public"):
        """Polls until the daemon answers (bounded); fails with its log if it died or never
        answered."""

        def answered():
            if self.proc.poll() is not None:
                return True
            return self.get(oid, community=community, quick=True).ok

        poll(answered, READY_TIMEOUT, interval=0.2)
        if self.proc.poll() is not None:
            pytest.fail(f"lldp-snmpd exited with {self.proc.returncode}:\n{self.log()}")
        if not self.get(oid, community=community).ok:
            pytest.fail(f"lldp-snmpd did not answer within {READY_TIMEOUT} s:\n{self.log()}")
        return self

    def rewrite_state(self, state):
        text = state if isinstance(state, str) else json.dumps(state, indent=1)
        write_atomically(self.state_path, text)

    def wait_for_log(self, text, timeout=10.0, start=0):
        """Waits until the log (from offset start) contains text; returns whether it did."""
        return poll(lambda: text in self.log()[start:], timeout)

    def _target(self):
        return f"127.0.0.1:{self.port}"

    def get(self, *oids, community="public", mibs=False, quick=False, **kw):
        extra = ["-t", "0.5", "-r", "0"] if quick else []
        return self.tools.run("snmpget", [self._target(), *oids], community=community,
                              mibs=mibs, extra=extra, **kw)

    def walk(self, oid, community="public", mibs=False, **kw):
        return self.tools.run("snmpwalk", [self._target(), oid], community=community, mibs=mibs,
                              **kw)

    def bulkwalk(self, oid, reps=10, community="public", mibs=False, **kw):
        return self.tools.run("snmpbulkwalk", [f"-Cr{reps}", self._target(), oid],
                              community=community, mibs=mibs, **kw)

    def set(self, oid, kind, value, community="private", **kw):
        return self.tools.run("snmpset", [self._target(), oid, kind, str(value)],
                              community=community, **kw)

    def send_signal(self, sig):
        self.proc.send_signal(sig)

    def stop(self, sig=signal.SIGTERM):
        """Stops the daemon with sig and checks that it exited 0 by itself."""
        if self.proc.poll() is None:
            self.proc.send_signal(sig)
            try:
                self.proc.wait(timeout=STOP_TIMEOUT)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
                self._log.close()
                pytest.fail(f"lldp-snmpd did not stop within {STOP_TIMEOUT} s:\n{self.log()}")
        self._log.close()
        assert self.proc.returncode == 0, f"exit code {self.proc.returncode}:\n{self.log()}"

    def cleanup(self):
        """Stops the daemon as an operator would (SIGTERM), killing it only when it does not
        stop in time; returns its exit code, or None when it was no longer running."""
        code = None
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                code = self.proc.wait(timeout=STOP_TIMEOUT)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
                code = "killed"
        self._log.close()
        return code


class TrapReceiver:
    """snmptrapd on a free port, writing what it receives to a log file."""

    def __init__(self, tmp_path, tools):
        path = find_tool("snmptrapd")
        if path is None:
            pytest.skip("snmptrapd is not installed")
        self.port = free_udp_port()
        self.dir = tmp_path / "snmptrapd"
        self.dir.mkdir()
        conf = self.dir / "snmptrapd.conf"
        conf.write_text("disableAuthorization yes\n")
        self.log_path = self.dir / "traps.log"
        self.log_path.write_text("")
        cmd = [path, "-f", "-Lf", str(self.log_path), "-On", "-m", "", "-C", "-c", str(conf),
               f"udp:127.0.0.1:{self.port}"]
        self.proc = subprocess.Popen(cmd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                     env=tools.env)
        if not poll(lambda: "NET-SNMP version" in self.log(), READY_TIMEOUT):
            self.stop()
            pytest.fail("snmptrapd did not start")

    @property
    def address(self):
        return f"udp:127.0.0.1:{self.port}"

    def log(self):
        return self.log_path.read_text(errors="replace")

    def notifications(self, trap_oid):
        """The received notifications whose snmpTrapOID.0 is trap_oid, each a list of
        (OID, type, value) in the order received."""
        found = []
        for line in self.log().splitlines():
            if f"1.3.6.1.6.3.1.1.4.1.0 = OID: .{trap_oid}" not in line:
                continue
            varbinds = []
            for part in line.split("\t"):
                m = re.match(r"^.*?\.?([0-9][0-9.]*) = (?:([A-Za-z0-9 -]+): )?(.*)$", part.strip())
                if m:
                    varbinds.append((m.group(1), m.group(2) or "", m.group(3)))
            found.append(varbinds)
        return found

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(timeout=STOP_TIMEOUT)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()


class MasterAgent:
    """A real snmpd acting as AgentX master on a free UDP port and a socket in tmp_path."""

    def __init__(self, tmp_path, tools, start=True, extra_config=""):
        self.path = find_tool("snmpd")
        if self.path is None:
            pytest.skip("snmpd is not installed: the AgentX role needs a master agent")
        self.tools = tools
        self.dir = tmp_path / "snmpd"
        self.dir.mkdir(exist_ok=True)
        # Socket paths are limited to about 100 bytes: a short directory of its own.
        self.socket_dir = tempfile.mkdtemp(prefix="ax-")
        self.socket = os.path.join(self.socket_dir, "master")
        self.port = free_udp_port()
        # Not named snmpd.conf: snmpd writes its persistent state under that name.
        self.conf = self.dir / "master.conf"
        self.persist = self.dir / "persist"
        self.persist.mkdir(exist_ok=True)
        self.conf.write_text(f"master agentx\nagentXSocket {self.socket}\n"
                             "rocommunity public 127.0.0.1\n" + extra_config)
        self.log_path = self.dir / "snmpd.log"
        self.proc = None
        if start:
            self.start()

    def start(self):
        # -C: only our file; persistent state in our directory, not /var/lib/snmp.
        env = dict(self.tools.env)
        env["SNMP_PERSISTENT_DIR"] = str(self.persist)
        cmd = [self.path, "-f", "-Lf", str(self.log_path), "-C", "-c", str(self.conf),
               "-m", "", "-M", "/dev/null", f"udp:127.0.0.1:{self.port}"]
        self.proc = subprocess.Popen(cmd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                     env=env)
        ready = poll(lambda: self.proc.poll() is not None or self.get(SYS_UPTIME, quick=True).ok,
                     READY_TIMEOUT, interval=0.2)
        if not ready or self.proc.poll() is not None:
            self.cleanup()
            pytest.fail(f"snmpd did not start:\n{self.log_path.read_text(errors='replace')}")

    def get(self, *oids, quick=False, **kw):
        extra = ["-t", "0.5", "-r", "0"] if quick else []
        return self.tools.run("snmpget", [f"127.0.0.1:{self.port}", *oids], extra=extra, **kw)

    def walk(self, oid, **kw):
        return self.tools.run("snmpwalk", [f"127.0.0.1:{self.port}", oid], **kw)

    def stop(self):
        if self.proc and self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(timeout=STOP_TIMEOUT)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()

    def cleanup(self):
        self.stop()
        shutil.rmtree(self.socket_dir, ignore_errors=True)


# --- fixtures -------------------------------------------------------------------------------


@pytest.fixture
def udp_port():
    return free_udp_port()


@pytest.fixture
def tools(tmp_path):
    return SnmpTools(tmp_path)


@pytest.fixture
def start_daemon(tmp_path, tools):
    """start_daemon(state, config=None, ready=True, **kw) -> Daemon, stopped after the test."""
    started = []

    def start(state, config=None, ready=True, ready_oid=SYS_UPTIME, ready_community="public",
              **kw):
        daemon = Daemon(tmp_path, tools, state, config=config,
                        name=f"lldp-snmpd-{len(started)}", **kw)
        started.append(daemon)
        if ready:
            daemon.wait_ready(oid=ready_oid, community=ready_community)
        return daemon

    yield start
    # Every daemon still running stops cleanly too: a shutdown fault fails the test.
    codes = [(daemon, daemon.cleanup()) for daemon in started]
    for daemon, code in codes:
        assert code in (None, 0), f"lldp-snmpd stopped with {code}:\n{daemon.log()}"


@pytest.fixture
def trap_receiver(tmp_path, tools):
    receiver = TrapReceiver(tmp_path, tools)
    yield receiver
    receiver.stop()


@pytest.fixture
def master_agent(tmp_path, tools):
    master = MasterAgent(tmp_path, tools)
    yield master
    master.cleanup()


# --- states ---------------------------------------------------------------------------------


def neighbor(index, name, mac, port_id, address=None):
    """A neighbour as the state file describes one."""
    n = {
        "index": index,
        "chassisIdSubtype": "macAddress",
        "chassisId": mac,
        "portIdSubtype": "interfaceName",
        "portId": port_id,
        "portDesc": f"{port_id} of {name}",
        "sysName": name,
        "sysDesc": f"{name} switch",
        "sysCapSupported": ["bridge", "router"],
        "sysCapEnabled": ["router"],
    }
    if address:
        n["managementAddresses"] = [{"subtype": "ipV4", "address": address, "ifSubtype": "ifIndex",
                                     "ifId": 5, "oid": "0.0"}]
    return n


BASE_STATE = {
    "config": {"messageTxInterval": 30, "messageTxHoldMultiplier": 4, "reinitDelay": 2,
               "txDelay": 2},
    "status": {"remTablesLastChangeTime": 1763769600.0, "remTablesInserts": 7,
               "remTablesDeletes": 3, "remTablesDrops": 1, "remTablesAgeouts": 2},
    "localSystem": {
        "chassisIdSubtype": "macAddress",
        "chassisId": "00:1c:73:00:00:99",
        "sysName": "leaf1",
        "sysDesc": "Leaf switch 1",
        "sysCapSupported": ["bridge", "router"],
        "sysCapEnabled": ["bridge"],
        "managementAddresses": [{"subtype": "ipV4", "address": "192.0.2.1", "ifSubtype": "ifIndex",
                                 "ifId": 1, "oid": "0.0", "priority": 1}],
    },
    "interfaces": [
        {"name": "Ethernet1", "portNum": 1,
         "config": {"adminStatus": "txAndRx", "tlvsTxEnable": ["portDesc", "sysName"],
                    "manAddrTxEnable": True},
         "local": {"portIdSubtype": "interfaceName", "portId": "Ethernet1",
                   "portDesc": "to spine1"},
         "neighbors": [neighbor(1, "spine1", "00:1c:73:00:01:01", "Ethernet49/1", "192.0.2.10")]},
        {"name": "Ethernet2", "portNum": 2,
         "local": {"portIdSubtype": "interfaceName", "portId": "Ethernet2",
                   "portDesc": "to spine2"},
         "neighbors": [neighbor(1, "spine2", "00:1c:73:00:02:01", "Ethernet49/1", "192.0.2.11")]},
    ],
}


@pytest.fixture
def base_state():
    """A small switch: two interfaces with one neighbour each; a fresh copy per test."""
    return copy.deepcopy(BASE_STATE)
