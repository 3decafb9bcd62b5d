#!/usr/bin/env python3
"""The scale table in one command: at each size (default 1,000, 10,000 and 50,000 neighbours),
the per-varbind cost of a bulk walk of lldpRemManAddrTable over lldpRemTable's (goal: within
1.5x), a GET of a missing row over a GET of an existing one (goal: within 2x), the reload time
and longest pause in answers for a one-neighbour and a ten-neighbour change, resident memory per
neighbour and the peak of resident memory while the reloads ran over the steady one.

Runs bench_walk.py (neighbour tables only; no local tables, no reference agent) and
bench_reload.py one after the other, and prints their figures side by side. Figures only:
nothing is checked against a limit.
"""

import argparse
import json
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import bench_reload  # noqa: E402
from bench_walk import REPO, ratio  # noqa: E402


def walk_figures(args):
    """bench_walk.py's figures by size."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run([sys.executable, os.path.join(HERE, "bench_walk.py"), "--daemon", args.daemon,
                        "--sizes", args.sizes, "--repeat", str(args.repeat), "--skip-local",
                        "--skip-reference", "--json", out.name], check=True,
                       stdout=subprocess.DEVNULL)
        results = json.load(open(out.name))
    return {entry["n"]: entry["ours"] for entry in results["sizes"]}


def two(value):
    return "-" if value is None else "%.2f" % value


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--daemon", default=os.environ.get("LLDP_SNMPD") or
                        os.path.join(REPO, "build", "lldp-snmpd"))
    parser.add_argument("--sizes", default="1000,10000,50000")
    parser.add_argument("--repeat", type=int, default=3, help="walks and GET rounds per figure")
    parser.add_argument("--reloads", type=int, default=3,
                        help="reloads per count of changed neighbours")
    parser.add_argument("--ports", type=int, default=48,
                        help="interfaces the reloaded neighbours are spread over (default 48)")
    args = parser.parse_args()

    walks = walk_figures(args)
    reloads = {r["n"]: r for r in bench_reload.run(bench_reload.arguments(
        ["--daemon", args.daemon, "--sizes", args.sizes, "--ports", str(args.ports),
         "--reloads", str(args.reloads)]))}

    header = ("neighbours", "manaddr/rem walk", "GET miss/hit", "reload s 1/10",
              "pause ms 1/10", "RSS/neighbour", "reload peak/steady")
    print("| " + " | ".join(header) + " |")
    print("|" + "|".join("---" for _ in header) + "|")
    for n in sorted(reloads):
        w, r = walks.get(n), reloads[n]
        walk = miss = "-"
        if w:
            walk = two(ratio(w["man_addr_walk"]["agent_us_per_vb"], w["walk"]["agent_us_per_vb"]))
            miss = two(ratio(w["get_missing"]["agent_us_per_get"], w["get_single"]["agent_us_per_get"]))
        print("| %d | %s | %s | %.2f / %.2f | %.0f / %.0f | %.0f B | %.0f / %.0f MB |" % (
            n, walk, miss, r["reload1"], r["reload10"], r["pause1"] * 1e3, r["pause10"] * 1e3,
            r["per_nbr"], r["peak_mb"], r["steady_mb"]))
    print("Walk and GET ratios are of the agent's CPU per varbind; pauses are the longest gap "
          "between answers to back-to-back GETs while the reloads ran (idle: %s ms)."
          % "/".join("%.0f" % (reloads[n]["idle"] * 1e3) for n in sorted(reloads)))


if __name__ == "__main__":
    main()
