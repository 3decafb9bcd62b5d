#!/usr/bin/env python3
"""Walk and GET throughput of lldp-snmpd, beside net-snmp's own static-table helper.

Measures, against a daemon started on a generated state file:

  local tables   4094 interfaces without neighbours; snmpbulkwalk of lldpPortConfigTable and
                 lldpLocPortTable.
  neighbours     for each size N, N neighbours spread over --ports interfaces (one management
                 address and one VLAN name each): time from start to the first answer from
                 lldpRemTable, resident memory per neighbour, snmpbulkwalk of lldpRemTable,
                 1000 GETs of random existing rows (lldpRemSysName), and how the walk's
                 per-varbind cost grows from the smallest N to the largest.
  man. addresses for each size, a bulk walk of lldpRemManAddrTable (two addresses per
                 neighbour) against the lldpRemTable walk, per varbind (goal: within 1.5x),
                 and single GETs of missing lldpRemSysName rows against existing ones
                 (goal: within 2x).
  reference      the same walk and GETs against bench-reference-agent serving N rows of the
                 same shape from net-snmp's table_tdata helper, and our cost over its cost.

Figures only: nothing is checked against a time limit. Every server binds 127.0.0.1 on a
free port, is stopped when its measurement ends (and when this script ends, however it
ends), and all files live in a temporary directory that is removed.
"""

import argparse
import ctypes
import json
import os
import platform
import random
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

REPO = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

LLDP = "1.0.8802.1.1.2"
PORT_CONFIG_TABLE = LLDP + ".1.1.6"
LOC_PORT_TABLE = LLDP + ".1.3.7"
REM_TABLE = LLDP + ".1.4.1"
REM_ENTRY = REM_TABLE + ".1"
REM_MAN_ADDR_TABLE = LLDP + ".1.4.2"
REM_SYS_NAME_COLUMN = 9
REM_COLUMNS = 9  # lldpRemChassisIdSubtype (4) .. lldpRemSysCapEnabled (12)
CONFIG_GROUP = LLDP + ".1.1"

COMMUNITY = "public"
MAX_REPETITIONS = 50
LOCAL_INTERFACES = 4094
DEFAULT_SIZES = (1000, 10000, 50000)
QUICK_SIZES = (1000, 5000)
GET_COUNT = 1000
GET_BATCH = 50
SEED = 8021

T0 = time.monotonic()


def progress(message):
    print("[%7.1fs] %s" % (time.monotonic() - T0, message), file=sys.stderr, flush=True)


class BenchError(Exception):
    pass


# --- a small SNMPv2c client, for readiness probes and single-PDU round trips ---------------

def ber_length(n):
    if n < 0x80:
        return bytes([n])
    raw = n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(raw)]) + raw


def ber(tag, payload):
    return bytes([tag]) + ber_length(len(payload)) + payload


def ber_int(value):
    return ber(0x02, value.to_bytes(max(1, (value.bit_length() + 8) // 8), "big", signed=True))


def ber_oid(text):
    parts = [int(p) for p in text.strip(".").split(".")]
    out = bytearray([parts[0] * 40 + parts[1]])
    for part in parts[2:]:
        chunk = [part & 0x7F]
        part >>= 7
        while part:
            chunk.append(0x80 | (part & 0x7F))
            part >>= 7
        out.extend(reversed(chunk))
    return ber(0x06, bytes(out))


def ber_read(data, pos):
    """Returns (tag, value bytes, next position)."""
    tag = data[pos]
    length = data[pos + 1]
    pos += 2
    if length & 0x80:
        count = length & 0x7F
        length = int.from_bytes(data[pos:pos + count], "big")
        pos += count
    return tag, data[pos:pos + length], pos + length


def oid_text(raw):
    first = raw[0]
    parts = [min(first // 40, 2), first - 40 * min(first // 40, 2)]
    value = 0
    for byte in raw[1:]:
        value = (value << 7) | (byte & 0x7F)
        if not byte & 0x80:
            parts.append(value)
            value = 0
    return ".".join(str(p) for p in parts)


GET, GETNEXT = 0xA0, 0xA1
NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW = 0x80, 0x81, 0x82


class SnmpClient:
    """One UDP socket to one agent; one request in flight at a time."""

    def __init__(self, port, timeout=2.0):
        self.sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.sock.connect(("127.0.0.1", port))
        self.timeout = timeout
        self.request_id = random.Random(port).randrange(1, 1 << 30)

    def close(self):
        self.sock.close()

    def request(self, pdu_type, oids, timeout=None):
        """Sends one PDU; returns [(oid, tag, value bytes)] or None when nothing came back."""
        self.request_id = self.request_id % 0x7FFFFFFF + 1
        varbinds = b"".join(ber(0x30, ber_oid(o) + b"\x05\x00") for o in oids)
        pdu = ber(pdu_type, ber_int(self.request_id) + ber_int(0) + ber_int(0) + ber(0x30, varbinds))
        message = ber(0x30, ber_int(1) + ber(0x04, COMMUNITY.encode()) + pdu)
        deadline = time.monotonic() + (self.timeout if timeout is None else timeout)
        try:
            self.sock.send(message)
        except ConnectionRefusedError:
            return None
        while True:
            left = deadline - time.monotonic()
            if left <= 0:
                return None
            self.sock.settimeout(left)
            try:
                data = self.sock.recv(65535)
            except (socket.timeout, ConnectionRefusedError):
                # Refused: nobody listens yet (an ICMP port unreachable came back).
                return None
            result = self._parse(data)
            if result is not None:
                return result

    def _parse(self, data):
        try:
            _, message, _ = ber_read(data, 0)
            _, _, pos = ber_read(message, 0)  # version
            _, _, pos = ber_read(message, pos)  # community
            _, pdu, _ = ber_read(message, pos)
            _, rid, pos = ber_read(pdu, 0)
            if int.from_bytes(rid, "big", signed=True) != self.request_id:
                return None  # a late answer to an earlier request
            _, status, pos = ber_read(pdu, pos)
            _, _, pos = ber_read(pdu, pos)
            if int.from_bytes(status, "big") != 0:
                raise BenchError("agent answered with error-status %d" % int.from_bytes(status, "big"))
            _, varbind_list, _ = ber_read(pdu, pos)
            out = []
            pos = 0
            while pos < len(varbind_list):
                _, varbind, pos = ber_read(varbind_list, pos)
                _, name, vpos = ber_read(varbind, 0)
                tag, value, _ = ber_read(varbind, vpos)
                out.append((oid_text(name), tag, value))
            return out
        except (IndexError, ValueError) as e:
            raise BenchError("cannot decode the agent's answer: %s" % e)


# --- processes ------------------------------------------------------------------------------

_libc = ctypes.CDLL(None, use_errno=True)
PR_SET_PDEATHSIG = 1


def _die_with_parent():
    # Runs in the child between fork and exec: it gets SIGTERM if this script dies first.
    _libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Server:
    """A server process started by this script; stop() is safe to call more than once."""

    def __init__(self, name, argv, log_path):
        self.name = name
        self.argv = argv
        self.log_path = log_path
        self.proc = None
        self.started = None

    def start(self):
        self.log = open(self.log_path, "wb")
        self.started = time.monotonic()
        try:
            self.proc = subprocess.Popen(self.argv, stdin=subprocess.DEVNULL, stdout=self.log,
                                         stderr=subprocess.STDOUT, preexec_fn=_die_with_parent)
        except OSError as e:
            self.log.close()
            raise BenchError("cannot start %s: %s" % (self.argv[0], e))
        return self

    @property
    def pid(self):
        return self.proc.pid

    def alive(self):
        return self.proc is not None and self.proc.poll() is None

    def log_tail(self, lines=20):
        try:
            with open(self.log_path, "rb") as f:
                text = f.read().decode(errors="replace")
        except OSError:
            return ""
        return "\n".join(text.splitlines()[-lines:])

    def stop(self, timeout=15.0):
        if self.proc is None:
            return None
        took = None
        if self.proc.poll() is None:
            begin = time.monotonic()
            self.proc.send_signal(signal.SIGTERM)
            try:
                self.proc.wait(timeout)
                took = time.monotonic() - begin
            except subprocess.TimeoutExpired:
                progress("%s did not stop within %.0f s of SIGTERM; killing it" % (self.name, timeout))
                self.proc.kill()
                self.proc.wait(5)
        self.log.close()
        return took

    def status_kb(self, field):
        with open("/proc/%d/status" % self.pid) as f:
            for line in f:
                if line.startswith(field + ":"):
                    return int(line.split()[1])
        raise BenchError("no %s in /proc/%d/status" % (field, self.pid))

    def cpu_ns(self):
        """CPU time of all the process's threads, in nanoseconds."""
        total = 0
        task_dir = "/proc/%d/task" % self.pid
        for tid in os.listdir(task_dir):
            try:
                with open("%s/%s/schedstat" % (task_dir, tid)) as f:
                    total += int(f.read().split()[0])
            except (OSError, ValueError, IndexError):
                pass
        return total


def wait_ready(server, client, probe_oid, expect_prefix, timeout):
    """Polls with GETNEXT until the answer lies under expect_prefix; returns seconds since start."""
    deadline = server.started + timeout
    next_report = time.monotonic() + 10
    while time.monotonic() < deadline:
        if not server.alive():
            raise BenchError("%s exited with status %s before answering; its log ends:\n%s"
                             % (server.name, server.proc.returncode, server.log_tail()))
        answer = client.request(GETNEXT, [probe_oid], timeout=0.02)
        now = time.monotonic()
        if answer and answer[0][0].startswith(expect_prefix + ".") and answer[0][1] not in (
                NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW):
            return now - server.started
        if now >= next_report:
            progress("  still waiting for %s to answer (%.0f s)" % (server.name, now - server.started))
            next_report = now + 10
        time.sleep(0.005)
    raise BenchError("%s did not answer under %s within %.0f s; its log ends:\n%s"
                     % (server.name, expect_prefix, timeout, server.log_tail()))


def settled_rss_kb(server, limit=5.0):
    """VmRSS once two readings 200 ms apart agree (or after `limit` seconds)."""
    deadline = time.monotonic() + limit
    last = server.status_kb("VmRSS")
    while time.monotonic() < deadline:
        time.sleep(0.2)
        now = server.status_kb("VmRSS")
        if now == last:
            break
        last = now
    return last


# --- measurements ---------------------------------------------------------------------------

def children_cpu_s():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def bulkwalk(server, port, table_oid, timeout, want_column=None):
    """One snmpbulkwalk; returns a dict of figures, and the OIDs of column want_column."""
    argv = ["snmpbulkwalk", "-v2c", "-c", COMMUNITY, "-On", "-Cr%d" % MAX_REPETITIONS,
            "-t", "10", "-r", "2", "127.0.0.1:%d" % port, table_oid]
    cpu0, client0 = server.cpu_ns(), children_cpu_s()
    begin = time.monotonic()
    try:
        run = subprocess.run(argv, stdin=subprocess.DEVNULL, capture_output=True, timeout=timeout)
    except subprocess.TimeoutExpired:
        raise BenchError("snmpbulkwalk of %s took longer than %.0f s" % (table_oid, timeout))
    seconds = time.monotonic() - begin
    server_s = (server.cpu_ns() - cpu0) / 1e9
    client_s = children_cpu_s() - client0
    if run.returncode != 0:
        raise BenchError("snmpbulkwalk of %s failed (%d): %s"
                         % (table_oid, run.returncode, run.stderr.decode(errors="replace")[-400:]))
    prefix = "." + table_oid + ".1."
    varbinds = 0
    columns = set()
    column_oids = []
    for line in run.stdout.decode(errors="replace").splitlines():
        if not line.startswith(prefix):
            continue  # the continuation of a multi-line value
        varbinds += 1
        oid = line.split(" ", 1)[0]
        column = int(oid[len(prefix):].split(".", 1)[0])
        columns.add(column)
        if column == want_column:
            column_oids.append(oid.lstrip("."))
    if varbinds == 0:
        raise BenchError("snmpbulkwalk of %s returned no rows" % table_oid)
    return {
        "varbinds": varbinds,
        "columns": len(columns),
        "seconds": seconds,
        "server_s": server_s,
        "client_s": client_s,
    }, column_oids


def empty_walk_s(server, port, timeout, repeat=5):
    """The fastest snmpbulkwalk of the (empty) lldpRemTable: what a walk costs before its first
    row, process start-up and the closing round trips included. Walks subtract it."""
    argv = ["snmpbulkwalk", "-v2c", "-c", COMMUNITY, "-On", "-Cr%d" % MAX_REPETITIONS,
            "-t", "10", "-r", "2", "127.0.0.1:%d" % port, REM_TABLE]
    best = None
    for _ in range(repeat):
        begin = time.monotonic()
        try:
            subprocess.run(argv, stdin=subprocess.DEVNULL, capture_output=True, timeout=timeout)
        except subprocess.TimeoutExpired:
            raise BenchError("snmpbulkwalk of the empty %s took longer than %.0f s" % (REM_TABLE, timeout))
        seconds = time.monotonic() - begin
        best = seconds if best is None else min(best, seconds)
    return best


def best_walk(server, port, table_oid, repeat, timeout, want_column=None, fixed_s=0.0):
    """Walks `repeat` times; keeps the least disturbed figures: the fastest wall time, and apart
    from it the least agent and walker CPU."""
    best, oids = None, None
    least_server_s = least_client_s = None
    for i in range(repeat):
        figures, column_oids = bulkwalk(server, port, table_oid, timeout, want_column)
        progress("  walk %d/%d of %s: %d varbinds in %.3f s (agent CPU %.3f s)"
                 % (i + 1, repeat, table_oid, figures["varbinds"], figures["seconds"],
                    figures["server_s"]))
        if best is None or figures["seconds"] < best["seconds"]:
            best = figures
        if least_server_s is None or figures["server_s"] < least_server_s:
            least_server_s = figures["server_s"]
        if least_client_s is None or figures["client_s"] < least_client_s:
            least_client_s = figures["client_s"]
        if oids is None:
            oids = column_oids
    best = dict(best, server_s=least_server_s, client_s=least_client_s)
    n = best["varbinds"]
    best["vb_per_s"] = n / best["seconds"]
    best["us_per_vb"] = best["seconds"] / n * 1e6
    best["agent_us_per_vb"] = best["server_s"] / n * 1e6
    best["client_us_per_vb"] = best["client_s"] / n * 1e6
    best["fixed_s"] = fixed_s
    best["net_us_per_vb"] = max(0.0, best["seconds"] - fixed_s) / n * 1e6
    return best, oids


def least_of(runs):
    """Each figure's least value over repeated runs: the least disturbed estimate of each."""
    return {key: min(run[key] for run in runs) for key in runs[0]}


def gets_batched(server, port, oids, timeout):
    """The OIDs in groups of GET_BATCH, one snmpget process (and one PDU) per group."""
    cpu0, client0 = server.cpu_ns(), children_cpu_s()
    begin = time.monotonic()
    processes = 0
    for i in range(0, len(oids), GET_BATCH):
        group = oids[i:i + GET_BATCH]
        argv = ["snmpget", "-v2c", "-c", COMMUNITY, "-On", "-t", "10", "-r", "2",
                "127.0.0.1:%d" % port] + group
        try:
            run = subprocess.run(argv, stdin=subprocess.DEVNULL, capture_output=True, timeout=timeout)
        except subprocess.TimeoutExpired:
            raise BenchError("snmpget of %d OIDs took longer than %.0f s" % (len(group), timeout))
        processes += 1
        out = run.stdout.decode(errors="replace")
        if run.returncode != 0 or "No Such" in out:
            raise BenchError("snmpget of existing rows failed: %s%s"
                             % (out[-300:], run.stderr.decode(errors="replace")[-300:]))
    seconds = time.monotonic() - begin
    return {
        "gets": len(oids),
        "processes": processes,
        "seconds": seconds,
        "us_per_get": seconds / len(oids) * 1e6,
        "agent_us_per_get": (server.cpu_ns() - cpu0) / 1e3 / len(oids),
        "client_us_per_get": (children_cpu_s() - client0) * 1e6 / len(oids),
    }


def gets_single(server, client, oids, expect_type=0x04):
    """One single-varbind GET PDU per OID, each waiting for its answer (of expect_type: an
    OCTET STRING, or 0x81 noSuchInstance for missing rows)."""
    cpu0 = server.cpu_ns()
    begin = time.monotonic()
    round_trips = []
    for oid in oids:
        sent = time.monotonic()
        answer = client.request(GET, [oid], timeout=5.0)
        round_trips.append(time.monotonic() - sent)
        if answer is None:
            raise BenchError("no answer to GET %s within 5 s" % oid)
        if answer[0][1] != expect_type:
            raise BenchError("GET %s answered with type 0x%02x, not 0x%02x" % (oid, answer[0][1], expect_type))
    seconds = time.monotonic() - begin
    return {
        "gets": len(oids),
        "seconds": seconds,
        "us_per_get": seconds / len(oids) * 1e6,
        "median_us": sorted(round_trips)[len(round_trips) // 2] * 1e6,
        "agent_us_per_get": (server.cpu_ns() - cpu0) / 1e3 / len(oids),
    }


# --- state files ----------------------------------------------------------------------------

def local_system():
    return {
        "chassisIdSubtype": "macAddress",
        "chassisId": "02:00:00:00:00:99",
        "sysName": "leaf1",
        "sysDesc": "lldp-snmp benchmark switch",
        "sysCapSupported": ["bridge", "router"],
        "sysCapEnabled": ["bridge"],
        "managementAddresses": [{"subtype": "ipV4", "address": "192.0.2.1", "ifSubtype": "ifIndex",
                                 "ifId": 1, "oid": "0.0", "priority": 1}],
    }


def interface(port):
    name = "Ethernet%d" % port
    return {
        "name": name,
        "portNum": port,
        "config": {"adminStatus": "txAndRx", "notificationEnable": False,
                   "tlvsTxEnable": ["portDesc", "sysName", "sysDesc", "sysCap"],
                   "dot3TlvsTxEnable": [], "portVlanTxEnable": True, "manAddrTxEnable": True},
        "local": {"portIdSubtype": "interfaceName", "portId": name, "portDesc": "port %d" % port,
                  "portVlanId": 1, "linkAggStatus": [], "linkAggPortId": 0, "maxFrameSize": 9236},
        "neighbors": [],
    }


def neighbour(k, ports):
    """Neighbour k (0-based): the values bench-reference-agent serves for its row k."""
    port = k % ports + 1
    index = k // ports + 1
    return port, {
        "index": index,
        "chassisIdSubtype": "macAddress",
        "chassisId": "02:00:%02x:%02x:%02x:%02x" % (k >> 24 & 0xFF, k >> 16 & 0xFF, k >> 8 & 0xFF, k & 0xFF),
        "portIdSubtype": "interfaceName",
        "portId": "Ethernet%d/1" % index,
        "portDesc": "uplink to leaf1 Ethernet%d" % port,
        "sysName": "nbr%06d" % k,
        "sysDesc": "bench neighbour system",
        "sysCapSupported": ["bridge", "router"],
        "sysCapEnabled": ["bridge"],
        "managementAddresses": [{"subtype": "ipV4",
                                 "address": "10.%d.%d.%d" % (k >> 16 & 0xFF, k >> 8 & 0xFF, k & 0xFF),
                                 "ifSubtype": "ifIndex", "ifId": index, "oid": "0.0"},
                                {"subtype": "ipV6", "address": "2001:db8::%x:%x" % (k >> 16, k & 0xFFFF),
                                 "ifSubtype": "ifIndex", "ifId": index}],
        "dot1": {"vlanNames": [{"id": 10 + k % 1000, "name": "vlan%d" % (10 + k % 1000)}]},
    }


def write_state(path, interfaces, neighbours):
    intfs = [interface(p) for p in range(1, interfaces + 1)]
    for k in range(neighbours):
        port, nbr = neighbour(k, interfaces)
        intfs[port - 1]["neighbors"].append(nbr)
    state = {
        "config": {"messageTxInterval": 30, "messageTxHoldMultiplier": 4, "reinitDelay": 2, "txDelay": 2},
        "localSystem": local_system(),
        "interfaces": intfs,
    }
    with open(path, "w") as f:
        json.dump(state, f, separators=(",", ":"))
    return os.path.getsize(path)


# --- the runs -------------------------------------------------------------------------------

class Bench:
    def __init__(self, args, workdir):
        self.args = args
        self.workdir = workdir
        self.servers = []

    def start_daemon(self, label, state_path):
        port = free_udp_port()
        argv = [self.args.daemon, "--listen", "udp:127.0.0.1:%d" % port, "--state", state_path]
        server = Server("lldp-snmpd (%s)" % label, argv, os.path.join(self.workdir, "daemon-%s.log" % label))
        self.servers.append(server)
        return server.start(), port

    def start_reference(self, rows):
        port = free_udp_port()
        argv = [self.args.reference, "--listen", "udp:127.0.0.1:%d" % port, "--rows", str(rows),
                "--ports", str(self.args.ports), "--lifetime", str(int(self.args.server_lifetime))]
        server = Server("bench-reference-agent (%d rows)" % rows, argv,
                        os.path.join(self.workdir, "reference-%d.log" % rows))
        self.servers.append(server)
        return server.start(), port

    def stop_all(self):
        for server in self.servers:
            try:
                server.stop()
            except Exception as e:  # keep stopping the others
                progress("stopping %s: %s" % (server.name, e))

    def stop(self, server):
        took = server.stop()
        if took is not None:
            progress("  %s stopped in %.2f s" % (server.name, took))

    def random_oids(self, column_oids, rng):
        if not column_oids:
            raise BenchError("the walk returned no lldpRemSysName rows to GET")
        return [rng.choice(column_oids) for _ in range(GET_COUNT)]

    # a. local tables
    def local_tables(self):
        path = os.path.join(self.workdir, "local.json")
        size = write_state(path, LOCAL_INTERFACES, 0)
        progress("local tables: %d interfaces, state file %.1f MB" % (LOCAL_INTERFACES, size / 1e6))
        server, port = self.start_daemon("local", path)
        client = SnmpClient(port)
        try:
            ready = wait_ready(server, client, LOC_PORT_TABLE, LOC_PORT_TABLE, self.args.start_timeout)
            progress("  lldp-snmpd answers after %.2f s" % ready)
            fixed = empty_walk_s(server, port, self.args.walk_timeout)
            progress("  an empty walk takes %.1f ms" % (fixed * 1e3))
            results = {"ready_s": ready, "fixed_s": fixed}
            for name, oid in (("lldpPortConfigTable", PORT_CONFIG_TABLE), ("lldpLocPortTable", LOC_PORT_TABLE)):
                results[name], _ = best_walk(server, port, oid, self.args.repeat, self.args.walk_timeout,
                                             fixed_s=fixed)
            return results
        finally:
            client.close()
            self.stop(server)

    # the daemon with interfaces and no neighbours: the memory baseline
    def daemon_baseline(self):
        path = os.path.join(self.workdir, "baseline.json")
        write_state(path, self.args.ports, 0)
        server, port = self.start_daemon("baseline", path)
        client = SnmpClient(port)
        try:
            ready = wait_ready(server, client, CONFIG_GROUP, CONFIG_GROUP, self.args.start_timeout)
            rss = settled_rss_kb(server)
            hwm = server.status_kb("VmHWM")
            fixed = empty_walk_s(server, port, self.args.walk_timeout)
            progress("baseline: lldp-snmpd with %d interfaces and no neighbours answers after %.2f s, "
                     "VmRSS %d kB; an empty walk takes %.1f ms" % (self.args.ports, ready, rss, fixed * 1e3))
            return {"ready_s": ready, "rss_kb": rss, "hwm_kb": hwm, "fixed_s": fixed}
        finally:
            client.close()
            self.stop(server)

    def reference_baseline(self):
        server, port = self.start_reference(0)
        client = SnmpClient(port)
        try:
            # Nothing in the table: wait for any answer at all (sysUpTime's subtree is not served,
            # so the GETNEXT ends in the view's end; the reference agent answers it all the same).
            deadline = server.started + self.args.start_timeout
            while time.monotonic() < deadline:
                if not server.alive():
                    raise BenchError("%s exited early:\n%s" % (server.name, server.log_tail()))
                if client.request(GETNEXT, [REM_TABLE], timeout=0.02) is not None:
                    break
                time.sleep(0.005)
            else:
                raise BenchError("%s did not answer" % server.name)
            rss = settled_rss_kb(server)
            hwm = server.status_kb("VmHWM")
            fixed = empty_walk_s(server, port, self.args.walk_timeout)
            progress("baseline: bench-reference-agent with no rows, VmRSS %d kB; an empty walk takes %.1f ms"
                     % (rss, fixed * 1e3))
            return {"rss_kb": rss, "hwm_kb": hwm, "fixed_s": fixed}
        finally:
            client.close()
            self.stop(server)

    # b./c. one size, one agent
    def measure_rem(self, server, port, n, baseline, rng_seed, ours=False):
        client = SnmpClient(port)
        try:
            ready = wait_ready(server, client, REM_TABLE, REM_TABLE, self.args.start_timeout)
            rss = settled_rss_kb(server)
            hwm = server.status_kb("VmHWM")
            progress("  answers after %.2f s, VmRSS %d kB (peak %d kB)" % (ready, rss, hwm))
            walk, sys_names = best_walk(server, port, REM_TABLE, self.args.repeat, self.args.walk_timeout,
                                        want_column=REM_SYS_NAME_COLUMN, fixed_s=baseline["fixed_s"])
            if walk["varbinds"] != REM_COLUMNS * n:
                progress("  note: the walk returned %d varbinds, %d rows x %d columns expected"
                         % (walk["varbinds"], n, REM_COLUMNS))
            if len(sys_names) != n:
                progress("  note: the walk returned %d lldpRemSysName rows, %d expected" % (len(sys_names), n))
            oids = self.random_oids(sys_names, random.Random(rng_seed))
            batched = least_of([gets_batched(server, port, oids, self.args.walk_timeout)
                                for _ in range(self.args.repeat)])
            progress("  %d GETs, %d snmpget processes of %d OIDs: %.3f s (least of %d)"
                     % (batched["gets"], batched["processes"], GET_BATCH, batched["seconds"], self.args.repeat))
            single = least_of([gets_single(server, client, oids) for _ in range(self.args.repeat)])
            progress("  %d GETs, one PDU each: %.3f s (least of %d)"
                     % (single["gets"], single["seconds"], self.args.repeat))
            extra = {}
            if ours:
                extra["man_addr_walk"], _ = best_walk(server, port, REM_MAN_ADDR_TABLE, self.args.repeat,
                                                      self.args.walk_timeout, fixed_s=baseline["fixed_s"])
                # The same rows one neighbour index further on each port: none of them exists.
                missing = ["%s.%d" % (o.rsplit(".", 1)[0], int(o.rsplit(".", 1)[1]) + 1000000) for o in oids]
                extra["get_missing"] = least_of([gets_single(server, client, missing, expect_type=0x81)
                                                 for _ in range(self.args.repeat)])
                progress("  %d GETs of missing rows, one PDU each: %.3f s (least of %d)"
                         % (len(missing), extra["get_missing"]["seconds"], self.args.repeat))
            return dict(extra, **{
                "n": n,
                "ready_s": ready,
                "rss_kb": rss,
                "hwm_kb": hwm,
                "bytes_per_row": (rss - baseline["rss_kb"]) * 1024 / n if n else 0.0,
                "peak_bytes_per_row": (hwm - baseline["hwm_kb"]) * 1024 / n if n else 0.0,
                "walk": walk,
                "get_batched": batched,
                "get_single": single,
            })
        finally:
            client.close()

    def neighbours(self, n):
        path = os.path.join(self.workdir, "neighbours-%d.json" % n)
        begin = time.monotonic()
        size = write_state(path, self.args.ports, n)
        progress("neighbours N=%d: state file %.1f MB written in %.1f s"
                 % (n, size / 1e6, time.monotonic() - begin))
        server, port = self.start_daemon("n%d" % n, path)
        try:
            return self.measure_rem(server, port, n, self.daemon_base, SEED + n, ours=True)
        finally:
            self.stop(server)
            os.unlink(path)

    def reference(self, n):
        progress("reference N=%d: bench-reference-agent" % n)
        server, port = self.start_reference(n)
        try:
            return self.measure_rem(server, port, n, self.reference_base, SEED + n)
        finally:
            self.stop(server)

    def run(self):
        results = {"machine": machine_info(self.args)}
        if not self.args.skip_local:
            results["local"] = self.local_tables()
        self.daemon_base = self.daemon_baseline()
        results["daemon_base"] = self.daemon_base
        if not self.args.skip_reference:
            self.reference_base = self.reference_baseline()
            results["reference_base"] = self.reference_base
        results["sizes"] = []
        for n in self.args.sizes:
            entry = {"n": n, "ours": self.neighbours(n)}
            if not self.args.skip_reference:
                entry["reference"] = self.reference(n)
            results["sizes"].append(entry)
        results["load_end"] = "%.2f %.2f %.2f" % os.getloadavg()
        return results


# --- machine and report ---------------------------------------------------------------------

def machine_info(args):
    cpu = "unknown"
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    cpu = line.split(":", 1)[1].strip()
                    break
    except OSError:
        pass
    mem = "unknown"
    try:
        with open("/proc/meminfo") as f:
            for line in f:
                if line.startswith("MemTotal:"):
                    mem = "%.1f GiB" % (int(line.split()[1]) / 1024 / 1024)
                    break
    except OSError:
        pass
    try:
        version = subprocess.run(["snmpget", "--version"], capture_output=True, timeout=10)
        netsnmp = (version.stdout + version.stderr).decode(errors="replace").strip().split(":")[-1].strip()
    except (OSError, subprocess.TimeoutExpired):
        netsnmp = "unknown"
    usable = len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count()
    return {
        "cpu": cpu,
        "cores": "%s online, %d usable" % (os.cpu_count(), usable),
        "memory": mem,
        "kernel": "%s %s" % (platform.system(), platform.release()),
        "netsnmp": netsnmp,
        "python": platform.python_version(),
        "load": "%.2f %.2f %.2f" % os.getloadavg(),
        "daemon": args.daemon,
        "reference": args.reference,
    }


def fmt(value, pattern):
    return "-" if value is None else format(value, pattern)


def ratio(a, b):
    return None if a is None or b is None or b == 0 else a / b


def print_table(headers, rows):
    widths = [max(len(str(h)), *(len(str(r[i])) for r in rows)) for i, h in enumerate(headers)]
    line = "  ".join(("%-*s" if i == 0 else "%*s") % (w, h) for i, (w, h) in enumerate(zip(widths, headers)))
    print(line)
    print("  ".join("-" * w for w in widths))
    for r in rows:
        print("  ".join(("%-*s" if i == 0 else "%*s") % (w, v) for i, (w, v) in enumerate(zip(widths, r))))
    print()


def agent_label(who, n):
    return "%s N=%d" % ("lldp-snmpd" if who == "ours" else "reference", n)


def report(results, args):
    m = results["machine"]
    print()
    print("lldp-snmp walk benchmark")
    print("=" * 24)
    for key, label in (("cpu", "CPU"), ("cores", "cores"), ("memory", "memory"), ("kernel", "kernel"),
                       ("netsnmp", "net-snmp"), ("python", "python"), ("daemon", "daemon"),
                       ("reference", "reference")):
        print("%-10s %s" % (label, m[key]))
    print("load       %s at the start, %s at the end (1, 5, 15 min; other work skews the figures)"
          % (m["load"], results["load_end"]))
    print("walks      snmpbulkwalk -v2c -c public -On -Cr%d; of %d walks, the least wall time and,"
          % (MAX_REPETITIONS, args.repeat))
    print("           apart from it, the least CPU")
    print("columns    us/vb: wall / varbinds; net us/vb: (wall - an empty walk) / varbinds;")
    print("           agent us/vb: the agent's CPU (/proc/PID/task/*/schedstat) / varbinds;")
    print("           walker us/vb: snmpbulkwalk's CPU / varbinds")
    print()

    if "local" in results:
        local = results["local"]
        print("Local tables: %d interfaces, no neighbours (lldp-snmpd answers after %.2f s, "
              "an empty walk takes %.1f ms)" % (LOCAL_INTERFACES, local["ready_s"], local["fixed_s"] * 1e3))
        rows = []
        for name in ("lldpPortConfigTable", "lldpLocPortTable"):
            w = local[name]
            rows.append([name, w["varbinds"], w["columns"], fmt(w["seconds"], ".3f"), fmt(w["vb_per_s"], ",.0f"),
                         fmt(w["us_per_vb"], ".2f"), fmt(w["net_us_per_vb"], ".2f"),
                         fmt(w["agent_us_per_vb"], ".2f"), fmt(w["client_us_per_vb"], ".2f")])
        print_table(["table", "varbinds", "cols", "walk s", "varbinds/s", "us/vb", "net us/vb", "agent us/vb",
                     "walker us/vb"], rows)

    base = results["daemon_base"]
    print("Neighbours: %d interfaces; each neighbour has 1 management address and 1 VLAN name" % args.ports)
    print("lldp-snmpd without neighbours: answers after %.2f s, VmRSS %d kB, an empty walk takes %.1f ms"
          % (base["ready_s"], base["rss_kb"], base["fixed_s"] * 1e3))
    if "reference_base" in results:
        ref = results["reference_base"]
        print("bench-reference-agent without rows: VmRSS %d kB, an empty walk takes %.1f ms"
              % (ref["rss_kb"], ref["fixed_s"] * 1e3))
    print()

    rows = []
    for entry in results["sizes"]:
        for who in ("ours", "reference"):
            r = entry.get(who)
            if r is None:
                continue
            w = r["walk"]
            rows.append([agent_label(who, entry["n"]), fmt(r["ready_s"], ".2f"), fmt(r["bytes_per_row"], ",.0f"),
                         fmt(r["peak_bytes_per_row"], ",.0f"), w["varbinds"], fmt(w["seconds"], ".3f"),
                         fmt(w["vb_per_s"], ",.0f"), fmt(w["us_per_vb"], ".2f"), fmt(w["net_us_per_vb"], ".2f"),
                         fmt(w["agent_us_per_vb"], ".2f")])
    print("lldpRemTable: start-up, memory (B/row: VmRSS over the empty agent's, per row), walk")
    print_table(["agent", "first answer s", "B/row", "peak B/row", "varbinds", "walk s", "varbinds/s",
                 "us/vb", "net us/vb", "agent us/vb"], rows)

    rows = []
    for entry in results["sizes"]:
        for who in ("ours", "reference"):
            r = entry.get(who)
            if r is None:
                continue
            b, s = r["get_batched"], r["get_single"]
            rows.append([agent_label(who, entry["n"]),
                         fmt(b["us_per_get"], ".1f"), fmt(b["agent_us_per_get"], ".1f"),
                         fmt(s["us_per_get"], ".1f"), fmt(s["median_us"], ".1f"),
                         fmt(s["agent_us_per_get"], ".1f")])
    print("lldpRemTable: %d GETs of random existing rows (lldpRemSysName)" % GET_COUNT)
    print("  batched: %d snmpget processes, %d OIDs in one PDU each; us/GET = wall / %d, so each GET"
          % (GET_COUNT // GET_BATCH, GET_BATCH, GET_COUNT))
    print("           carries 1/%d of a process start-up and of one PDU round trip" % GET_BATCH)
    print("  single:  one PDU per GET from this script's own UDP client; mean and median of the full")
    print("           round trip (encode, loopback, agent, decode); agent us/GET: the agent's CPU alone")
    print_table(["agent", "batched us/GET", "agent us/GET", "single mean us", "median us", "agent us/GET"], rows)

    sizes = results["sizes"]
    first, last = sizes[0], sizes[-1]
    print("Ratios (wall: net us/vb for walks, median round trip for single GETs)")
    rows = []
    if len(sizes) > 1:
        for who in ("ours", "reference"):
            if who not in first:
                continue
            a, b = first[who]["walk"], last[who]["walk"]
            rows.append(["%s walk us/vb, N=%d over N=%d" % ("lldp-snmpd" if who == "ours" else "reference",
                                                             last["n"], first["n"]),
                         fmt(ratio(b["net_us_per_vb"], a["net_us_per_vb"]), ".2f"),
                         fmt(ratio(b["agent_us_per_vb"], a["agent_us_per_vb"]), ".2f")])
    for entry in sizes:
        ours = entry["ours"]
        if "man_addr_walk" in ours:
            m, w = ours["man_addr_walk"], ours["walk"]
            rows.append(["lldpRemManAddrTable / lldpRemTable walk us/vb, N=%d (goal 1.5)" % entry["n"],
                         fmt(ratio(m["net_us_per_vb"], w["net_us_per_vb"]), ".2f"),
                         fmt(ratio(m["agent_us_per_vb"], w["agent_us_per_vb"]), ".2f")])
            miss, hit = ours["get_missing"], ours["get_single"]
            rows.append(["GET missing / existing row, N=%d (goal 2)" % entry["n"],
                         fmt(ratio(miss["median_us"], hit["median_us"]), ".2f"),
                         fmt(ratio(miss["agent_us_per_get"], hit["agent_us_per_get"]), ".2f")])
    compared = [e for e in sizes if "reference" in e]
    for entry in compared:
        o, r = entry["ours"]["walk"], entry["reference"]["walk"]
        rows.append(["ours / reference, walk us/vb, N=%d" % entry["n"],
                     fmt(ratio(o["net_us_per_vb"], r["net_us_per_vb"]), ".2f"),
                     fmt(ratio(o["agent_us_per_vb"], r["agent_us_per_vb"]), ".2f")])
    for entry in compared:
        o, r = entry["ours"]["get_batched"], entry["reference"]["get_batched"]
        rows.append(["ours / reference, batched GET, N=%d" % entry["n"],
                     fmt(ratio(o["us_per_get"], r["us_per_get"]), ".2f"),
                     fmt(ratio(o["agent_us_per_get"], r["agent_us_per_get"]), ".2f")])
    for entry in compared:
        o, r = entry["ours"]["get_single"], entry["reference"]["get_single"]
        rows.append(["ours / reference, single GET, N=%d" % entry["n"],
                     fmt(ratio(o["median_us"], r["median_us"]), ".2f"),
                     fmt(ratio(o["agent_us_per_get"], r["agent_us_per_get"]), ".2f")])
    for entry in compared:
        o, r = entry["ours"], entry["reference"]
        rows.append(["ours / reference, bytes per row, N=%d" % entry["n"],
                     fmt(ratio(o["bytes_per_row"], r["bytes_per_row"]), ".2f"), "-"])
        rows.append(["ours / reference, first answer, N=%d" % entry["n"],
                     fmt(ratio(o["ready_s"], r["ready_s"]), ".2f"), "-"])
    if rows:
        print_table(["ratio", "wall", "agent CPU"], rows)
    print("A walk ratio near 1 from the smallest N to the largest means each step of the walk finds")
    print("its row by a search (tree or binary); a ratio growing with N means each step scans.")


# --- main -----------------------------------------------------------------------------------

def default_daemon():
    return os.environ.get("LLDP_SNMPD") or os.path.join(REPO, "build", "lldp-snmpd")


def default_reference():
    for candidate in (os.path.join(REPO, "build", "bench-reference-agent"),
                      os.path.join(REPO, "build", "bench", "bench-reference-agent")):
        if os.path.exists(candidate):
            return candidate
    return os.path.join(REPO, "build", "bench-reference-agent")


def parse_sizes(text):
    try:
        sizes = [int(s) for s in text.split(",") if s.strip()]
    except ValueError:
        raise argparse.ArgumentTypeError("expected comma-separated numbers, such as 1000,10000")
    if not sizes or any(s < 1 for s in sizes):
        raise argparse.ArgumentTypeError("sizes are positive numbers")
    return sizes


def main():
    parser = argparse.ArgumentParser(
        description="Walk and GET throughput of lldp-snmpd's LLDP-MIB tables, beside a net-snmp "
                    "table_tdata agent serving the same rows. Prints figures and ratios; asserts no "
                    "time limits. Progress goes to stderr, the report to stdout.")
    parser.add_argument("--daemon", default=default_daemon(),
                        help="lldp-snmpd to measure (default: $LLDP_SNMPD or build/lldp-snmpd)")
    parser.add_argument("--reference", default=default_reference(),
                        help="bench-reference-agent (default: build/bench-reference-agent)")
    parser.add_argument("--sizes", type=parse_sizes, default=list(DEFAULT_SIZES),
                        help="neighbour counts, comma-separated (default: %s)"
                             % ",".join(map(str, DEFAULT_SIZES)))
    parser.add_argument("--quick", action="store_true",
                        help="sizes %s only, one walk per measurement" % ",".join(map(str, QUICK_SIZES)))
    parser.add_argument("--ports", type=int, default=1000,
                        help="interfaces the neighbours are spread over (default 1000, at most 4094)")
    parser.add_argument("--repeat", type=int, default=3, help="walks per measurement, the fastest kept (default 3)")
    parser.add_argument("--skip-local", action="store_true", help="leave out the local tables")
    parser.add_argument("--skip-reference", action="store_true", help="leave out the reference agent")
    parser.add_argument("--start-timeout", type=float, default=300,
                        help="seconds a server may take to answer after it starts (default 300)")
    parser.add_argument("--walk-timeout", type=float, default=600,
                        help="seconds one snmpbulkwalk or snmpget may take (default 600)")
    parser.add_argument("--json", metavar="FILE", help="also write every figure to FILE as JSON")
    args = parser.parse_args()

    if args.quick:
        args.sizes = list(QUICK_SIZES)
        args.repeat = 1
    if not 1 <= args.ports <= 4094:
        parser.error("--ports: 1 to 4094")
    if args.repeat < 1:
        parser.error("--repeat: at least 1")
    args.sizes = sorted(set(args.sizes))
    # A server outlives no run: it stops by itself even if nobody stops it.
    args.server_lifetime = args.start_timeout + 4 * args.walk_timeout + 600

    for tool in ("snmpbulkwalk", "snmpget"):
        if not shutil.which(tool):
            sys.exit("bench_walk: %s not found (install the net-snmp command-line tools)" % tool)
    if not os.access(args.daemon, os.X_OK):
        sys.exit("bench_walk: no lldp-snmpd at %s (build it: scripts/build.sh --bench, or pass --daemon)"
                 % args.daemon)
    if not args.skip_reference and not os.access(args.reference, os.X_OK):
        sys.exit("bench_walk: no bench-reference-agent at %s (build it: scripts/build.sh --bench, "
                 "or pass --reference, or --skip-reference)" % args.reference)

    # SIGTERM ends the run like Ctrl-C: the finally blocks stop the servers.
    def on_term(signum, frame):
        raise KeyboardInterrupt

    signal.signal(signal.SIGTERM, on_term)

    progress("sizes %s, %d interfaces, %d walk(s) per measurement" % (args.sizes, args.ports, args.repeat))
    workdir = tempfile.mkdtemp(prefix="lldp-bench-")
    bench = Bench(args, workdir)
    try:
        results = bench.run()
    except BenchError as e:
        progress("stopped: %s" % e)
        return 1
    except KeyboardInterrupt:
        progress("interrupted")
        return 130
    finally:
        bench.stop_all()
        shutil.rmtree(workdir, ignore_errors=True)
    progress("done")
    report(results, args)
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=2)
    return 0


if __name__ == "__main__":
    sys.exit(main())
