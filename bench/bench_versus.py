#!/usr/bin/env python3
"""lldp-snmpd beside lldpd's own SNMP subagent, on the same lldpd and the same neighbours (run
as root).

A "switch" namespace runs lldpd with its AgentX subagent enabled; raw LLDPDUs come from a peer
namespace (dot1, dot3 and LLDP-MED TLVs beside the basic ones, one management address each).
Three agents then serve what that one lldpd knows:

  theirs      snmpd (AgentX master) with lldpd's own subagent
  ours/agentx snmpd (AgentX master) with lldp-snmpd --lldpd --agentx
  ours        lldp-snmpd --lldpd --listen, standalone

For each size N it prints:

  burst       the time from the first frame of N new neighbours to each agent answering all
              N system names (snmpbulkwalk of lldpRemSysName, polled);
  coverage    per table of the LLDP modules, the columns and instances each agent serves in a
              walk of the whole LLDP subtree, and the columns whose values disagree;
  time filter a GET of a served lldpRemSysName instance under time mark 0 (the TimeFilter
              index: every row is visible under an older mark), right or wrong;
  walk        a bulk walk of the whole LLDP subtree: varbinds, seconds, CPU of every process
              that serves it (master and subagent, or the daemon) per varbind.

Figures only: nothing is checked against a time limit. Namespaces, lldpd, the masters and
lldp-snmpd are removed and stopped when the script ends, however it ends."""

import collections
import os
import shutil
import subprocess
import sys
import threading
import time

REPO = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(REPO, "tests", "integration"))
sys.path.insert(0, os.path.join(REPO, "bench"))

import bench_lldpd  # noqa: E402
import bench_soak  # noqa: E402
import lldp_lab  # noqa: E402
import lldpdu  # noqa: E402

LLDP_MIB = "1.0.8802.1.1.2"
SYS_NAME_COLUMN = "1.0.8802.1.1.2.1.4.1.1.9"
MIBS = ("LLDP-MIB", "LLDP-EXT-DOT1-MIB", "LLDP-EXT-DOT3-MIB", "LLDP-EXT-MED-MIB")


def frame(k, name):
    """Neighbour k: a documentation-range address, a port VLAN and a VLAN name, MAC/PHY,
    power and maximum frame size, and an LLDP-MED phone's capabilities, policy and inventory."""
    return lldpdu.neighbor(bench_lldpd.source_mac(k), f"port{k}", name, extra=[
        lldpdu.sys_desc(f"bench neighbour {k}"), lldpdu.port_desc(f"uplink {k}"),
        lldpdu.sys_cap(0x24, 0x04),
        lldpdu.mgmt_addr(f"198.51.{100 + k // 250}.{k % 250 + 1}", if_id=k + 1),
        lldpdu.port_vlan(100 + k % 8), lldpdu.vlan_name(100 + k % 8, f"vlan{100 + k % 8}"),
        lldpdu.mac_phy(True, True, 0x6C01, 16), lldpdu.power(), lldpdu.max_frame_size(1522),
        lldpdu.med_capabilities(), lldpdu.med_policy(vid=100 + k % 8),
        lldpdu.med_inventory(10, f"model-{k % 4}")])


class Master:
    """snmpd as AgentX master on a loopback port and a socket of its own."""

    def __init__(self, folder, name):
        self.folder = os.path.join(folder, name)
        os.makedirs(self.folder)
        os.chmod(self.folder, 0o755)  # lldpd's subagent connects after dropping privileges
        self.socket = os.path.join(self.folder, "agentx")
        self.port = bench_lldpd.free_port()
        conf = os.path.join(self.folder, "master.conf")
        with open(conf, "w") as f:
            f.write(f"master agentx\nagentXSocket {self.socket}\nagentXPerms 0666 0755\n"
                    "rocommunity public 127.0.0.1\n")
        self.log = open(os.path.join(self.folder, "log"), "w")
        self.proc = subprocess.Popen(
            ["snmpd", "-f", "-Lo", "-C", "-c", conf, "-m", "", "-M", "/dev/null",
             f"udp:127.0.0.1:{self.port}"], stdout=self.log, stderr=subprocess.STDOUT,
            env=dict(os.environ, SNMP_PERSISTENT_DIR=self.folder))
        bench_lldpd.wait(lambda: os.path.exists(self.socket), 10)


class Agents:
    def __init__(self, args):
        self.lab = lldp_lab.Lab()
        self.procs = []
        try:
            self._start(args)
        except BaseException:
            self.close()
            raise

    def _start(self, args):
        self.ns, self.raw = self.lab.namespace(), self.lab.namespace()
        names = [f"eth{p + 1}" for p in range(args.ports)]
        for p, name in enumerate(names):
            self.lab.link(self.ns, name, self.raw, name, lldp_lab.lab_mac(1, p + 1),
                          lldp_lab.lab_mac(3, p + 1))
        folder = str(self.lab.folder)
        theirs, ours_master = Master(folder, "theirs"), Master(folder, "ours")
        self.procs += [theirs.proc, ours_master.proc]
        self.lldpd = self.lab.lldpd(self.ns, names, "switch",
                                    ["configure system max-neighbors 4000"],
                                    ["-x", "-X", theirs.socket])
        self.senders = [lldpdu.Sender(self.raw, name) for name in names]

        self.log = open(os.path.join(folder, "lldp-snmpd.log"), "w")
        self.port = bench_lldpd.free_port()
        env = dict(os.environ, TMPDIR=folder)
        common = [args.daemon, "--lldpd", self.lldpd.socket]
        self.ours = subprocess.Popen([*common, "--listen", f"udp:127.0.0.1:{self.port}"],
                                     stdout=self.log, stderr=subprocess.STDOUT, env=env)
        self.ours_agentx = subprocess.Popen([*common, "--agentx", ours_master.socket],
                                            stdout=self.log, stderr=subprocess.STDOUT, env=env)
        self.procs += [self.ours, self.ours_agentx]
        self.agents = {
            "theirs": (theirs.port, [theirs.proc.pid,
                                    *bench_lldpd.tree_pids(self.lldpd.proc.pid)]),
            "ours/agentx": (ours_master.port, [ours_master.proc.pid, self.ours_agentx.pid]),
            "ours": (self.port, [self.ours.pid]),
        }
        for name, (port, _) in self.agents.items():
            bench_lldpd.wait(lambda: walk(port, "1.0.8802.1.1.2.1.3.1") != [], 30)

    def send(self, k, name):
        self.senders[k % len(self.senders)].send(bench_lldpd.source_mac(k), frame(k, name))

    def close(self):
        for proc in self.procs:
            bench_soak.stop_process(proc)
        for s in getattr(self, "senders", []):
            s.close()
        self.lab.close()


def walk(port, oid, timeout=10):
    """[(numeric OID, value text)] of a bulk walk; [] when the agent does not answer."""
    out = subprocess.run(["snmpbulkwalk", "-v2c", "-c", "public", "-m", "", "-On", "-Oe",
                          "-Cr50", "-t", str(timeout), "-r", "0", f"127.0.0.1:{port}", oid],
                         capture_output=True, text=True)
    rows = []
    for line in out.stdout.splitlines():
        oid_text, sep, value = line.partition(" = ")
        if sep and not value.startswith(("No Such", "No more")):
            rows.append((oid_text.lstrip("."), value))
    return rows


def get(port, oid):
    out = subprocess.run(["snmpget", "-v2c", "-c", "public", "-m", "", "-On", "-Oe", "-t", "5",
                          "-r", "0", f"127.0.0.1:{port}", oid], capture_output=True, text=True)
    return out.stdout.partition(" = ")[2].strip() or out.stderr.strip()


def column_names():
    """{numeric OID of a column or scalar: (table or group name, object name)} from the MIBs."""
    env = dict(os.environ, MIBDIRS=os.path.join(REPO, "mibs"))
    out = subprocess.run(["snmptranslate", "-m", ":".join(MIBS), "-Tz"], capture_output=True,
                         text=True, env=env, check=True).stdout
    oids = {}
    for line in out.splitlines():
        name, oid = (part.strip('"') for part in line.split())
        oids[oid] = name
    names = {}
    for oid, name in oids.items():
        parent = oid.rsplit(".", 1)[0]
        grand = parent.rsplit(".", 1)[0]
        table = oids.get(grand, "") if oids.get(parent, "").endswith("Entry") else \
            oids.get(parent, "")
        names[oid] = (table, name)
    return names


def object_of(oid, names):
    while oid and oid not in names:
        oid = oid.rsplit(".", 1)[0] if "." in oid else ""
    return oid


def coverage(rows_by_agent, names):
    """{table: {agent: (columns, instances)}} and {table: [columns whose values disagree]}."""
    per_table = collections.defaultdict(dict)
    values = collections.defaultdict(lambda: collections.defaultdict(list))
    for agent, rows in rows_by_agent.items():
        columns = collections.defaultdict(int)
        for oid, value in rows:
            column = object_of(oid, names)
            if column:
                columns[column] += 1
                values[column][agent].append(value)
        tables = collections.defaultdict(lambda: [0, 0])
        for column, count in columns.items():
            table = names[column][0]
            tables[table][0] += 1
            tables[table][1] += count
        for table, (c, i) in tables.items():
            per_table[table][agent] = (c, i)
    disagree, examples = collections.defaultdict(list), []
    for column, by_agent in values.items():
        if "theirs" in by_agent and "ours" in by_agent and \
                sorted(by_agent["theirs"]) != sorted(by_agent["ours"]):
            disagree[names[column][0]].append(names[column][1])
            example = next((pair for pair in zip(sorted(by_agent["theirs"]),
                                                 sorted(by_agent["ours"])) if pair[0] != pair[1]),
                           (by_agent["theirs"][:1], by_agent["ours"][:1]))
            examples.append(f"{names[column][1]}: theirs {example[0]}, ours {example[1]}")
    return per_table, disagree, examples


def cpu(pids):
    return sum(bench_lldpd.cpu_seconds(p) for p in pids if os.path.exists(f"/proc/{p}"))


def run(args, n, names):
    agents = Agents(args)
    try:
        start = time.monotonic()
        for k in range(n):
            agents.send(k, f"n{k}")
            if k % 50 == 49:
                time.sleep(0.002)  # a veth drops what overflows its queue
        burst = {}

        def poll(name, port):
            try:
                burst[name] = bench_lldpd.wait(
                    lambda: len(walk(port, SYS_NAME_COLUMN)) >= n, args.timeout) - start
            except TimeoutError:
                burst[name] = None
        pollers = [threading.Thread(target=poll, args=(name, port))
                   for name, (port, _) in agents.agents.items()]
        for t in pollers:
            t.start()
        for t in pollers:
            t.join()
        time.sleep(2)  # lldpd's follow-up updates settle

        rows, walks, filters = {}, {}, {}
        for name, (port, pids) in agents.agents.items():
            c0, t0 = cpu(pids), time.monotonic()
            rows[name] = walk(port, LLDP_MIB, timeout=30)
            seconds, agent_cpu = time.monotonic() - t0, cpu(pids) - c0
            walks[name] = (len(rows[name]), seconds, agent_cpu)
            served = [oid for oid, _ in rows[name] if oid.startswith(SYS_NAME_COLUMN + ".")]
            if served:
                _, mark, port_num, index = served[-1].rsplit(".", 3)
                want = dict(rows[name])[served[-1]]
                answers = [get(port, f"{SYS_NAME_COLUMN}.{older}.{port_num}.{index}")
                           for older in (0, 1)]
                wrong = [a for a in answers if a != want]
                filters[name] = (mark, f"wrong: {wrong[0]}" if wrong else "right")
        if args.dump:
            os.makedirs(args.dump, exist_ok=True)
            for name, served in rows.items():
                with open(os.path.join(args.dump, f"{name.replace('/', '-')}-{n}.txt"), "w") as f:
                    f.writelines(f"{oid} = {value}\n" for oid, value in served)
        return burst, rows, walks, filters
    finally:
        agents.close()


def report(n, burst, rows, walks, filters, names):
    order = ["theirs", "ours/agentx", "ours"]
    print(f"\n=== {n} neighbours ===")
    print("burst: all answered over SNMP after " + ", ".join(
        f"{a} {'never' if burst[a] is None else f'{burst[a]:.2f} s'}" for a in order))
    per_table, disagree, examples = coverage({a: rows[a] for a in ("theirs", "ours")}, names)
    print(f"\n{'table or group':<36} {'theirs cols/inst':>17} {'ours cols/inst':>15}  values")
    totals = {a: [0, 0] for a in ("theirs", "ours")}
    for table in sorted(per_table):
        cells = []
        for a in ("theirs", "ours"):
            c, i = per_table[table].get(a, (0, 0))
            totals[a][0] += c
            totals[a][1] += i
            cells.append(f"{c}/{i}" if c else "-")
        both = all(a in per_table[table] for a in ("theirs", "ours"))
        verdict = ("differ: " + ",".join(sorted(disagree[table]))) if disagree.get(table) \
            else ("agree" if both else "")
        print(f"{table:<36} {cells[0]:>17} {cells[1]:>15}  {verdict}")
    print(f"{'total':<36} {'%d/%d' % tuple(totals['theirs']):>17} "
          f"{'%d/%d' % tuple(totals['ours']):>15}")
    print("\nvalues that differ, one example each:\n  " + "\n  ".join(examples))
    print("\ntime filter (GET of the last lldpRemSysName walked under time marks 0 and 1): " + ", ".join(
        f"{a} {filters[a][1]} (mark {filters[a][0]})"
        for a in order if a in filters))
    print(f"\n{'walk of the LLDP subtree':<24} {'varbinds':>9} {'seconds':>8} "
          f"{'agent CPU us/varbind':>21}")
    for a in order:
        count, seconds, agent_cpu = walks[a]
        print(f"{a:<24} {count:>9} {seconds:>8.2f} {1e6 * agent_cpu / max(count, 1):>21.1f}")
    base = walks["theirs"]
    for a in ("ours/agentx", "ours"):
        if base[0] and walks[a][0]:
            ratio = (walks[a][2] / walks[a][0]) / max(base[2] / base[0], 1e-9)
            print(f"  {a} CPU per varbind over theirs: {ratio:.2f}")


def main():
    parser = bench_lldpd.lab_arguments(__doc__)
    parser.add_argument("--dump", metavar="DIR", help="write each agent's walk into DIR")
    args = parser.parse_args()
    reason = lldp_lab.unavailable()
    if reason or not shutil.which("snmpd"):
        sys.exit(f"bench_versus: {reason or 'snmpd is not installed'}")
    names = column_names()
    for n in args.sizes:
        report(n, *run(args, n, names), names)


if __name__ == "__main__":
    main()
