#!/usr/bin/env python3
"""Reloads of a large state file, as the SNMP manager sees them.

For each size N (default 1,000, 10,000 and 50,000 neighbours over --ports interfaces, generated
as bench_walk.py generates them), starts lldp-snmpd on the file and reports:

  file MB            size of the state file
  RSS/neighbour      resident memory above a daemon with the same interfaces and no neighbours,
                     divided by N, once the state is served
  steady MB          the daemon's resident memory once the state is served
  reload peak MB     the high-water mark of resident memory while the reloads ran (the mark is
                     reset through /proc/PID/clear_refs once the daemon is steady, so the
                     start-up does not count)
  reload s (1/10)    from the rename of a file in which 1 (or 10) neighbours changed to the log
                     line that says it was applied (mean of --reloads)
  pause ms (1/10)    the longest gap between two answers to GETs sent back to back while those
                     reloads ran; idle ms is the same before any reload, for comparison

The changed files are all written before the GETs start, so that writing them does not hold
this script's own threads. Figures only: nothing is checked against a limit. Each daemon binds
127.0.0.1 on a free port and is stopped when its measurement ends; the files live in a
temporary directory that is removed.
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
from bench_walk import (GET, REPO, Server, SnmpClient, free_udp_port,  # noqa: E402
                        settled_rss_kb, write_state)

SYS_UP_TIME = "1.3.6.1.2.1.1.3.0"
LOC_SYS_NAME = "1.0.8802.1.1.2.1.3.3.0"
CHANGES = (1, 10)


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
        self.lock = threading.Lock()

    def run(self):
        last = time.monotonic()
        while not self.stopping.is_set():
            if self.client.request(GET, [SYS_UP_TIME], timeout=10.0) is not None:
                now = time.monotonic()
                with self.lock:
                    self.longest = max(self.longest, now - last)
                    self.answers += 1
                last = now

    def take(self):
        """The longest gap since the last take()."""
        with self.lock:
            longest, self.longest = self.longest, 0.0
        return longest

    def stop(self):
        self.stopping.set()
        self.join()
        self.client.close()


def changed_files(path, workdir, changes, reloads):
    """For each count of changes, `reloads` files: the state at path with that many neighbours
    renamed (spread over the interfaces), each file differing from the one before it."""
    with open(path) as f:
        state = json.load(f)
    interfaces = state["interfaces"]
    files = {}
    for count in changes:
        files[count] = []
        for r in range(reloads):
            for i in range(count):
                intf = interfaces[i % len(interfaces)]
                if intf["neighbors"]:
                    intf["neighbors"][i // len(interfaces) % len(intf["neighbors"])]["sysName"] = \
                        "changed-%d-%d-%d" % (count, r, i)
            out = os.path.join(workdir, "changed-%d-%d.json" % (count, r))
            with open(out, "w") as f:
                json.dump(state, f, separators=(",", ":"))
            files[count].append(out)
    return files


def status_kb(pid, field):
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith(field + ":"):
                return int(line.split()[1])
    return 0


def reset_peak(pid):
    """Starts VmHWM again from the current resident size (Linux 4.0 and later)."""
    try:
        with open("/proc/%d/clear_refs" % pid, "w") as f:
            f.write("5")
        return True
    except OSError:
        return False


def applied_count(log):
    with open(log) as f:
        return f.read().count("applied state file")


def measure(args, workdir, n, baseline_kb):
    path = os.path.join(workdir, "state-%d.json" % n)
    size = write_state(path, args.ports, n)
    files = changed_files(path, workdir, CHANGES, args.reloads)
    server, client, port = start(args.daemon, workdir, str(n), path)
    log = os.path.join(workdir, "daemon-%d.log" % n)
    try:
        rss = settled_rss_kb(server)
        peak_known = reset_peak(server.pid)
        meter = PauseMeter(port)
        meter.start()
        time.sleep(1.0)
        result = {"n": n, "mb": size / 1e6, "per_nbr": (rss - baseline_kb) * 1024.0 / n,
                  "steady_mb": rss / 1024.0, "idle": meter.take()}
        for count in CHANGES:
            took = []
            for changed in files[count]:
                before = applied_count(log)
                t0 = time.monotonic()
                os.replace(changed, path)
                while applied_count(log) == before:
                    if time.monotonic() - t0 > 300 or not server.alive():
                        raise SystemExit("no reload within 300 s:\n" + server.log_tail())
                    time.sleep(0.005)
                took.append(time.monotonic() - t0)
                time.sleep(0.2)  # answers settle before the next change
            result["reload%d" % count] = sum(took) / len(took)
            result["pause%d" % count] = meter.take()
        meter.stop()
        result["peak_mb"] = status_kb(server.pid, "VmHWM") / 1024.0 if peak_known else float("nan")
        return result
    finally:
        client.close()
        server.stop()
        for changed in sum(files.values(), []):
            if os.path.exists(changed):
                os.unlink(changed)


def run(args):
    """Every size's figures, as a list of dicts."""
    workdir = tempfile.mkdtemp(prefix="bench-reload-")
    try:
        base_path = os.path.join(workdir, "baseline.json")
        write_state(base_path, args.ports, 0)
        server, client, _ = start(args.daemon, workdir, "baseline", base_path)
        baseline_kb = settled_rss_kb(server)
        client.close()
        server.stop()
        return [measure(args, workdir, int(n), baseline_kb) for n in args.sizes.split(",")]
    finally:
        shutil.rmtree(workdir, ignore_errors=True)


def print_rows(rows):
    print("%10s %7s %13s %9s %14s %15s %15s %7s" % (
        "neighbours", "file MB", "RSS/neighbour", "steady MB", "reload peak MB",
        "reload s (1/10)", "pause ms (1/10)", "idle ms"))
    for r in rows:
        print("%10d %7.1f %11.0f B %9.0f %14.0f %7.3f/%-7.3f %7.0f/%-7.0f %7.0f" % (
            r["n"], r["mb"], r["per_nbr"], r["steady_mb"], r["peak_mb"], r["reload1"],
            r["reload10"], r["pause1"] * 1e3, r["pause10"] * 1e3, r["idle"] * 1e3))


def arguments(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--daemon", default=os.environ.get("LLDP_SNMPD") or
                        os.path.join(REPO, "build", "lldp-snmpd"))
    parser.add_argument("--sizes", default="1000,10000,50000")
    parser.add_argument("--ports", type=int, default=48)
    parser.add_argument("--reloads", type=int, default=3,
                        help="reloads per count of changed neighbours (default 3)")
    return parser.parse_args(argv)


def main():
    print_rows(run(arguments()))


if __name__ == "__main__":
    main()
