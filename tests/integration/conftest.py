"""The real lldp-snmpd on free loopback ports, net-snmp's own tools to query it, snmptrapd as a
notification receiver and snmpd as an AgentX master. All of it lives in the test's temporary
directory and is stopped when the test (or, for module-wide daemons, the module) ends."""

import collections
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
TOOL_PATH = os.pathsep.join([os.environ.get("PATH", ""), "/usr/bin", "/usr/sbin", "/sbin"])
SYS_UPTIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
RW_CONFIG = "rocommunity public 127.0.0.1\nrwcommunity private 127.0.0.1\n"
# OIDs numeric, enumerations as numbers, every octet string as hex: exact encodings.
EXACT = ("-On", "-Oe", "-Ox", "-OU")
EXCEPTIONS = {"No Such Object available on this agent at this OID": "noSuchObject",
              "No Such Instance currently exists at this OID": "noSuchInstance"}
# A daemon built with the sanitizers answers several times slower: the run against such a build
# sets LLDP_TEST_TIME_SCALE, and every limit on how long to wait for something that should
# happen is multiplied by it. The intervals the agent keeps (the notification interval) and
# the waits that prove nothing happened are not.
TIME_SCALE = float(os.environ.get("LLDP_TEST_TIME_SCALE") or 1)


def example_state():
    """examples/switch.json: a switch whose state gives every table of the four modules rows."""
    return json.loads((REPO / "examples" / "switch.json").read_text())


def daemon_binary():
    path = Path(os.environ.get("LLDP_SNMPD") or REPO / "build" / "lldp-snmpd")
    if not path.is_file():
        pytest.fail(f"lldp-snmpd not found at {path}; build it or set LLDP_SNMPD")
    return str(path)


def tool(name):
    path = shutil.which(name, path=TOOL_PATH)
    if path is None:
        pytest.skip(f"{name} is not installed")
    return path


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def patient(seconds):
    """How long to wait at most for something that should happen within seconds."""
    return seconds * TIME_SCALE


def wait_until(predicate, timeout=10.0, interval=0.05):
    """Calls predicate until it returns something true or time is up (timeout, scaled);
    returns its last result."""
    deadline = time.monotonic() + patient(timeout)
    while True:
        result = predicate()
        if result or time.monotonic() >= deadline:
            return result
        time.sleep(interval)


def dotted(oid):
    return ".".join(map(str, oid))


def parse_oid(text):
    text = text.strip().lstrip(".")
    return tuple(int(part) for part in text.split(".")) if text else ()


Varbind = collections.namedtuple("Varbind", "oid type value")


def _value(type_, text):
    if type_ == "Hex-STRING":
        return bytes.fromhex(text.replace(" ", "").replace("\n", ""))
    if type_ == "OID":
        return parse_oid(text)
    number = re.search(r"-?\d+", text)  # Timeticks: "(123) 0:00:01.23"
    if type_ in ("INTEGER", "Gauge32", "Counter32", "Timeticks") and number:
        return int(number.group(0))
    return text.strip('"').encode()


def parse_output(text):
    """The varbinds of -On output (a hex dump goes on over several lines)."""
    varbinds = []
    for chunk in re.split(r"\n(?=\.)", text.strip()):
        oid, _, rest = chunk.partition(" = ")
        rest = rest.strip()
        if not oid.startswith("."):
            continue
        if rest in EXCEPTIONS:
            varbinds.append(Varbind(parse_oid(oid), EXCEPTIONS[rest], None))
        else:  # an empty octet string is printed as "" without a type
            type_, _, value = ("STRING: " + rest if rest == '""' else rest).partition(": ")
            varbinds.append(Varbind(parse_oid(oid), type_, _value(type_, value.strip())))
    return varbinds


def error_status(proc):
    """The SNMP error status a tool reported ("notWritable", "genError", ...), or None."""
    match = re.search(r"Reason: \(?(\w+)\)?", proc.stdout + proc.stderr)
    return match.group(1) if match else None


def timed_out(proc):
    return "Timeout: No Response" in proc.stderr


def as_dict(varbinds):
    table = {}
    for v in varbinds:
        assert v.oid not in table, f"{dotted(v.oid)} returned twice"
        table[v.oid] = (v.type, v.value)
    return table


def compare_tables(actual, expected):
    """Asserts two {oid: (type, value)} dicts are equal, showing the first differences."""
    diff = [f"{dotted(o)}: got {actual.get(o)!r}, expected {expected.get(o)!r}"
            for o in sorted(set(actual) | set(expected)) if actual.get(o) != expected.get(o)]
    assert not diff, f"{len(diff)} differences:\n" + "\n".join(diff[:20])


class Snmp:
    """An agent on 127.0.0.1:port as net-snmp's tools see it, without any configuration of the
    system or the user."""

    def __init__(self, folder, port):
        self.port = port
        self.env = {k: v for k, v in os.environ.items() if k not in ("MIBS", "MIBDIRS")}
        (folder / "tools").mkdir(parents=True, exist_ok=True)
        self.env.update(SNMPCONFPATH=str(folder / "tools"),
                        SNMP_PERSISTENT_DIR=str(folder / "tools"))

    def command(self, name, *args, community="public", flags=EXACT, mibs=False, quick=False):
        cmd = [tool(name), "-v", "2c", "-c", community, "-t", str(0.5 if quick else patient(2)),
               "-r", "0" if quick else "1", *flags]
        if mibs and not MIBDIRS:
            pytest.skip("LLDP_MIBDIRS is not set: checks with MIB names need the MIB files")
        cmd += ["-M", MIBDIRS, "-m", "ALL"] if mibs else ["-m", ""]
        return cmd + [f"127.0.0.1:{self.port}"] + [a if isinstance(a, str) else dotted(a)
                                                    for a in args]

    def run(self, name, *args, **kw):
        return subprocess.run(self.command(name, *args, **kw), capture_output=True, text=True,
                              env=self.env, timeout=patient(120))

    def popen(self, name, *args, **kw):
        return subprocess.Popen(self.command(name, *args, **kw), stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, env=self.env)

    def checked(self, name, *args, **kw):
        proc = self.run(name, *args, **kw)
        assert proc.returncode == 0 and not timed_out(proc), f"{name} {args}: {proc}"
        return parse_output(proc.stdout)

    def get(self, *oids, **kw):
        return self.checked("snmpget", *oids, **kw)

    def get_one(self, oid, **kw):
        (varbind,) = self.get(oid, **kw)
        return varbind

    def getnext(self, *oids):
        return self.checked("snmpgetnext", *oids)

    def walk(self, oid, **kw):
        """snmpwalk, which fails on an OID that does not increase (and, for a subtree without
        any, answers with a GET of its root: left out)."""
        return [v for v in self.checked("snmpwalk", oid, **kw)
                if v.type not in EXCEPTIONS.values()]

    def set(self, oid, type_, value, community="private"):
        return self.run("snmpset", oid, type_, str(value), community=community)

    @staticmethod
    def write_state(path, state, atomically=True):
        """Writes a state file (a dict, or text) through a temporary file and a rename, as
        editors do."""
        text = state if isinstance(state, str) else json.dumps(state, indent=1)
        target = path.with_suffix(".tmp") if atomically else path
        target.write_text(text)
        os.replace(target, path)


class Daemon(Snmp):
    """One lldp-snmpd with a state file written from a dict (or text); with state None, the
    source is in args (--lldpd SOCKET)."""

    def __init__(self, folder, state, config=None, args=(), env=None, agentx=None, listen=True,
                 binary=None):
        folder.mkdir(parents=True)
        super().__init__(folder, free_udp_port() if listen and agentx is None else None)
        self.state_path = folder / "state.json"
        source = []
        if state is not None:
            self.rewrite(state, atomically=False)
            source = ["--state", str(self.state_path)]
        self.config_path = folder / "lldp-snmpd.conf"
        cmd = [binary or daemon_binary(), *source, *args]
        if config is not None:
            self.config_path.write_text(config)
            cmd += ["--config", str(self.config_path)]
        if agentx is not None:
            cmd += ["--agentx", agentx]
        elif self.port:
            cmd += ["--listen", f"udp:127.0.0.1:{self.port}"]
        self.log_path = folder / "lldp-snmpd.log"
        # The daemon's private directory lands in the folder too, even should it be killed;
        # so does its persistent directory, unless the test chooses one (never /var/lib's).
        env = dict(env or os.environ, TMPDIR=str(folder))
        if "STATE_DIRECTORY" not in env:
            (folder / "persistent").mkdir()
            env["STATE_DIRECTORY"] = str(folder / "persistent")
        with open(self.log_path, "w") as log:
            self.proc = subprocess.Popen(cmd, stdout=log, stderr=subprocess.STDOUT, env=env)

    def log(self):
        return self.log_path.read_text(errors="replace")

    def wait_for_log(self, text, start=0, timeout=10.0):
        return wait_until(lambda: text in self.log()[start:], timeout, interval=0.02)

    def wait_ready(self, community="public"):
        wait_until(lambda: self.proc.poll() is not None or "answering SNMP on" in self.log(),
                   interval=0.01)
        assert self.proc.poll() is None, f"exited with {self.proc.returncode}:\n{self.log()}"
        self.get(SYS_UPTIME, community=community)
        return self

    def rewrite(self, state, atomically=True):
        """Writes the state file through a temporary file and a rename, as editors do."""
        self.write_state(self.state_path, state, atomically)

    def stop(self, sig=signal.SIGTERM):
        return stop(self.proc, sig)


def stop(proc, sig=signal.SIGTERM):
    """Stops a process with sig; returns its exit code ("killed" if it did not stop)."""
    if proc.poll() is None:
        proc.send_signal(sig)
        try:
            proc.wait(timeout=patient(10))
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait()
            return "killed"
    return proc.returncode


# What AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer write when they find a
# fault, in a daemon built with them (scripts/test.sh runs this suite against such a build): a
# report opens with its ERROR or runtime error line and closes with its SUMMARY line.
SANITIZER_REPORT = re.compile(r"ERROR: (?:Address|Leak)Sanitizer|runtime error: ")
SANITIZER_SUMMARY = re.compile(r"SUMMARY: \w+Sanitizer")


def sanitizer_reports(text):
    """Each sanitizer report in a program's output, whole (its stacks included), so that a
    failing test quotes what was found and where."""
    reports, report = [], None
    for line in text.splitlines():
        if report is None and (SANITIZER_REPORT.search(line) or SANITIZER_SUMMARY.search(line)):
            report = []
        if report is not None:
            report.append(line)
            if SANITIZER_SUMMARY.search(line) or len(report) >= 200:
                reports.append("\n".join(report))
                report = None
    if report:
        reports.append("\n".join(report))
    return reports


def quoted(reports):
    return "sanitizer report:\n" + "\n\n".join(reports)


def _daemons(folder):
    started = []

    def start(state, ready=True, **kw):
        daemon = Daemon(folder / f"lldp-snmpd-{len(started)}", state, **kw)
        started.append(daemon)
        return daemon.wait_ready() if ready else daemon

    yield start
    # Every daemon stops on SIGTERM and exits 0 by itself: a shutdown fault fails the test.
    codes = [(d, d.stop()) for d in started]
    for daemon, code in codes:
        reports = sanitizer_reports(daemon.log())
        assert not reports, quoted(reports)
        assert code == 0, f"lldp-snmpd stopped with {code}:\n{daemon.log()}"


@pytest.fixture
def start_daemon(tmp_path):
    """start_daemon(state, ready=True, config=None, args=(), ...) -> Daemon."""
    yield from _daemons(tmp_path)


@pytest.fixture(scope="module")
def start_module_daemon(tmp_path_factory):
    """start_daemon for a daemon that the tests of a module share."""
    yield from _daemons(tmp_path_factory.mktemp("module"))


class Background:
    """A net-snmp daemon (snmptrapd, snmpd) on a free loopback port, logging to a file; what it
    writes on standard error (a sanitizer's reports) goes to a file of its own."""

    def __init__(self, folder, name, conf, args=(), start=True, env=None):
        self.folder = folder / name
        self.folder.mkdir()
        # Its persistent directory, made beforehand as a package makes it: net-snmp would make
        # the rest itself and say so.
        (self.folder / "cert_indexes").mkdir()
        self.port = free_udp_port()
        self.conf = self.folder / f"{name}-test.conf"  # not snmpd.conf: snmpd writes that one
        self.conf.write_text(conf)
        self.log_path = self.folder / "log"
        self.stderr_path = self.folder / "stderr"
        env = dict(os.environ, **(env or {}), SNMP_PERSISTENT_DIR=str(self.folder))
        self.cmd = [tool(name), "-f", "-Lf", str(self.log_path), "-C", "-c", str(self.conf),
                    *args, f"udp:127.0.0.1:{self.port}"]
        self.env, self.proc = env, None
        if start:
            self.start()

    def start(self):
        self.log_path.write_text("")
        with open(self.stderr_path, "a") as stderr:
            self.proc = subprocess.Popen(self.cmd, stdout=subprocess.DEVNULL, stderr=stderr,
                                         env=self.env)
        assert wait_until(lambda: "NET-SNMP version" in self.log(), 10.0), self.log()

    def log(self):
        return self.log_path.read_text(errors="replace")

    def stderr(self):
        return self.stderr_path.read_text(errors="replace")

    def stop(self):
        return self.proc and stop(self.proc)


def asan_runtime(program):
    """The AddressSanitizer runtime a program or library is linked with, or None."""
    linked = subprocess.run(["ldd", program], capture_output=True, text=True).stdout
    runtime = re.search(r"libasan\.so\S* => (\S+)", linked)
    return runtime.group(1) if runtime else None


def sanitizer_preload(library):
    """The environment in which a program built without the sanitizers can load a library
    built with them: AddressSanitizer's runtime must be the first library of the process. None
    for a library built without them."""
    runtime = asan_runtime(library)
    if not runtime:
        return None
    # The C++ runtime is loaded beside it: AddressSanitizer finds the exception thrower it
    # intercepts when it starts, and a C program such as snmpd loads it only with the library.
    linked = subprocess.run(["ldd", library], capture_output=True, text=True).stdout
    cxx = re.search(r"libstdc\+\+\.so\S* => (\S+)", linked)
    # The host's own allocations still held at exit are its own business: leaks are checked
    # in lldp-snmpd, which runs the same plug-in code.
    options = os.environ.get("ASAN_OPTIONS", "")
    return {"LD_PRELOAD": " ".join([runtime] + ([cxx.group(1)] if cxx else [])),
            "ASAN_OPTIONS": ":".join(filter(None, [options, "detect_leaks=0"]))}


def plugin():
    path = os.environ.get("LLDP_DLMOD")
    if not path or not os.path.isfile(path):
        pytest.fail(f"the dlmod plug-in is not at {path!r}; build it or set LLDP_DLMOD")
    return path


@pytest.fixture
def start_plugin_snmpd(tmp_path):
    """start_plugin_snmpd(config, library=None) -> snmpd (a Background with .snmp) that loads the
    dlmod plug-in (the one built, or library), config after the dlmod line. When the test ends,
    it must stop with 0 and nothing from a sanitizer."""
    started = []

    def start(config, library=None):
        library = library or plugin()
        conf = (RW_CONFIG + "dontLogTCPWrappersConnects yes\n"
                f"dlmod lldpsnmp {library}\n" + config)
        snmpd = Background(tmp_path, "snmpd", conf, ["-m", "", "-M", "/dev/null"],
                           env=sanitizer_preload(library))
        snmpd.snmp = Snmp(snmpd.folder, snmpd.port)
        started.append(snmpd)
        return snmpd

    yield start
    for snmpd in started:
        code = snmpd.stop()
        reports = sanitizer_reports(snmpd.stderr())
        assert not reports, quoted(reports)
        assert code == 0, snmpd.log()


@pytest.fixture
def trap_receiver(tmp_path):
    receiver = Background(tmp_path, "snmptrapd", "disableAuthorization yes\n",
                          ["-On", "-m", ""])
    yield receiver
    receiver.stop()


def notifications(receiver, trap_oid):
    """The notifications snmptrapd logged with this snmpTrapOID.0, each its varbinds in order."""
    marker = f"1.3.6.1.6.3.1.1.4.1.0 = OID: .{dotted(trap_oid)}"
    return [parse_output("\n".join(p.strip() for p in line.split("\t") if p.startswith(".")))
            for line in receiver.log().splitlines() if marker in line]


@pytest.fixture
def agentx_master(tmp_path):
    """snmpd as AgentX master (not started yet) on a socket of its own: set .conf, .start()."""
    socket_dir = tempfile.mkdtemp(prefix="ax-")  # socket paths are limited to ~100 bytes
    master_socket = os.path.join(socket_dir, "master")
    master = Background(tmp_path, "snmpd", f"master agentx\nagentXSocket {master_socket}\n"
                        "rocommunity public 127.0.0.1\n", ["-m", "", "-M", "/dev/null"],
                        start=False)
    master.socket, master.snmp = master_socket, Snmp(master.folder, master.port)
    yield master
    master.stop()
    shutil.rmtree(socket_dir, ignore_errors=True)
