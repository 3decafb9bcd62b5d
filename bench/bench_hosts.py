#!/usr/bin/env python3
"""The same LLDP state served three ways, walked whole:

  standalone   lldp-snmpd answering on its own UDP port
  dlmod        Debian's snmpd with lldpsnmp.so loaded by dlmod (in process)
  agentx       Debian's snmpd as AgentX master, lldp-snmpd as its subagent

The state is 1000 neighbours (with their management address and VLAN name sub-rows) over 48
ports, from bench_walk.py's generator. Each route is walked with snmpbulkwalk over the whole
LLDP subtree (1.0.8802.1.1.2) --repeat times; the fastest walk counts. Printed: varbinds,
wall time per varbind, the agent processes' CPU per varbind, and each route's time over the
standalone daemon's. Nothing is checked against a limit.

    python3 bench/bench_hosts.py [--neighbours 1000] [--repeat 5]
"""

import argparse
import os
import shutil
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import bench_walk as bw  # noqa: E402

LLDP = "1.0.8802.1.1.2"
REM_SYS_NAME = LLDP + ".1.4.1.1.9"


def times(a, b):
    return "%.2fx" % (a / b)


def build_file(name):
    path = os.path.join(bw.REPO, "build", name)
    if not os.path.exists(path):
        raise bw.BenchError("%s not built (scripts/build.sh)" % path)
    return path


def snmpd():
    for folder in ("/usr/sbin", "/sbin"):
        if os.path.exists(os.path.join(folder, "snmpd")):
            return os.path.join(folder, "snmpd")
    raise bw.BenchError("Debian's snmpd is not installed")


class Route:
    """The processes of one route; the walk talks to `port`."""

    def __init__(self, name, port, servers):
        self.name, self.port, self.servers = name, port, servers

    def start(self, timeout=120):
        for server in self.servers:
            server.start()
            time.sleep(0.2)
        client = bw.SnmpClient(self.port)
        try:
            bw.wait_ready(self.servers[-1], client, REM_SYS_NAME, REM_SYS_NAME, timeout)
        finally:
            client.close()
        return self

    def cpu_ns(self):
        return sum(s.cpu_ns() for s in self.servers)

    def stop(self):
        for server in reversed(self.servers):
            server.stop()


class Combined:
    """The CPU of several processes as one, for bw.bulkwalk."""

    def __init__(self, route):
        self.route = route

    def cpu_ns(self):
        return self.route.cpu_ns()


def snmpd_server(work, name, port, lines):
    conf = os.path.join(work, name + ".conf")
    with open(conf, "w") as f:
        f.write("rocommunity public 127.0.0.1\ndontLogTCPWrappersConnects yes\n" + lines)
    persist = os.path.join(work, name + "-persist")
    os.makedirs(persist, exist_ok=True)
    argv = ["env", "SNMP_PERSISTENT_DIR=" + persist, snmpd(), "-f", "-Lf",
            os.path.join(work, name + ".log"), "-C", "-c", conf, "-M", "/dev/null", "-m", "",
            "udp:127.0.0.1:%d" % port]
    return bw.Server(name, argv, os.path.join(work, name + ".out"))


def routes(work, state):
    daemon = build_file("lldp-snmpd")
    plugin = build_file("lldpsnmp.so")
    port = bw.free_udp_port()
    yield Route("standalone", port, [bw.Server(
        "lldp-snmpd", [daemon, "--state", state, "--listen", "udp:127.0.0.1:%d" % port],
        os.path.join(work, "standalone.log"))])
    port = bw.free_udp_port()
    yield Route("dlmod", port, [snmpd_server(
        work, "snmpd-dlmod", port, "dlmod lldpsnmp %s\nlldpStateFile %s\n" % (plugin, state))])
    port = bw.free_udp_port()
    socket_path = os.path.join(work, "agentx")
    master = snmpd_server(work, "snmpd-master", port,
                          "master agentx\nagentXSocket %s\n" % socket_path)
    subagent = bw.Server("lldp-snmpd-agentx", [daemon, "--state", state, "--agentx", socket_path],
                         os.path.join(work, "agentx.log"))
    yield Route("agentx", port, [master, subagent])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--neighbours", type=int, default=1000)
    parser.add_argument("--ports", type=int, default=48)
    parser.add_argument("--repeat", type=int, default=5)
    args = parser.parse_args()

    work = tempfile.mkdtemp(prefix="lldp-bench-hosts-")
    results = {}
    try:
        state = os.path.join(work, "state.json")
        bw.write_state(state, args.ports, args.neighbours)
        for route in routes(work, state):
            bw.progress("%s: starting" % route.name)
            try:
                route.start()
                figures, _ = bw.best_walk(Combined(route), route.port, LLDP, args.repeat,
                                          timeout=600)
                results[route.name] = figures
            finally:
                route.stop()
    except bw.BenchError as e:
        print("bench_hosts: %s" % e, file=sys.stderr)
        return 1
    finally:
        shutil.rmtree(work, ignore_errors=True)

    base = results["standalone"]
    print("\nFull walk of %s (snmpbulkwalk -Cr%d), %d neighbours over %d ports"
          % (LLDP, bw.MAX_REPETITIONS, args.neighbours, args.ports))
    rows = [[name, "%d" % f["varbinds"], "%.3f" % f["seconds"], "%.2f" % f["us_per_vb"],
             "%.2f" % f["agent_us_per_vb"], times(f["seconds"], base["seconds"])]
            for name, f in results.items()]
    bw.print_table(["route", "varbinds", "walk s", "us/varbind", "agent CPU us/varbind",
                    "time / standalone"], rows)
    if "dlmod" in results and "agentx" in results:
        dl, ax = results["dlmod"], results["agentx"]
        print("agentx / dlmod: %s wall, %s agent CPU (goal: at least 5x)"
              % (times(ax["seconds"], dl["seconds"]), times(ax["server_s"], dl["server_s"])))
        print("dlmod / standalone: %s wall, %s agent CPU (goal: within 1.5x)"
              % (times(dl["seconds"], base["seconds"]), times(dl["server_s"], base["server_s"])))
        print("(agent CPU counts every process of a route: snmpd and the subagent for agentx;"
              " on a busy machine it is the steadier figure)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
