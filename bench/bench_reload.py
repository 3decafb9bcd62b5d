#!/usr/bin/env python3
"""Reloads of a large state file, as the SNMP manager sees them.

For each size N (default 1,000, 10,000 and 50,000 neighbours over --ports interfaces, generated
as bench_walk.py generates them), starts lldp-snmpd on the file and reports:

  file MB           size of the state file
  RSS/neighbour     resident memory above a daemon with the same interfaces and no neighbours,
                    divided by N
  peak MB           the daemon's high-water mark of resident memory after the reloads
  reload s          from the rename of a file in which 10 neighbours changed to the log line
                    that says it was applied (mean of --reloads)
  longest pause ms  the longest gap between two answers to GETs sent back to back while the
                    reloads ran, and the same before any reload (idle) for comparison

Figures only: nothing is checked against a limit. Each daemon binds 127.0.0.1 on a free port
and is stopped when its measurement ends; the files live in a temporary directory.
"""

import argparse
import json
import os
import shutil
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from bench_walk import (GET, REPO, Server, SnmpClient, free_udp_port, neighbour,  # noqa: E402
                        settled_rss_kb, write_state)

SYS_UP_TIME = "1.3.6.1.2.1.1.3.0"
LOC_SYS_NAME = "1.0.8802.1.1.2.1.3.3.0"


def start(daemon, workdir, label, path):
    port = free_udp_port()
    server = Server("lldp-snmpd (%s)" % label,
                    [daemon, "--listen", "udp:127.0.0.1:%d" % port, "--state", path],
                    os.path.join(workdir, "daemon-%s.log" % label)).start()
    client = SnmpClient(port)
    deadline = time.monotonic() + 300
    while client.request(GET, [LOC_SYS_NAME], timeout=0.2) is None:
        if not server.alive() or time.monotonic() > deadline:
            raise SystemExit("%s did not answer:\n%s" % (server.name, server.log_tail()))
    return server, client, port


class PauseMeter(threading.Thread):
    """GETs back to back; the longest time between two answers."""

    def __init__(self, port):
        super().__init__(daemon=True)
        self.client = SnmpClient(port)
        self.longest = 0.0
        self.answers = 0
        self.stopping = threading.Event()

    def run(self):
        last = time.monotonic()
        while not self.stopping.is_set():
            if self.client.request(GET, [SYS_UP_TIME], timeout=10.0) is not None:
                now = time.monotonic()
                self.longest = max(self.longest, now - last)
                self.answers += 1
                last = now

    def stop(self):
        self.stopping.set()
        self.join()
        self.client.close()
        return self.longest


def changed_state(path, out, round_):
    """The state at path with 10 neighbours renamed."""
    with open(path) as f:
        state = json.load(f)
    for i in range(10):
        intf = state["interfaces"][i % len(state["interfaces"])]
        if intf["neighbors"]:
            intf["neighbors"][0]["sysName"] = "changed-%d-%d" % (round_, i)
    with open(out, "w") as f:
        json.dump(state, f, separators=(",", ":"))


def measure(args, workdir, n, baseline_kb):
    path = os.path.join(workdir, "state-%d.json" % n)
    size = write_state(path, args.ports, n)
    server, client, port = start(args.daemon, workdir, str(n), path)
    try:
        rss = settled_rss_kb(server)
        meter = PauseMeter(port)
        meter.start()
        time.sleep(1.0)
        idle = meter.longest
        meter.longest = 0.0
        took = []
        log = os.path.join(workdir, "daemon-%d.log" % n)
        for r in range(args.reloads):
            tmp = path + ".tmp"
            changed_state(path, tmp, r)
            before = open(log).read().count("applied state file")
            t0 = time.monotonic()
            os.replace(tmp, path)
            while open(log).read().count("applied state file") == before:
                if time.monotonic() - t0 > 300:
                    raise SystemExit("no reload within 300 s:\n" + server.log_tail())
                time.sleep(0.005)
            took.append(time.monotonic() - t0)
        pause = meter.stop()
        return {"n": n, "mb": size / 1e6, "per_nbr": (rss - baseline_kb) * 1024.0 / n,
                "peak_mb": server.status_kb("VmHWM") / 1024.0, "reload": sum(took) / len(took),
                "pause": pause, "idle": idle}
    finally:
        client.close()
        server.stop()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--daemon", default=os.path.join(REPO, "build", "lldp-snmpd"))
    parser.add_argument("--sizes", default="1000,10000,50000")
    parser.add_argument("--ports", type=int, default=48)
    parser.add_argument("--reloads", type=int, default=3)
    args = parser.parse_args()
    workdir = tempfile.mkdtemp(prefix="bench-reload-")
    try:
        base_path = os.path.join(workdir, "baseline.json")
        write_state(base_path, args.ports, 0)
        server, client, _ = start(args.daemon, workdir, "baseline", base_path)
        baseline_kb = settled_rss_kb(server)
        client.close()
        server.stop()
        rows = [measure(args, workdir, int(n), baseline_kb) for n in args.sizes.split(",")]
        print("%11s %8s %14s %8s %9s %17s %8s" % ("neighbours", "file MB", "RSS/neighbour",
                                                 "peak MB", "reload s", "longest pause ms",
                                                 "idle ms"))
        for r in rows:
            print("%11d %8.1f %12.0f B %8.0f %9.2f %17.0f %8.0f" % (
                r["n"], r["mb"], r["per_nbr"], r["peak_mb"], r["reload"], r["pause"] * 1e3,
                r["idle"] * 1e3))
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


if __name__ == "__main__":
    main()
