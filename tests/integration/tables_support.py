"""Helpers shared by the table and notification tests.

Two halves:

* Talking to the daemon with net-snmp's own command-line tools and reading their output back
  into (OID, type, value) triples, with every octet string as bytes (-Ox) and every OID numeric
  (-On), so that a test compares exact encodings.
* Turning a state document (the dict a test writes as the state file) into the rows and values
  the LLDP MIBs should show for it. These follow the MIB definitions (index encodings, BITS
  numbering, PortList, TruthValue), not the daemon's code.
"""

import ipaddress
import os
import re
import shutil
import subprocess
import time

LLDP = (1, 0, 8802, 1, 1, 2)
LLDP_OBJECTS = LLDP + (1,)
DOT1 = LLDP_OBJECTS + (5, 32962)
DOT3 = LLDP_OBJECTS + (5, 4623)

# LLDP-MIB tables (the table OIDs).
PORT_CONFIG = LLDP_OBJECTS + (1, 6)
CONFIG_MAN_ADDR = LLDP_OBJECTS + (1, 7)
STATS_TX_PORT = LLDP_OBJECTS + (2, 6)
STATS_RX_PORT = LLDP_OBJECTS + (2, 7)
LOC_PORT = LLDP_OBJECTS + (3, 7)
LOC_MAN_ADDR = LLDP_OBJECTS + (3, 8)
REM = LLDP_OBJECTS + (4, 1)
REM_MAN_ADDR = LLDP_OBJECTS + (4, 2)
REM_UNKNOWN_TLV = LLDP_OBJECTS + (4, 3)
REM_ORG_DEF_INFO = LLDP_OBJECTS + (4, 4)

# LLDP-MIB scalars used by the tests.
REM_TABLES_LAST_CHANGE = LLDP_OBJECTS + (2, 1, 0)
REM_TABLES_INSERTS = LLDP_OBJECTS + (2, 2, 0)
REM_TABLES_DELETES = LLDP_OBJECTS + (2, 3, 0)
REM_TABLES_DROPS = LLDP_OBJECTS + (2, 4, 0)
REM_TABLES_AGEOUTS = LLDP_OBJECTS + (2, 5, 0)
REM_TABLES_CHANGE = LLDP + (0, 0, 1)

# LLDP-EXT-DOT1-MIB tables.
X1_CONFIG_PORT_VLAN = DOT1 + (1, 1, 1)
X1_LOC = DOT1 + (1, 2, 1)
X1_REM = DOT1 + (1, 3, 1)
X1_REM_PROTO_VLAN = DOT1 + (1, 3, 2)
X1_REM_VLAN_NAME = DOT1 + (1, 3, 3)
X1_REM_PROTOCOL = DOT1 + (1, 3, 4)

# LLDP-EXT-DOT3-MIB tables.
X3_PORT_CONFIG = DOT3 + (1, 1, 1)
X3_LOC_LINK_AGG = DOT3 + (1, 2, 3)
X3_LOC_MAX_FRAME = DOT3 + (1, 2, 4)
X3_REM_PORT = DOT3 + (1, 3, 1)
X3_REM_POWER = DOT3 + (1, 3, 2)
X3_REM_LINK_AGG = DOT3 + (1, 3, 3)
X3_REM_MAX_FRAME = DOT3 + (1, 3, 4)

# Octet strings come back as exact bytes, OIDs as numbers, enumerations as numbers.
OUTPUT_FLAGS = ["-On", "-Oe", "-Ox", "-OU"]
UINT32_MAX = 4294967295


def dotted(oid):
    return ".".join(str(part) for part in oid)


def parse_oid(text):
    text = text.strip()
    if text.startswith("."):
        text = text[1:]
    return tuple(int(part) for part in text.split(".")) if text else ()


def entry(table, column, *index):
    """The instance OID of a column of a table's entry."""
    return tuple(table) + (1, column) + tuple(index)


# --- running net-snmp's tools ------------------------------------------------------------------


def mib_dirs():
    """The folder of MIB files, or None when the run has none."""
    folder = os.environ.get("LLDP_MIBDIRS")
    return folder if folder and os.path.isdir(folder) else None


class Varbind:
    __slots__ = ("oid", "type", "value", "text")

    def __init__(self, oid, type_, value, text):
        self.oid = oid
        self.type = type_
        self.value = value
        self.text = text

    def __repr__(self):
        return "Varbind(%s, %s, %r)" % (dotted(self.oid), self.type, self.value)


# Exceptions (noSuchObject, noSuchInstance, endOfMibView) as net-snmp prints them.
EXCEPTIONS = {
    "No Such Object available on this agent at this OID": "noSuchObject",
    "No Such Instance currently exists at this OID": "noSuchInstance",
    "No more variables left in this MIB View (It is past the end of the MIB tree)": "endOfMibView",
}


def _unquote(text):
    if len(text) >= 2 and text[0] == '"' and text[-1] == '"':
        text = text[1:-1]
    return text.replace('\\"', '"').replace("\\\\", "\\").encode("utf-8")


def _value(type_, text):
    text = text.strip()
    if type_ == "Timeticks":  # "(12345) 0:02:03.45"
        match = re.search(r"\((\d+)\)", text)
        return int(match.group(1)) if match else text
    if type_ in ("INTEGER", "Gauge32", "Counter32", "Counter64", "UInteger32"):
        match = re.search(r"-?\d+", text)
        return int(match.group(0)) if match else text
    if type_ == "Hex-STRING":
        return bytes.fromhex(text.replace(" ", "").replace("\n", ""))
    if type_ == "STRING":
        return _unquote(text)
    if type_ == "OID":
        return parse_oid(text)
    return text


def parse_output(stdout):
    """The varbinds of a tool's output (-On): a line per varbind, hex dumps may go on over
    several lines. An empty octet string is printed as "" without a type."""
    varbinds = []
    current = None
    for line in stdout.splitlines():
        if line.startswith("."):
            oid_text, _, rest = line.partition(" = ")
            current = [parse_oid(oid_text), rest]
            varbinds.append(current)
        elif current is not None:
            current[1] += "\n" + line
    parsed = []
    for oid, rest in varbinds:
        rest = rest.strip()
        if rest in EXCEPTIONS:
            parsed.append(Varbind(oid, EXCEPTIONS[rest], None, rest))
        elif rest == '""':
            parsed.append(Varbind(oid, "STRING", b"", rest))
        elif ": " in rest or rest.endswith(":"):
            type_, _, value = rest.partition(":")
            parsed.append(Varbind(oid, type_.strip(), _value(type_.strip(), value), rest))
        else:
            parsed.append(Varbind(oid, "?", rest, rest))
    return parsed


class ToolError(AssertionError):
    pass


def error_status(result):
    """The SNMP error status net-snmp reported ("notWritable", "genError", ...), or None."""
    text = result.stdout + result.stderr
    match = re.search(r"Reason: \(?(\w+)\)?", text)
    return match.group(1) if match else None


class Agent:
    """The daemon as net-snmp's tools see it, through the SnmpTools of the test fixtures."""

    def __init__(self, tools, target, community="public", rw_community=None):
        self.tools = tools
        self.target = target
        self.community = community
        self.rw_community = rw_community

    def _run(self, tool, args, check=True, options=(), community=None, mibs=False):
        extra = ([] if mibs else OUTPUT_FLAGS) + list(options)
        result = self.tools.run(tool, [self.target] + [str(a) for a in args],
                                community=community or self.community, mibs=mibs, extra=extra)
        if check and result.returncode != 0:
            raise ToolError(
                "%s %s failed (%d):\n%s%s"
                % (tool, " ".join(str(a) for a in args), result.returncode, result.stdout,
                   result.stderr)
            )
        return result

    def get(self, *oids, check=True):
        result = self._run("snmpget", [dotted(o) for o in oids], check=check)
        return parse_output(result.stdout)

    def get_one(self, oid):
        (varbind,) = self.get(oid)
        return varbind

    def getnext(self, *oids):
        return parse_output(self._run("snmpgetnext", [dotted(o) for o in oids]).stdout)

    def walk(self, oid, extra=()):
        """snmpwalk (GETNEXT, which stops with an error on an OID that does not increase)."""
        result = self._run("snmpwalk", [dotted(oid)], options=extra)
        return [v for v in parse_output(result.stdout) if v.type not in EXCEPTIONS.values()]

    def walk_text(self, tool, oid, extra=()):
        return self._run(tool, [dotted(oid)], options=extra).stdout

    def raw(self, tool, args, check=False):
        return self._run(tool, args, check=check)

    def set(self, oid, type_, value):
        """snmpset through the read-write community; returns what the tool said."""
        assert self.rw_community, "no read-write community configured"
        return self._run("snmpset", [dotted(oid), type_, str(value)], check=False,
                         community=self.rw_community)

    def mib_walk(self, oid, tool="snmpwalk"):
        """A walk with the MIB files loaded: the text net-snmp prints (values as the MIBs
        describe them), for looking for "Wrong Type"."""
        result = self._run(tool, [dotted(oid)], mibs=True)
        return result.stdout + result.stderr

    def walk_process(self, oid, tool="snmpwalk"):
        """A walk running in the background, for changing the state under it."""
        command = [shutil.which(tool, path=os.pathsep.join([os.environ.get("PATH", ""),
                                                            "/usr/bin"])),
                   "-v", "2c", "-c", self.community, "-t", "5", "-r", "1", "-m", ""]
        command += OUTPUT_FLAGS + [self.target, dotted(oid)]
        return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True, env=self.tools.env)


def as_dict(varbinds):
    table = {}
    for v in varbinds:
        assert v.oid not in table, "OID %s returned twice" % dotted(v.oid)
        table[v.oid] = (v.type, v.value)
    return table


def under(varbinds, prefix):
    prefix = tuple(prefix)
    return [v for v in varbinds if v.oid[: len(prefix)] == prefix]


def assert_increasing(varbinds):
    for before, after in zip(varbinds, varbinds[1:]):
        assert before.oid < after.oid, "OID %s follows %s" % (dotted(after.oid), dotted(before.oid))


def wait_until(predicate, timeout=10.0, interval=0.05, message="condition"):
    """Polls predicate until it returns a true value; returns that value."""
    deadline = time.monotonic() + timeout
    last_error = None
    while True:
        try:
            value = predicate()
            if value:
                return value
        except (ToolError, AssertionError, subprocess.TimeoutExpired) as error:
            last_error = error
        if time.monotonic() > deadline:
            raise AssertionError("timed out waiting for %s (last error: %s)" % (message, last_error))
        time.sleep(interval)


def compare_tables(actual, expected):
    """Asserts two {oid: (type, value)} dicts are equal, with a readable difference."""
    missing = sorted(set(expected) - set(actual))
    extra = sorted(set(actual) - set(expected))
    wrong = sorted(o for o in set(actual) & set(expected) if actual[o] != expected[o])
    lines = []
    for o in missing[:10]:
        lines.append("missing %s = %r" % (dotted(o), expected[o]))
    for o in extra[:10]:
        lines.append("unexpected %s = %r" % (dotted(o), actual[o]))
    for o in wrong[:10]:
        lines.append("%s: got %r, expected %r" % (dotted(o), actual[o], expected[o]))
    assert not lines, "%d missing, %d unexpected, %d wrong:\n%s" % (
        len(missing), len(extra), len(wrong), "\n".join(lines))


# --- from a state document to MIB values ---------------------------------------------------------

# Enumerations and bit names of the MIBs (LLDP-MIB, LLDP-EXT-DOT3-MIB, IANA address families).
CHASSIS_ID_SUBTYPES = {"chassisComponent": 1, "interfaceAlias": 2, "portComponent": 3,
                       "macAddress": 4, "networkAddress": 5, "interfaceName": 6, "local": 7}
PORT_ID_SUBTYPES = {"interfaceAlias": 1, "portComponent": 2, "macAddress": 3,
                    "networkAddress": 4, "interfaceName": 5, "agentCircuitId": 6, "local": 7}
ADMIN_STATUS = {"txOnly": 1, "rxOnly": 2, "txAndRx": 3, "disabled": 4}
MAN_ADDR_IF_SUBTYPES = {"unknown": 1, "ifIndex": 2, "systemPortNumber": 3}
ADDRESS_FAMILIES = {"other": 0, "ipV4": 1, "ipV6": 2, "all802": 6}
SYSTEM_CAPABILITIES = {"other": 0, "repeater": 1, "bridge": 2, "wlanAccessPoint": 3,
                       "router": 4, "telephone": 5, "docsisCableDevice": 6, "stationOnly": 7}
TLVS_TX_ENABLE = {"portDesc": 0, "sysName": 1, "sysDesc": 2, "sysCap": 3}
DOT3_TLVS_TX_ENABLE = {"macPhyConfigStatus": 0, "powerViaMDI": 1, "linkAggregation": 2,
                       "maxFrameSize": 3}
LINK_AGG_STATUS = {"aggCapable": 0, "aggEnabled": 1, "capable": 0, "enabled": 1}
POWER_PORT_CLASS = {"pClassPSE": 1, "pClassPD": 2}
POWER_PAIRS = {"signal": 1, "spare": 2}
POWER_CLASS = {"class0": 1, "class1": 2, "class2": 3, "class3": 4, "class4": 5}

TRUE, FALSE = 1, 2  # TruthValue


def truth(flag):
    return ("INTEGER", TRUE if flag else FALSE)


def integer(value):
    return ("INTEGER", value)


def octets(value):
    return ("STRING", value) if value == b"" else ("Hex-STRING", value)


def enum(value, names):
    return value if isinstance(value, int) else names[value]


def bits(members, names, length):
    """SNMP BITS: bit k is the bit 0x80 >> (k % 8) of octet k // 8."""
    out = bytearray(length)
    for member in members:
        k = enum(member, names)
        out[k // 8] |= 0x80 >> (k % 8)
    return bytes(out)


def port_list(ports):
    """LLDP-MIB PortList: port p is bit p - 1, as long as the highest port needs."""
    if not ports:
        return b""
    out = bytearray((max(ports) - 1) // 8 + 1)
    for p in ports:
        out[(p - 1) // 8] |= 0x80 >> ((p - 1) % 8)
    return bytes(out)


def raw_octets(value):
    """A state-file octet string: a JSON string is its UTF-8 bytes, {"hex": ...} raw bytes."""
    if isinstance(value, dict):
        return bytes.fromhex(value["hex"])
    return value.encode("utf-8")


def chassis_id(holder):
    subtype = holder["chassisIdSubtype"]
    is_mac = subtype in ("macAddress", CHASSIS_ID_SUBTYPES["macAddress"])
    value = holder["chassisId"]
    if is_mac and isinstance(value, str):
        return bytes.fromhex(value.replace(":", "").replace("-", ""))
    return raw_octets(value)


def port_id(holder, default=None):
    subtype = holder.get("portIdSubtype", "interfaceName")
    is_mac = subtype in ("macAddress", PORT_ID_SUBTYPES["macAddress"])
    value = holder.get("portId", default)
    if is_mac and isinstance(value, str):
        return bytes.fromhex(value.replace(":", "").replace("-", ""))
    return raw_octets(value)


def address_bytes(address):
    family = enum(address["subtype"], ADDRESS_FAMILIES)
    value = address["address"]
    if family in (1, 2) and isinstance(value, str):
        return ipaddress.ip_address(value).packed
    return raw_octets(value)


def man_addr_index(address):
    """lldp*ManAddrSubtype then lldp*ManAddr (length-prefixed)."""
    raw = address_bytes(address)
    return (enum(address["subtype"], ADDRESS_FAMILIES), len(raw)) + tuple(raw)


def oid_value(text):
    return parse_oid(text)


def oui_bytes(value):
    if isinstance(value, int):
        return bytes([(value >> 16) & 0xFF, (value >> 8) & 0xFF, value & 0xFF])
    if isinstance(value, dict):
        return bytes.fromhex(value["hex"])
    return bytes.fromhex(value.replace("-", "").replace(":", ""))


def interfaces_by_port(state):
    return sorted(state.get("interfaces", []), key=lambda i: i["portNum"])


def neighbours(state):
    """(port, neighbour) for every neighbour, in (port, index) order."""
    out = []
    for intf in interfaces_by_port(state):
        for n in sorted(intf.get("neighbors", []), key=lambda n: n["index"]):
            out.append((intf["portNum"], n))
    return out


# Expected tables. Each returns {instance oid: (type, value)}.


def expected_port_config(state):
    rows = {}
    for intf in interfaces_by_port(state):
        p = intf["portNum"]
        c = intf.get("config", {})
        rows[entry(PORT_CONFIG, 2, p)] = integer(ADMIN_STATUS[c.get("adminStatus", "txAndRx")])
        rows[entry(PORT_CONFIG, 3, p)] = truth(c.get("notificationEnable", False))
        rows[entry(PORT_CONFIG, 4, p)] = octets(bits(c.get("tlvsTxEnable", []), TLVS_TX_ENABLE, 1))
    return rows


def transmitting_ports(state, address):
    """The ports a local management address is sent on: none without a priority, else every
    interface whose configuration enables management-address transmission."""
    if not address.get("priority"):
        return []
    return [i["portNum"] for i in state.get("interfaces", [])
            if i.get("config", {}).get("manAddrTxEnable", False)]


def expected_config_man_addr(state):
    rows = {}
    for a in state["localSystem"].get("managementAddresses", []):
        rows[entry(CONFIG_MAN_ADDR, 1, *man_addr_index(a))] = octets(
            port_list(transmitting_ports(state, a)))
    return rows


STATS_RX_COLUMNS = [(2, "rxFramesDiscardedTotal", "Counter32"), (3, "rxFramesErrors", "Counter32"),
                    (4, "rxFramesTotal", "Counter32"), (5, "rxTLVsDiscardedTotal", "Counter32"),
                    (6, "rxTLVsUnrecognizedTotal", "Counter32"),
                    (7, "rxAgeoutsTotal", "Gauge32")]


def expected_stats_tx(state):
    return {entry(STATS_TX_PORT, 2, i["portNum"]):
            ("Counter32", i.get("statistics", {}).get("txFramesTotal", 0))
            for i in interfaces_by_port(state)}


def expected_stats_rx(state):
    rows = {}
    for intf in interfaces_by_port(state):
        s = intf.get("statistics", {})
        for column, name, type_ in STATS_RX_COLUMNS:
            rows[entry(STATS_RX_PORT, column, intf["portNum"])] = (type_, s.get(name, 0))
    return rows


def expected_loc_port(state):
    rows = {}
    for intf in interfaces_by_port(state):
        p = intf["portNum"]
        local = intf.get("local", {})
        rows[entry(LOC_PORT, 2, p)] = integer(
            enum(local.get("portIdSubtype", "interfaceName"), PORT_ID_SUBTYPES))
        rows[entry(LOC_PORT, 3, p)] = octets(port_id(local, default=intf["name"]))
        rows[entry(LOC_PORT, 4, p)] = octets(raw_octets(local.get("portDesc", "")))
    return rows


def expected_loc_man_addr(state):
    rows = {}
    for a in state["localSystem"].get("managementAddresses", []):
        index = man_addr_index(a)
        rows[entry(LOC_MAN_ADDR, 3, *index)] = integer(len(address_bytes(a)) + 1)
        rows[entry(LOC_MAN_ADDR, 4, *index)] = integer(
            enum(a.get("ifSubtype", "unknown"), MAN_ADDR_IF_SUBTYPES))
        rows[entry(LOC_MAN_ADDR, 5, *index)] = integer(a.get("ifId", 0))
        rows[entry(LOC_MAN_ADDR, 6, *index)] = ("OID", oid_value(a.get("oid", "0.0")))
    return rows


def expected_rem(state, mark=0):
    rows = {}
    for port, n in neighbours(state):
        i = (mark, port, n["index"])
        rows[entry(REM, 4, *i)] = integer(enum(n["chassisIdSubtype"], CHASSIS_ID_SUBTYPES))
        rows[entry(REM, 5, *i)] = octets(chassis_id(n))
        rows[entry(REM, 6, *i)] = integer(enum(n["portIdSubtype"], PORT_ID_SUBTYPES))
        rows[entry(REM, 7, *i)] = octets(port_id(n))
        rows[entry(REM, 8, *i)] = octets(raw_octets(n.get("portDesc", "")))
        rows[entry(REM, 9, *i)] = octets(raw_octets(n.get("sysName", "")))
        rows[entry(REM, 10, *i)] = octets(raw_octets(n.get("sysDesc", "")))
        rows[entry(REM, 11, *i)] = octets(bits(n.get("sysCapSupported", []), SYSTEM_CAPABILITIES, 2))
        rows[entry(REM, 12, *i)] = octets(bits(n.get("sysCapEnabled", []), SYSTEM_CAPABILITIES, 2))
    return rows


def expected_rem_man_addr(state, mark=0):
    rows = {}
    for port, n in neighbours(state):
        for a in n.get("managementAddresses", []):
            i = (mark, port, n["index"]) + man_addr_index(a)
            rows[entry(REM_MAN_ADDR, 3, *i)] = integer(
                enum(a.get("ifSubtype", "unknown"), MAN_ADDR_IF_SUBTYPES))
            rows[entry(REM_MAN_ADDR, 4, *i)] = integer(a.get("ifId", 0))
            rows[entry(REM_MAN_ADDR, 5, *i)] = ("OID", oid_value(a.get("oid", "0.0")))
    return rows


def expected_rem_unknown_tlv(state, mark=0):
    rows = {}
    for port, n in neighbours(state):
        for t in n.get("unknownTlvs", []):
            rows[entry(REM_UNKNOWN_TLV, 2, mark, port, n["index"], t["type"])] = octets(
                raw_octets(t["info"]))
    return rows


def expected_rem_org_def_info(state, mark=0):
    rows = {}
    for port, n in neighbours(state):
        for t in n.get("orgDefTlvs", []):
            i = (mark, port, n["index"]) + tuple(oui_bytes(t["oui"])) + (t["subtype"], t["index"])
            rows[entry(REM_ORG_DEF_INFO, 4, *i)] = octets(raw_octets(t["info"]))
    return rows


def expected_dot1(state, mark=0):
    rows = {}
    for intf in interfaces_by_port(state):
        p = intf["portNum"]
        rows[entry(X1_CONFIG_PORT_VLAN, 1, p)] = truth(
            intf.get("config", {}).get("portVlanTxEnable", False))
        rows[entry(X1_LOC, 1, p)] = integer(intf.get("local", {}).get("portVlanId", 0))
    for port, n in neighbours(state):
        i = (mark, port, n["index"])
        dot1 = n.get("dot1", {})
        if "portVlanId" in dot1:
            rows[entry(X1_REM, 1, *i)] = integer(dot1["portVlanId"])
        for v in dot1.get("protoVlans", []):
            rows[entry(X1_REM_PROTO_VLAN, 2, *i, v["id"])] = truth(v.get("supported", False))
            rows[entry(X1_REM_PROTO_VLAN, 3, *i, v["id"])] = truth(v.get("enabled", False))
        for v in dot1.get("vlanNames", []):
            rows[entry(X1_REM_VLAN_NAME, 2, *i, v["id"])] = octets(raw_octets(v["name"]))
        for v in dot1.get("protocols", []):
            rows[entry(X1_REM_PROTOCOL, 2, *i, v["index"])] = octets(raw_octets(v["id"]))
    return rows


def u16(value):
    return int(value, 16) if isinstance(value, str) else value


def expected_dot3(state, mark=0):
    rows = {}
    for intf in interfaces_by_port(state):
        p = intf["portNum"]
        config = intf.get("config", {})
        local = intf.get("local", {})
        rows[entry(X3_PORT_CONFIG, 1, p)] = octets(
            bits(config.get("dot3TlvsTxEnable", []), DOT3_TLVS_TX_ENABLE, 1))
        rows[entry(X3_LOC_LINK_AGG, 1, p)] = octets(
            bits(local.get("linkAggStatus", []), LINK_AGG_STATUS, 1))
        rows[entry(X3_LOC_LINK_AGG, 2, p)] = integer(local.get("linkAggPortId", 0))
        rows[entry(X3_LOC_MAX_FRAME, 1, p)] = integer(local.get("maxFrameSize", 0))
    for port, n in neighbours(state):
        i = (mark, port, n["index"])
        dot3 = n.get("dot3", {})
        if "macPhy" in dot3:
            m = dot3["macPhy"]
            cap = u16(m.get("autoNegAdvertisedCap", 0))
            rows[entry(X3_REM_PORT, 1, *i)] = truth(m.get("autoNegSupported", False))
            rows[entry(X3_REM_PORT, 2, *i)] = truth(m.get("autoNegEnabled", False))
            rows[entry(X3_REM_PORT, 3, *i)] = octets(bytes([cap >> 8, cap & 0xFF]))
            rows[entry(X3_REM_PORT, 4, *i)] = integer(m.get("operMauType", 0))
        if "power" in dot3:
            w = dot3["power"]
            rows[entry(X3_REM_POWER, 1, *i)] = integer(enum(w.get("portClass", 0), POWER_PORT_CLASS))
            rows[entry(X3_REM_POWER, 2, *i)] = truth(w.get("mdiSupported", False))
            rows[entry(X3_REM_POWER, 3, *i)] = truth(w.get("mdiEnabled", False))
            rows[entry(X3_REM_POWER, 4, *i)] = truth(w.get("pairControllable", False))
            rows[entry(X3_REM_POWER, 5, *i)] = integer(enum(w.get("pairs", 0), POWER_PAIRS))
            rows[entry(X3_REM_POWER, 6, *i)] = integer(enum(w.get("class", 0), POWER_CLASS))
        if "linkAgg" in dot3:
            a = dot3["linkAgg"]
            rows[entry(X3_REM_LINK_AGG, 1, *i)] = octets(
                bits(a.get("status", []), LINK_AGG_STATUS, 1))
            rows[entry(X3_REM_LINK_AGG, 2, *i)] = integer(a.get("portId", 0))
        if "maxFrameSize" in dot3:
            rows[entry(X3_REM_MAX_FRAME, 1, *i)] = integer(dot3["maxFrameSize"])
    return rows


def table_rows(expected, table):
    """The part of an expected dict that belongs to one table."""
    prefix = tuple(table)
    return {o: v for o, v in expected.items() if o[: len(prefix)] == prefix}


def snmp_config(trap_port=None, extra=()):
    """A daemon configuration: read-only "public" and read-write "private" from the loopback
    address, a trap sink when trap_port is given, and any extra lines."""
    lines = ["rocommunity public 127.0.0.1", "rwcommunity private 127.0.0.1"]
    if trap_port is not None:
        lines.append("trap2sink 127.0.0.1:%d public" % trap_port)
    lines.extend(extra)
    return "\n".join(lines) + "\n"


# --- the daemon under test ------------------------------------------------------------------------


class Lldpd:
    """A daemon started by the fixtures of conftest.py, with the tools of this module."""

    def __init__(self, daemon, rw_community=None):
        self.daemon = daemon
        self.agent = Agent(daemon.tools, daemon.address, rw_community=rw_community)

    def rewrite(self, state):
        self.daemon.rewrite_state(state)

    def log_text(self):
        return self.daemon.log()

    def stop(self):
        self.daemon.stop()


def start(start_daemon, state, trap_port=None, config_lines=None, trace=None):
    """Starts a daemon with conftest's start_daemon fixture; with a configuration (read-write
    community "private", an optional trap sink) when trap_port or config_lines are given."""
    config = None
    rw_community = None
    if trap_port is not None or config_lines is not None:
        config = snmp_config(trap_port, config_lines or ())
        rw_community = "private"
    extra_args = ["--trace", trace] if trace else []
    return Lldpd(start_daemon(state, config=config, extra_args=extra_args), rw_community)


def start_for_module(tmp_path_factory, state, config_lines=None):
    """A daemon shared by the tests of one module (conftest's fixtures are per test)."""
    from conftest import Daemon, SnmpTools

    folder = tmp_path_factory.mktemp("daemon")
    config = snmp_config(extra=config_lines) if config_lines is not None else None
    daemon = Daemon(folder, SnmpTools(folder), state, config=config)
    try:
        daemon.wait_ready()
    except BaseException:
        daemon.cleanup()
        raise
    return Lldpd(daemon, "private" if config is not None else None)


def notifications(receiver, trap_oid):
    """The notifications with this snmpTrapOID.0 that conftest's snmptrapd logged, each as its
    varbinds in order, with their types."""
    found = []
    marker = "1.3.6.1.6.3.1.1.4.1.0 = OID: .%s" % dotted(trap_oid)
    for line in receiver.log().splitlines():
        if marker in line:
            parts = [p.strip() for p in line.split("\t")]
            found.append(parse_output("\n".join(p for p in parts if p.startswith("."))))
    return found
