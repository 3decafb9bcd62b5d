#!/usr/bin/env python3
"""lldp-snmpd following a real lldpd, with neighbours from raw LLDPDUs (run as root).

A "switch" namespace runs lldpd on --ports veth interfaces; their peers are in a second
namespace, from which raw LLDPDUs come. lldp-snmpd --lldpd follows the switch's lldpd and
answers on 127.0.0.1. For each size N:

  burst     N new neighbours sent at once, spread over the ports: time from the first frame
            to lldpd knowing all N (lldpcli), and to lldp-snmpd answering all N over SNMP
            (snmpbulkwalk of lldpRemSysName); the second over the first.
  memory    lldp-snmpd's resident memory with N neighbours over that with none, per neighbour.
  churn     (largest N) --rate neighbour changes per second (a new system name each) for
            --seconds: CPU of lldp-snmpd and of lldpd over the wall time, and the ratio.

Figures only: nothing is checked against a time limit. Namespaces, lldpd and lldp-snmpd are
removed and stopped when the script ends, however it ends."""

import argparse
import os
import signal
import socket
import subprocess
import sys
import time

REPO = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(REPO, "tests", "integration"))

import lldp_lab  # noqa: E402
import lldpdu  # noqa: E402

SYS_NAME_COLUMN = "1.0.8802.1.1.2.1.4.1.1.9"


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def cpu_seconds(pid):
    fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def rss_bytes(pid):
    for line in open(f"/proc/{pid}/status"):
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) * 1024
    return 0


def tree_pids(pid):
    """pid and its children (lldpd's monitor and its worker)."""
    out = subprocess.run(["ps", "-o", "pid=", "--ppid", str(pid)], capture_output=True, text=True)
    return [pid] + [int(p) for p in out.stdout.split()]


def served_names(port):
    out = subprocess.run(["snmpbulkwalk", "-v2c", "-c", "public", "-m", "", "-On", "-Cr50",
                          "-t", "2", "-r", "1", f"127.0.0.1:{port}", SYS_NAME_COLUMN],
                         capture_output=True, text=True)
    return [line.split(" = STRING: ", 1)[1].strip('"') for line in out.stdout.splitlines()
            if " = STRING: " in line]


def lldpd_count(lldpd):
    return sum(len(n) for n in lldpd.neighbors().values())


def source_mac(k):
    return bytes.fromhex("02") + (0x5E0000 + k).to_bytes(5, "big")


def frame(k, name):
    return lldpdu.neighbor(source_mac(k), f"port{k}", name,
                           extra=[lldpdu.mgmt_addr(f"198.51.{100 + k // 250}.{k % 250 + 1}")])


def wait(predicate, timeout):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        if predicate():
            return time.monotonic()
        time.sleep(0.02)
    raise TimeoutError("not reached in time")


class Setup:
    def __init__(self, daemon, ports):
        self.lab = lldp_lab.Lab()
        self.ns, self.raw = self.lab.namespace(), self.lab.namespace()
        names = [f"eth{p + 1}" for p in range(ports)]
        for p, name in enumerate(names):
            self.lab.link(self.ns, name, self.raw, name, lldp_lab.lab_mac(1, p + 1),
                          lldp_lab.lab_mac(3, p + 1))
        self.lldpd = self.lab.lldpd(self.ns, names, "switch",
                                    ["configure system max-neighbors 4000"])
        self.senders = [lldpdu.Sender(self.raw, name) for name in names]
        self.port = free_port()
        self.log = open(os.path.join(self.lab.folder, "lldp-snmpd.log"), "w")
        self.daemon = subprocess.Popen(
            [daemon, "--lldpd", self.lldpd.socket, "--listen", f"udp:127.0.0.1:{self.port}"],
            stdout=self.log, stderr=subprocess.STDOUT,
            env=dict(os.environ, TMPDIR=str(self.lab.folder)))
        wait(lambda: served_names(self.port) == [] and self.daemon.poll() is None and
             "answering SNMP" in open(self.log.name).read(), 20)

    def send(self, k, name):
        self.senders[k % len(self.senders)].send(source_mac(k), frame(k, name))

    def close(self):
        if self.daemon.poll() is None:
            self.daemon.send_signal(signal.SIGTERM)
            self.daemon.wait(timeout=20)
        for s in self.senders:
            s.close()
        self.lab.close()


def burst(args, n):
    setup = Setup(args.daemon, args.ports)
    try:
        time.sleep(1)
        rss_empty = rss_bytes(setup.daemon.pid)
        start = time.monotonic()
        for k in range(n):
            setup.send(k, f"n{k}")
            if k % 50 == 49:
                time.sleep(0.002)  # a veth drops what overflows its queue
        known = wait(lambda: lldpd_count(setup.lldpd) >= n, args.timeout) - start
        answered = wait(lambda: len(served_names(setup.port)) >= n, args.timeout) - start
        time.sleep(1)
        per_neighbour = (rss_bytes(setup.daemon.pid) - rss_empty) / n
        row = {"n": n, "lldpd": known, "snmp": answered, "rss": per_neighbour}
        if n == max(args.sizes):
            row.update(churn(args, setup, n))
        return row
    finally:
        setup.close()


def churn(args, setup, n):
    pids = tree_pids(setup.lldpd.proc.pid)
    d0, l0, t0 = cpu_seconds(setup.daemon.pid), sum(map(cpu_seconds, pids)), time.monotonic()
    changes = int(args.rate * args.seconds)
    for c in range(changes):
        k = (c * 7) % n
        setup.send(k, f"n{k}-v{c}")
        time.sleep(max(0.0, t0 + (c + 1) / args.rate - time.monotonic()))
    wall = time.monotonic() - t0
    d1, l1 = cpu_seconds(setup.daemon.pid), sum(map(cpu_seconds, pids))
    last_k = ((changes - 1) * 7) % n
    wait(lambda: f"n{last_k}-v{changes - 1}" in served_names(setup.port), args.timeout)
    return {"churn_daemon": (d1 - d0) / wall, "churn_lldpd": (l1 - l0) / wall,
            "churn_rate": changes / wall}


def lab_arguments(description):
    """The options of the benchmarks that run lldpd: the daemon, the sizes, the ports."""
    parser = argparse.ArgumentParser(description=description.split("\n\n")[0])
    parser.add_argument("--daemon", default=os.environ.get("LLDP_SNMPD") or
                        os.path.join(REPO, "build", "lldp-snmpd"))
    parser.add_argument("--sizes", default="100,1000",
                        type=lambda s: [int(x) for x in s.split(",")])
    parser.add_argument("--ports", type=int, default=4)
    parser.add_argument("--timeout", type=float, default=120.0)
    return parser


def main():
    parser = lab_arguments(__doc__)
    parser.add_argument("--rate", type=float, default=100.0)
    parser.add_argument("--seconds", type=float, default=20.0)
    args = parser.parse_args()
    reason = lldp_lab.unavailable()
    if reason:
        sys.exit(f"bench_lldpd: {reason}")

    rows = [burst(args, n) for n in args.sizes]
    print(f"\nlldp-snmpd --lldpd, neighbours from raw LLDPDUs over {args.ports} ports")
    print(f"{'N':>6} {'lldpd knows all (s)':>20} {'SNMP answers all (s)':>21} "
          f"{'ratio':>6} {'RSS per neighbour':>18}")
    for r in rows:
        print(f"{r['n']:>6} {r['lldpd']:>20.2f} {r['snmp']:>21.2f} "
              f"{r['snmp'] / r['lldpd']:>6.2f} {r['rss'] / 1024:>15.1f} KiB")
    last = rows[-1]
    print(f"\nchurn: {last['churn_rate']:.0f} neighbour changes/s among {last['n']} neighbours: "
          f"lldp-snmpd {100 * last['churn_daemon']:.1f} % of a core, lldpd "
          f"{100 * last['churn_lldpd']:.1f} %, ratio "
          f"{last['churn_daemon'] / max(last['churn_lldpd'], 1e-9):.2f}")


if __name__ == "__main__":
    main()
