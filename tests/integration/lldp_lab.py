"""A small LLDP lab: network namespaces joined by veth pairs, and one real lldpd per namespace
with its own control socket, pid file and configuration.

Every namespace is named PREFIX-<pid of the test run>-<n>, so a run can delete what an earlier,
killed run left behind (its pid is gone) without touching a parallel run's. Deleting a
namespace deletes the veth ends inside it, and with them their peers."""

import itertools
import json
import os
import pwd
import shutil
import subprocess
import tempfile
import time
from pathlib import Path

PREFIX = "lsnmp"
TOOL_PATH = os.pathsep.join([os.environ.get("PATH", ""), "/usr/bin", "/usr/sbin", "/sbin"])
LLDPD_USER = "_lldpd"
_numbers = itertools.count(1)  # namespace numbers, unique within a test run


def _run(*args, check=True):
    return subprocess.run(args, capture_output=True, text=True, check=check, timeout=30)


def _alive(pid):
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    except PermissionError:
        return True
    return True


def namespaces():
    out = _run("ip", "netns", "list", check=False).stdout
    return [line.split()[0] for line in out.splitlines() if line.strip()]


def delete_stale():
    """Deletes namespaces that a test run which no longer exists left behind."""
    for name in namespaces():
        parts = name.split("-")
        if len(parts) == 3 and parts[0] == PREFIX and parts[1].isdigit():
            if not _alive(int(parts[1])):
                _run("ip", "netns", "delete", name, check=False)


def unavailable():
    """Why this machine cannot run the lab, or None."""
    if os.geteuid() != 0:
        return "network namespaces need root (run the tests as root, as CI does)"
    for program in ("ip", "lldpd", "lldpcli"):
        if shutil.which(program, path=TOOL_PATH) is None:
            return f"{program} is not installed (scripts/install-deps.sh installs it)"
    try:
        pwd.getpwnam(LLDPD_USER)
    except KeyError:
        return f"user {LLDPD_USER} is missing (it comes with Debian's lldpd package)"
    probe = f"{PREFIX}-{os.getpid()}-probe"
    made = _run("ip", "netns", "add", probe, check=False)
    if made.returncode != 0:
        return f"cannot create a network namespace: {made.stderr.strip()}"
    _run("ip", "netns", "delete", probe, check=False)
    return None


def lab_mac(host, port):
    """A documentation MAC address (RFC 7042): 00:00:5e:00:53:<host><port>."""
    return f"00:00:5e:00:53:{(host << 4 | port) & 0xff:02x}"


class Lldpd:
    """One lldpd in a namespace, transmitting every second."""

    def __init__(self, lab, namespace, interfaces, hostname, config=(), args=()):
        self.lab, self.namespace, self.interfaces = lab, namespace, list(interfaces)
        self.args = list(args)  # more of lldpd's options
        self.hostname = hostname
        folder = lab.folder / f"lldpd-{namespace.rsplit('-', 1)[1]}-{hostname}"
        folder.mkdir(exist_ok=True)
        folder.chmod(0o755)  # lldpd drops privileges and must still reach its files
        self.folder = folder
        self.socket = str(folder / "ctl")
        self.pid_file = str(folder / "pid")
        self.conf = folder / "lldpd.conf"
        self.conf.write_text("\n".join(["configure lldp tx-interval 1",
                                        f"configure system hostname {hostname}", *config]) + "\n")
        self.conf.chmod(0o644)
        self.log_path = folder / "log"
        self.proc = None
        self.start()

    def start(self):
        with open(self.log_path, "a") as log:
            self.proc = subprocess.Popen(
                ["ip", "netns", "exec", self.namespace, "lldpd", "-d", "-u", self.socket,
                 "-p", self.pid_file, "-O", str(self.conf), "-I", ",".join(self.interfaces),
                 *self.args],
                stdout=log, stderr=subprocess.STDOUT)
        deadline = time.monotonic() + 10
        while time.monotonic() < deadline:
            if self.proc.poll() is not None:
                raise RuntimeError(f"lldpd exited with {self.proc.returncode}:\n{self.log()}")
            if os.path.exists(self.socket) and self.cli("show", "configuration").returncode == 0:
                return self
            time.sleep(0.05)
        raise RuntimeError(f"lldpd in {self.namespace} did not open {self.socket}:\n{self.log()}")

    def stop(self, sig=15):
        if self.proc and self.proc.poll() is None:
            self.proc.send_signal(sig)
            try:
                self.proc.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        self.proc = None

    def log(self):
        return self.log_path.read_text(errors="replace")

    def cli(self, *args):
        return _run("lldpcli", "-u", self.socket, *args, check=False)

    def configure(self, *args):
        out = self.cli("configure", *args)
        assert out.returncode == 0, out
        return out

    def neighbors(self):
        """lldpcli's view: {interface: [neighbour, ...]} from show neighbors details."""
        out = self.cli("-f", "json0", "show", "neighbors", "details")
        assert out.returncode == 0, out
        result = {}
        for entry in json.loads(out.stdout).get("lldp", [{}])[0].get("interface", []):
            result.setdefault(entry["name"], []).append(entry)
        return result


class Lab:
    """Namespaces, veth pairs and lldpds of one test; close() removes every one of them."""

    def __init__(self):
        delete_stale()
        self.tag = f"{PREFIX}-{os.getpid()}"
        # Sockets live outside pytest's private (0700) temporary tree, where lldpd could not
        # reach them once it has dropped privileges.
        self.folder = Path(tempfile.mkdtemp(prefix="lldp-lab-"))
        self.folder.chmod(0o755)
        self.namespaces = []
        self.daemons = []

    def namespace(self):
        name = f"{self.tag}-{next(_numbers)}"
        _run("ip", "netns", "add", name)
        self.namespaces.append(name)
        _run("ip", "-n", name, "link", "set", "lo", "up")
        return name

    def link(self, ns_a, if_a, ns_b, if_b, mac_a=None, mac_b=None):
        """A veth pair, if_a in ns_a and if_b in ns_b, both up."""
        _run("ip", "link", "add", if_a, "netns", ns_a, "type", "veth", "peer", "name", if_b,
             "netns", ns_b)
        for ns, ifname, address in ((ns_a, if_a, mac_a), (ns_b, if_b, mac_b)):
            if address:
                _run("ip", "-n", ns, "link", "set", ifname, "address", address)
            _run("ip", "-n", ns, "link", "set", ifname, "up")

    def set_link(self, namespace, interface, up):
        _run("ip", "-n", namespace, "link", "set", interface, "up" if up else "down")

    def lldpd(self, namespace, interfaces, hostname, config=(), args=()):
        daemon = Lldpd(self, namespace, interfaces, hostname, config, args)
        self.daemons.append(daemon)
        return daemon

    def close(self):
        for daemon in self.daemons:
            daemon.stop()
        for name in self.namespaces:
            _run("ip", "netns", "delete", name, check=False)
        leftover = [n for n in namespaces() if n in self.namespaces]
        shutil.rmtree(self.folder, ignore_errors=True)
        assert not leftover, f"namespaces left behind: {leftover}"
