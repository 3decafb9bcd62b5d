#!/usr/bin/env python3
"""Churn soak: lldp-snmpd serving a state that never stops changing, walked all the while.

Starts lldp-snmpd on a state of N neighbours (default 1,000 over 48 interfaces) and a real
snmptrapd as its notification sink, then for --duration seconds:

  - rewrites the state file (temporary file and rename) every 0.2 to 0.5 s, each time with a
    few neighbours changed, added and removed, the total staying near N;
  - runs --walkers snmpbulkwalks back to back over the remote tables (lldpRemTable through
    lldpRemOrgDefInfoTable, and the 802.1 remote tables);
  - samples the daemon's resident memory every second.

It reports the walks completed and the objects they returned, every walk that failed or
returned an OID not greater than the one before it, the lldpRemTablesChange notifications
received against the most the 5-second throttle allows, and resident memory at the start, its
maximum and at the end. Exit status 1 when a walk failed or went backwards, the daemon exited,
or more notifications arrived than the throttle allows; otherwise the figures are only printed.

tests/integration/test_soak.py runs a one-minute version of the same soak (soak() below).
"""

import argparse
import json
import math
import os
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

LLDP = "1.0.8802.1.1.2"
WALKED = [LLDP + ".1.4",                  # lldpRemoteSystemsData
          LLDP + ".1.5.32962.1.3"]        # lldpXdot1RemoteData
REM_TABLES_CHANGE = "." + LLDP + ".0.0.1"
NOTIFICATION_INTERVAL = 5.0               # lldpNotificationInterval


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def tool(name):
    path = shutil.which(name, path=os.pathsep.join(
        [os.environ.get("PATH", ""), "/usr/bin", "/usr/sbin", "/sbin"]))
    if path is None:
        raise SystemExit(f"{name} is not installed")
    return path


def neighbour(key, generation):
    """Neighbour `key` = (port, index) in its `generation`-th version."""
    port, index = key
    serial = port * 4096 + index
    return {
        "index": index,
        "chassisIdSubtype": "macAddress",
        "chassisId": "02:00:00:%02x:%02x:%02x" % (serial >> 16 & 0xFF, serial >> 8 & 0xFF,
                                                  serial & 0xFF),
        "portIdSubtype": "local",
        "portId": f"port{index}",
        "sysName": f"nbr-{port}-{index}-v{generation}.example.net",
        "sysDesc": "soak neighbour",
        "sysCapSupported": ["bridge", "router"],
        "sysCapEnabled": ["bridge"],
        "managementAddresses": [
            {"subtype": "ipV4", "address": "198.51.100.%d" % (serial % 254 + 1)},
            {"subtype": "ipV6", "address": "2001:db8::%x:%x" % (port, index)}],
        "dot1": {"portVlanId": 1 + serial % 4094,
                 "vlanNames": [{"id": 1 + (serial + generation) % 4094, "name": "v%d" % generation}]},
    }


class Churn:
    """The state and its changes: a few neighbours changed, added and removed per rewrite."""

    def __init__(self, path, neighbours, ports, seed):
        self.path = path
        self.ports = ports
        self.random = random.Random(seed)
        self.generation = {}
        self.next_index = {p: 1 for p in range(1, ports + 1)}
        for k in range(neighbours):
            self._add(k % ports + 1)
        self.target = neighbours
        self.rewrites = 0

    def _add(self, port):
        key = (port, self.next_index[port])
        self.next_index[port] += 1
        self.generation[key] = 0

    def step(self):
        keys = list(self.generation)
        for key in self.random.sample(keys, min(len(keys), self.random.randint(1, 5))):
            self.generation[key] += 1
        for key in self.random.sample(keys, min(len(keys), self.random.randint(0, 3))):
            del self.generation[key]
        while len(self.generation) < self.target:
            self._add(self.random.randint(1, self.ports))

    def write(self):
        interfaces = [{"name": f"Ethernet{p}", "portNum": p, "neighbors": []}
                      for p in range(1, self.ports + 1)]
        for (port, index), generation in sorted(self.generation.items()):
            interfaces[port - 1]["neighbors"].append(neighbour((port, index), generation))
        state = {"localSystem": {"chassisIdSubtype": "macAddress",
                                 "chassisId": "02:00:00:00:00:01", "sysName": "soak"},
                 "interfaces": interfaces}
        tmp = self.path + ".tmp"
        with open(tmp, "w") as f:
            json.dump(state, f)
        os.replace(tmp, self.path)
        self.rewrites += 1


def rss_kb(pid):
    try:
        with open(f"/proc/{pid}/status") as f:
            for line in f:
                if line.startswith("VmRSS:"):
                    return int(line.split()[1])
    except OSError:
        pass
    return None


def parse_walk(text):
    """The OIDs of snmpbulkwalk -On output, as tuples, in the order received."""
    oids = []
    for line in text.splitlines():
        if line.startswith("."):
            name = line.split(" ", 1)[0]
            oids.append(tuple(int(x) for x in name[1:].split(".")))
    return oids


class Walker(threading.Thread):
    def __init__(self, number, port, env, stopping):
        super().__init__(daemon=True)
        self.number, self.port, self.env, self.stopping = number, port, env, stopping
        self.walks = self.objects = 0
        self.failures = []
        self.proc = None

    def run(self):
        round_ = self.number
        while not self.stopping.is_set():
            subtree = WALKED[round_ % len(WALKED)]
            round_ += 1
            cmd = [tool("snmpbulkwalk"), "-v", "2c", "-c", "public", "-t", "5", "-r", "2",
                   "-Cr25", "-On", "-m", "", f"127.0.0.1:{self.port}", subtree]
            self.proc = subprocess.Popen(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                         text=True, env=self.env)
            out, err = self.proc.communicate()
            if self.stopping.is_set() and self.proc.returncode < 0:
                break
            oids = parse_walk(out)
            backwards = [(a, b) for a, b in zip(oids, oids[1:]) if b <= a]
            if backwards:
                a, b = backwards[0]
                self.failures.append(f"walk of {subtree}: OID not increasing: "
                                     f".{'.'.join(map(str, a))} then .{'.'.join(map(str, b))}")
            elif self.proc.returncode != 0 or err.strip():
                self.failures.append(f"walk of {subtree}: exit {self.proc.returncode}: "
                                     f"{err.strip()[:300]}")
            else:
                self.walks += 1
                self.objects += len(oids)

    def stop(self):
        if self.proc and self.proc.poll() is None:
            self.proc.send_signal(signal.SIGTERM)
        self.join(timeout=30)


def stop_process(proc):
    if proc.poll() is None:
        proc.send_signal(signal.SIGTERM)
        try:
            proc.wait(timeout=15)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait()
    return proc.returncode


def soak(daemon, workdir, neighbours=1000, ports=48, duration=60.0, walkers=4, seed=8021,
         progress=lambda message: None):
    """Runs the soak; returns its figures and findings as a dict."""
    os.makedirs(workdir, exist_ok=True)
    env = {k: v for k, v in os.environ.items() if k not in ("MIBS", "MIBDIRS")}
    env.update(SNMPCONFPATH=workdir, SNMP_PERSISTENT_DIR=workdir)
    state_path = os.path.join(workdir, "state.json")
    churn = Churn(state_path, neighbours, ports, seed)
    churn.write()

    trap_port, agent_port = free_udp_port(), free_udp_port()
    trap_conf = os.path.join(workdir, "snmptrapd-soak.conf")
    trap_log = os.path.join(workdir, "snmptrapd.log")
    with open(trap_conf, "w") as f:
        f.write("disableAuthorization yes\n")
    daemon_conf = os.path.join(workdir, "lldp-snmpd.conf")
    with open(daemon_conf, "w") as f:
        f.write(f"rocommunity public 127.0.0.1\ntrap2sink 127.0.0.1:{trap_port} public\n")
    daemon_log = os.path.join(workdir, "lldp-snmpd.log")
    persistent = os.path.join(workdir, "persistent")
    os.makedirs(persistent, exist_ok=True)

    result = {"neighbours": neighbours, "duration": duration, "walkers": walkers}
    started = []
    stopping = threading.Event()
    threads = []
    try:
        trapd = subprocess.Popen([tool("snmptrapd"), "-f", "-Lf", trap_log, "-C", "-c", trap_conf,
                                  "-On", "-m", "", f"udp:127.0.0.1:{trap_port}"],
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=env)
        started.append(trapd)
        with open(daemon_log, "w") as log:
            agent = subprocess.Popen(
                [daemon, "--state", state_path, "--config", daemon_conf,
                 "--listen", f"udp:127.0.0.1:{agent_port}"],
                stdout=log, stderr=subprocess.STDOUT,
                env=dict(env, TMPDIR=workdir, STATE_DIRECTORY=persistent))
        started.append(agent)
        deadline = time.monotonic() + 120
        while "answering SNMP on" not in open(daemon_log, errors="replace").read():
            if agent.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("lldp-snmpd did not start:\n" +
                                   open(daemon_log, errors="replace").read()[-2000:])
            time.sleep(0.05)
        time.sleep(1.0)
        result["rss_start_kb"] = rss_kb(agent.pid)
        rss = [result["rss_start_kb"]]
        progress(f"serving {neighbours} neighbours, {result['rss_start_kb']} kB resident")

        walking = [Walker(i, agent_port, env, stopping) for i in range(walkers)]
        threads += walking
        for w in walking:
            w.start()
        begin = time.monotonic()
        next_sample = begin + 1.0
        rng = random.Random(seed + 1)
        while time.monotonic() - begin < duration and agent.poll() is None:
            churn.step()
            churn.write()
            pause_until = time.monotonic() + rng.uniform(0.2, 0.5)
            while time.monotonic() < pause_until:
                if time.monotonic() >= next_sample:
                    sample = rss_kb(agent.pid)
                    if sample:
                        rss.append(sample)
                    next_sample += 1.0
                time.sleep(0.02)
        elapsed = time.monotonic() - begin
        stopping.set()
        for w in walking:
            w.stop()
        result["daemon_exit"] = agent.poll()
        result["rss_end_kb"] = rss_kb(agent.pid) or rss[-1]
        result["rss_max_kb"] = max(r for r in rss + [result["rss_end_kb"]] if r)
        result["rss_kb"] = rss  # a sample a second, from the start of the churn
        result["elapsed"] = elapsed
        result["rewrites"] = churn.rewrites
        result["walks"] = sum(w.walks for w in walking)
        result["objects"] = sum(w.objects for w in walking)
        result["failures"] = [f for w in walking for f in w.failures]
        # The notifications of the churn: the first change after a quiet interval is sent at
        # once, so at most one per interval, plus the one the start may have sent.
        time.sleep(1.0)
        log = open(trap_log, errors="replace").read() if os.path.exists(trap_log) else ""
        result["notifications"] = sum(1 for line in log.splitlines() if REM_TABLES_CHANGE in line)
        result["notifications_allowed"] = math.ceil(elapsed / NOTIFICATION_INTERVAL) + 2
    finally:
        stopping.set()
        for t in threads:
            t.stop()
        codes = [stop_process(p) for p in reversed(started)]
    result["daemon_stop"] = codes[0] if len(codes) == 2 else None
    result["daemon_log"] = open(daemon_log, errors="replace").read() \
        if os.path.exists(daemon_log) else ""
    return result


def problems(result):
    found = list(result["failures"])
    if result["daemon_exit"] is not None:
        found.append(f"lldp-snmpd exited during the soak with {result['daemon_exit']}")
    if result["daemon_stop"] != 0:
        found.append(f"lldp-snmpd stopped with {result['daemon_stop']}")
    if result["notifications"] > result["notifications_allowed"]:
        found.append(f"{result['notifications']} notifications, more than the "
                     f"{result['notifications_allowed']} the throttle allows")
    return found


def report(result):
    mib = lambda kb: f"{kb / 1024:.1f} MiB" if kb else "?"
    print(f"soak: {result['neighbours']} neighbours, {result['elapsed']:.0f} s, "
          f"{result['rewrites']} rewrites ({result['rewrites'] / result['elapsed']:.1f}/s), "
          f"{result['walkers']} walkers")
    print(f"  walks completed      {result['walks']} ({result['objects']} objects, "
          f"{result['objects'] / max(result['elapsed'], 1):.0f} objects/s)")
    print(f"  walks failed         {len(result['failures'])}")
    for failure in result["failures"][:10]:
        print(f"    {failure}")
    print(f"  notifications        {result['notifications']} received, at most "
          f"{result['notifications_allowed']} allowed (one per {NOTIFICATION_INTERVAL:.0f} s)")
    print(f"  resident memory      start {mib(result['rss_start_kb'])}, max "
          f"{mib(result['rss_max_kb'])}, end {mib(result['rss_end_kb'])} "
          f"(end/start {result['rss_end_kb'] / result['rss_start_kb']:.2f})")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--daemon", default=os.path.join(
        os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "build", "lldp-snmpd"),
        help="the lldp-snmpd to soak (default: build/lldp-snmpd)")
    parser.add_argument("--neighbours", type=int, default=1000)
    parser.add_argument("--ports", type=int, default=48)
    parser.add_argument("--duration", type=float, default=300.0, help="seconds (default 300)")
    parser.add_argument("--walkers", type=int, default=4, help="concurrent snmpbulkwalks")
    parser.add_argument("--seed", type=int, default=8021)
    parser.add_argument("--keep", action="store_true", help="keep the work folder and say where")
    args = parser.parse_args()

    workdir = tempfile.mkdtemp(prefix="lldp-soak-")
    try:
        result = soak(args.daemon, workdir, args.neighbours, args.ports, args.duration,
                      args.walkers, args.seed, progress=lambda m: print("soak: " + m, flush=True))
        report(result)
        found = problems(result)
        for problem in found:
            print("soak: PROBLEM: " + problem)
        return 1 if found else 0
    finally:
        if args.keep:
            print("soak: work folder kept in " + workdir)
        else:
            shutil.rmtree(workdir, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
