"""State documents (the dicts the tests write as state files) and the rows the LLDP MIBs should
show for them, following the MIB definitions (index encodings, BITS numbering, PortList,
TruthValue), not the daemon's code. Object names, OIDs and the numbers of named values come
from the MIB modules themselves, as net-snmp's snmptranslate reads them."""

import functools
import ipaddress
import os
import re
import subprocess

from conftest import MIBDIRS, REPO, TOOL_PATH, as_dict, parse_oid


def snmptranslate(*args):
    env = {k: v for k, v in os.environ.items() if k not in ("MIBS", "MIBDIRS")}
    return subprocess.run(["snmptranslate", "-M", MIBDIRS or str(REPO / "mibs"), "-m", "ALL",
                           "-IR", *args], capture_output=True, text=True, check=True,
                          env=dict(env, PATH=TOOL_PATH)).stdout


# Every object of the MIB modules by name: {"lldpRemTable": (1, 0, 8802, 1, 1, 2, 1, 4, 1), ...}
OID = {name: parse_oid(number) for name, number in
       re.findall(r'^"(\w+)"\s+"([\d.]+)"$', snmptranslate("-Tz"), re.M)}


@functools.cache
def named_numbers(name):
    """{label: number} of an object's enumeration or BITS, as its MIB module defines them."""
    syntax = re.search(r"SYNTAX\s.*?\{(.*?)\}", snmptranslate("-Td", name), re.S).group(1)
    return {label: int(number) for label, number in re.findall(r"(\w+)\((\d+)\)", syntax)}


LLDP, OBJECTS, MED = OID["lldpMIB"], OID["lldpObjects"], OID["lldpXMedObjects"]
# LLDP-MIB, LLDP-EXT-DOT1-MIB and LLDP-EXT-DOT3-MIB, then what came with LLDP-MED and the local
# 802.1/802.3 member tables.
(PORT_CONFIG, CONFIG_MAN_ADDR, STATS_TX_PORT, STATS_RX_PORT, LOC_PORT, LOC_MAN_ADDR, REM,
 REM_MAN_ADDR, REM_UNKNOWN_TLV, REM_ORG_DEF_INFO, X1_CONFIG_PORT_VLAN, X1_LOC, X1_REM,
 X1_REM_PROTO_VLAN, X1_REM_VLAN_NAME, X1_REM_PROTOCOL, X3_PORT_CONFIG, X3_LOC_LINK_AGG,
 X3_LOC_MAX_FRAME, X3_REM_PORT, X3_REM_POWER, X3_REM_LINK_AGG, X3_REM_MAX_FRAME,
 X1_CONFIG_VLAN_NAME, X1_CONFIG_PROTO_VLAN, X1_CONFIG_PROTOCOL, X1_LOC_PROTO_VLAN,
 X1_LOC_VLAN_NAME, X1_LOC_PROTOCOL, X3_LOC_PORT, X3_LOC_POWER, MED_PORT_CONFIG, MED_LOC_POLICY,
 MED_LOC_LOCATION, MED_LOC_PSE_PORT, MED_REM_CAP, MED_REM_POLICY, MED_REM_INVENTORY,
 MED_REM_LOCATION, MED_REM_XPOE, MED_REM_PSE, MED_REM_PD) = _TABLES = [OID[t + "Table"] for t in (
    "lldpPortConfig lldpConfigManAddr lldpStatsTxPort lldpStatsRxPort lldpLocPort lldpLocManAddr "
    "lldpRem lldpRemManAddr lldpRemUnknownTLV lldpRemOrgDefInfo lldpXdot1ConfigPortVlan "
    "lldpXdot1Loc lldpXdot1Rem lldpXdot1RemProtoVlan lldpXdot1RemVlanName "
    "lldpXdot1RemProtocol lldpXdot3PortConfig lldpXdot3LocLinkAgg lldpXdot3LocMaxFrameSize "
    "lldpXdot3RemPort lldpXdot3RemPower lldpXdot3RemLinkAgg lldpXdot3RemMaxFrameSize "
    "lldpXdot1ConfigVlanName lldpXdot1ConfigProtoVlan lldpXdot1ConfigProtocol "
    "lldpXdot1LocProtoVlan lldpXdot1LocVlanName lldpXdot1LocProtocol lldpXdot3LocPort "
    "lldpXdot3LocPower lldpXMedPortConfig lldpXMedLocMediaPolicy lldpXMedLocLocation "
    "lldpXMedLocXPoEPSEPort lldpXMedRemCapabilities lldpXMedRemMediaPolicy "
    "lldpXMedRemInventory lldpXMedRemLocation lldpXMedRemXPoE lldpXMedRemXPoEPSE "
    "lldpXMedRemXPoEPD").split()]
TABLES = _TABLES[:23]
LAST_CHANGE, INSERTS, DELETES, DROPS, AGEOUTS = (OID["lldpStatsRemTables" + k] + (0,) for k in (
    "LastChangeTime", "Inserts", "Deletes", "Drops", "Ageouts"))
REM_TABLES_CHANGE = OID["lldpRemTablesChange"]
LOC_SYS_NAME = OID["lldpLocSysName"] + (0,)
# Spellings the state file accepts besides the MIB's labels, and values the MIBs give as plain
# numbers (the 802.3 power pairs and class).
LINK_AGG = {"capable": "aggCapable", "enabled": "aggEnabled"}
POWER_PAIRS = {"signal": 1, "spare": 2}
POWER_CLASS = {"class0": 1, "class1": 2, "class2": 3, "class3": 4, "class4": 5}
INVENTORY = ["hardwareRev", "firmwareRev", "softwareRev", "serialNum", "mfgName", "modelName",
             "assetId"]
LONG_AGO = 1700000000.0  # before any daemon of the tests started: time mark 0
RX_COUNTERS = ["rxFramesDiscardedTotal", "rxFramesErrors", "rxFramesTotal", "rxTLVsDiscardedTotal",
               "rxTLVsUnrecognizedTotal"]


def neighbour(index, **fields):
    """A neighbour of a state document, unchanged since long ago."""
    return {"index": index, "lastChangeTime": LONG_AGO, "chassisIdSubtype": "local",
            "chassisId": f"chassis-{index}", "portIdSubtype": "local", "portId": f"port-{index}",
            **fields}


def port(state, number):
    return next(i for i in state["interfaces"] if i["portNum"] == number)


def entry(table, column, *index):
    return tuple(table) + (1, column) + tuple(index)


def table_rows(rows, table):
    return {o: v for o, v in rows.items() if o[:len(table)] == tuple(table)}


def numbers(names):
    """The numbers of named values: a dict, or the MIB object whose syntax names them."""
    return names if isinstance(names, dict) else named_numbers(names)


def integer(value, names=None):
    return ("INTEGER", value if names is None or isinstance(value, int) else numbers(names)[value])


def truth(flag):
    return ("INTEGER", 1 if flag else 2)


def octets(value):
    """A state-file octet string (text, or {"hex": ...}) or bytes, as the tools print it."""
    if isinstance(value, dict):
        value = bytes.fromhex(value["hex"])
    elif isinstance(value, str):
        value = value.encode()
    return ("STRING", b"") if value == b"" else ("Hex-STRING", value)


def bits(members, names, length):
    """SNMP BITS: bit k is 0x80 >> (k % 8) of octet k // 8."""
    out = bytearray(length)
    for k in (m if isinstance(m, int) else numbers(names)[m] for m in members):
        out[k // 8] |= 0x80 >> (k % 8)
    return octets(bytes(out))


def link_agg(members):
    return bits([LINK_AGG.get(m, m) for m in members], "lldpXdot3RemLinkAggStatus", 1)


def port_list(ports):
    """PortList: port p is bit p - 1, as many octets as the highest port needs."""
    out = bytearray((max(ports, default=0) + 7) // 8)
    for p in ports:
        out[(p - 1) // 8] |= 0x80 >> ((p - 1) % 8)
    return bytes(out)


def identifier(holder, key, mac_subtypes):
    """A chassis or port id: "aa:bb:..." or "aa-bb-..." is six bytes for subtype macAddress."""
    value = holder[key]
    if holder.get(key + "Subtype") in mac_subtypes and isinstance(value, str):
        return bytes.fromhex(value.replace(":", "").replace("-", ""))
    return octets(value)[1]


def man_addr_index(a):
    """lldp*ManAddrSubtype, then lldp*ManAddr with its length."""
    raw = a["address"]
    if a["subtype"] in ("ipV4", "ipV6", 1, 2) and isinstance(raw, str):
        raw = ipaddress.ip_address(raw).packed
    raw = octets(raw)[1]
    return (integer(a["subtype"], "lldpLocManAddrSubtype")[1], len(raw)) + tuple(raw)


def oui(value):
    if isinstance(value, int):
        return tuple(value.to_bytes(3, "big"))
    return tuple(octets(value)[1] if isinstance(value, dict) else bytes.fromhex(
        value.replace("-", "").replace(":", "")))


def put(rows, table, index, column, *values):
    """Values of consecutive columns, from `column` on, of one row."""
    for k, value in enumerate(values):
        rows[entry(table, column + k, *index)] = value


def expected_rows(state, mark=0):
    """{instance OID: (type, value)} of every table of the three modules; neighbours under
    time mark `mark`."""
    rows = {}
    interfaces = sorted(state.get("interfaces", []), key=lambda i: i["portNum"])
    for intf in interfaces:
        p, c, loc = (intf["portNum"],), intf.get("config", {}), intf.get("local", {})
        s = intf.get("statistics", {})
        put(rows, PORT_CONFIG, p, 2,
            integer(c.get("adminStatus", "txAndRx"), "lldpPortConfigAdminStatus"),
            truth(c.get("notificationEnable")),
            bits(c.get("tlvsTxEnable", []), "lldpPortConfigTLVsTxEnable", 1))
        put(rows, STATS_TX_PORT, p, 2, ("Counter32", s.get("txFramesTotal", 0)))
        put(rows, STATS_RX_PORT, p, 2, *[("Counter32", s.get(n, 0)) for n in RX_COUNTERS],
            ("Gauge32", s.get("rxAgeoutsTotal", 0)))
        put(rows, LOC_PORT, p, 2,
            integer(loc.get("portIdSubtype", "interfaceName"), "lldpLocPortIdSubtype"),
            octets(identifier({"portId": intf["name"], **loc}, "portId", ("macAddress", 3))),
            octets(loc.get("portDesc", "")))
        put(rows, X1_CONFIG_PORT_VLAN, p, 1, truth(c.get("portVlanTxEnable")))
        put(rows, X1_LOC, p, 1, integer(loc.get("portVlanId", 0)))
        put(rows, X3_PORT_CONFIG, p, 1,
            bits(c.get("dot3TlvsTxEnable", []), "lldpXdot3PortConfigTLVsTxEnable", 1))
        put(rows, X3_LOC_LINK_AGG, p, 1, link_agg(loc.get("linkAggStatus", [])),
            integer(loc.get("linkAggPortId", 0)))
        put(rows, X3_LOC_MAX_FRAME, p, 1, integer(loc.get("maxFrameSize", 0)))
        local_member_rows(rows, intf["portNum"], loc)
    for a in state["localSystem"].get("managementAddresses", []):
        i = man_addr_index(a)
        # Sent on no port without a priority, else on every port that sends addresses.
        sent_on = [x["portNum"] for x in interfaces if a.get("priority")
                   and x.get("config", {}).get("manAddrTxEnable")]
        put(rows, CONFIG_MAN_ADDR, i, 1, octets(port_list(sent_on)))
        put(rows, LOC_MAN_ADDR, i, 3, integer(i[1] + 1), *man_addr_columns(a))
    med_scalar_rows(rows, state)
    for intf in interfaces:
        for n in sorted(intf.get("neighbors", []), key=lambda n: n["index"]):
            neighbour_rows(rows, (mark, intf["portNum"], n["index"]), n)
    return rows


def mac_phy_columns(m):
    cap = m.get("autoNegAdvertisedCap", 0)
    cap = int(cap, 16) if isinstance(cap, str) else cap
    return (truth(m.get("autoNegSupported")), truth(m.get("autoNegEnabled")),
            ("Hex-STRING", cap.to_bytes(2, "big")), integer(m.get("operMauType", 0)))


def power_columns(w):
    return (integer(w.get("portClass", 0), "lldpXdot3RemPowerPortClass"),
            truth(w.get("mdiSupported")),
            truth(w.get("mdiEnabled")), truth(w.get("pairControllable")),
            integer(w.get("pairs", 0), POWER_PAIRS), integer(w.get("class", 0), POWER_CLASS))


def app_type_index(app_type):
    """PolicyAppType as an index: its BITS value of nine named bits (two octets) with its
    length first."""
    k = integer(app_type, "lldpXMedRemMediaPolicyAppType")[1]
    return (2,) + tuple((0x8000 >> k).to_bytes(2, "big"))


def policy_columns(policy):
    return (integer(policy.get("vlanId", 0)), integer(policy.get("priority", 0)),
            integer(policy.get("dscp", 0)), truth(policy.get("unknown")),
            truth(policy.get("tagged")))


def fixed_point(value, width, fraction):
    return round(value * (1 << fraction)) & ((1 << width) - 1)


def location_info(location):
    """(subtype, bytes) of a location: RFC 3825 coordinates (16 octets), an RFC 4776 civic
    address (LCI length, what, country, then type, length, value), an ELIN's digits, or the
    bytes given."""
    if "coordinates" in location:
        c = location["coordinates"]
        alt_type = {"none": 0, "meters": 1, "floors": 2}.get(c.get("altitudeType", 1),
                                                             c.get("altitudeType", 1))
        datum = {"WGS84": 1, "NAD83/NAVD88": 2, "NAD83/MLLW": 3}.get(c.get("datum", 1),
                                                                      c.get("datum", 1))
        fields = [(c.get("latitudeResolution", 34), 6),
                  (fixed_point(c["latitude"], 34, 25), 34),
                  (c.get("longitudeResolution", 34), 6),
                  (fixed_point(c["longitude"], 34, 25), 34), (alt_type, 4),
                  (c.get("altitudeResolution", 30), 6),
                  (fixed_point(c.get("altitude", 0), 30, 8), 30), (datum, 8)]
        number = 0
        for value, width in fields:
            number = (number << width) | value
        return 2, number.to_bytes(16, "big")
    if "civicAddress" in location:
        a = location["civicAddress"]
        what = {"dhcpServer": 0, "networkElement": 1, "client": 2}.get(a.get("what", 1),
                                                                       a.get("what", 1))
        body = bytes([what]) + a["country"].encode()
        for e in a.get("elements", []):
            value = e["value"].encode()
            body += bytes([e["type"], len(value)]) + value
        return 3, bytes([len(body)]) + body
    if "elin" in location:
        return 4, location["elin"].encode()
    subtype = location["subtype"]
    return integer(subtype, "lldpXMedRemLocationSubtype")[1], octets(location["info"])[1]


def local_member_rows(rows, p, loc):
    for v in loc.get("protoVlans", []):
        put(rows, X1_CONFIG_PROTO_VLAN, (p, v["id"]), 1, truth(v.get("txEnable")))
        put(rows, X1_LOC_PROTO_VLAN, (p, v["id"]), 2, truth(v.get("supported")),
            truth(v.get("enabled")))
    for v in loc.get("vlanNames", []):
        put(rows, X1_CONFIG_VLAN_NAME, (p, v["id"]), 1, truth(v.get("txEnable")))
        put(rows, X1_LOC_VLAN_NAME, (p, v["id"]), 2, octets(v["name"]))
    for v in loc.get("protocols", []):
        put(rows, X1_CONFIG_PROTOCOL, (p, v["index"]), 1, truth(v.get("txEnable")))
        put(rows, X1_LOC_PROTOCOL, (p, v["index"]), 2, octets(v["id"]))
    put(rows, X3_LOC_PORT, (p,), 1, *mac_phy_columns(loc.get("macPhy", {})))
    if "power" in loc:
        put(rows, X3_LOC_POWER, (p,), 1, *power_columns(loc["power"]))
    med = loc.get("med", {})
    put(rows, MED_PORT_CONFIG, (p,), 1,
        bits(med.get("capSupported", []), "lldpXMedPortCapSupported", 1),
        bits(med.get("tlvsTxEnable", []), "lldpXMedPortConfigTLVsTxEnable", 1),
        truth(med.get("notifEnable")))
    for policy in med.get("policies", []):
        put(rows, MED_LOC_POLICY, (p,) + app_type_index(policy["appType"]), 2,
            *policy_columns(policy))
    for location in med.get("locations", []):
        subtype, info = location_info(location)
        put(rows, MED_LOC_LOCATION, (p, subtype), 2, octets(info))
    if "psePower" in med:
        pse = med["psePower"]
        put(rows, MED_LOC_PSE_PORT, (p,), 1, ("Gauge32", pse.get("powerAv", 0)),
            integer(pse.get("pdPriority", 1), "lldpXMedRemXPoEPSEPowerPriority"))


def med_scalar_rows(rows, state):
    config = state.get("config", {})
    med = state["localSystem"].get("med", {})
    inventory, power = med.get("inventory", {}), med.get("power", {})
    rows[MED + (1, 1, 0)] = integer(med.get("deviceClass", 0), "lldpXMedRemDeviceClass")
    rows[MED + (1, 3, 0)] = ("Gauge32", config.get("medFastStartRepeatCount", 3))
    for k, name in enumerate(INVENTORY):
        rows[MED + (2, 2 + k, 0)] = octets(inventory.get(name, ""))
    rows[MED + (2, 10, 0)] = integer(power.get("deviceType", 4), "lldpXMedRemXPoEDeviceType")
    rows[MED + (2, 12, 0)] = integer(power.get("pseSource", 1), "lldpXMedLocXPoEPSEPowerSource")
    rows[MED + (2, 13, 0)] = ("Gauge32", power.get("pdPowerReq", 0))
    rows[MED + (2, 14, 0)] = integer(power.get("pdSource", 1), "lldpXMedLocXPoEPDPowerSource")
    rows[MED + (2, 15, 0)] = integer(power.get("pdPriority", 1), "lldpXMedRemXPoEPSEPowerPriority")


def med_neighbour_rows(rows, i, med):
    power = med.get("power")
    device = power and integer(power["deviceType"], "lldpXMedRemXPoEDeviceType")[1]
    sent = ["capabilities"] + [name for name, present in (
        ("networkPolicy", med.get("policies")), ("location", med.get("locations")),
        ("extendedPSE", device == 2), ("extendedPD", device == 3),
        ("inventory", "inventory" in med)) if present]
    current = med.get("capCurrent", sent)
    put(rows, MED_REM_CAP, i, 1,
        bits(med.get("capSupported", current), "lldpXMedRemCapSupported", 1),
        bits(current, "lldpXMedRemCapCurrent", 1),
        integer(med["deviceClass"], "lldpXMedRemDeviceClass"))
    for policy in med.get("policies", []):
        put(rows, MED_REM_POLICY, i + app_type_index(policy["appType"]), 2,
            *policy_columns(policy))
    if "inventory" in med:
        put(rows, MED_REM_INVENTORY, i, 1,
            *[octets(med["inventory"].get(name, "")) for name in INVENTORY])
    for location in med.get("locations", []):
        subtype, info = location_info(location)
        put(rows, MED_REM_LOCATION, i + (subtype,), 2, octets(info))
    if power:
        put(rows, MED_REM_XPOE, i, 1, ("INTEGER", device))
        sources = f"lldpXMedRemXPoE{'PSE' if device == 2 else 'PD'}PowerSource"
        columns = (("Gauge32", power.get("value", 0)), integer(power.get("source", 1), sources),
                   integer(power.get("priority", 1), "lldpXMedRemXPoEPSEPowerPriority"))
        if device in (2, 3):
            put(rows, MED_REM_PSE if device == 2 else MED_REM_PD, i, 1, *columns)


def man_addr_columns(a):
    return (integer(a.get("ifSubtype", "unknown"), "lldpLocManAddrIfSubtype"),
            integer(a.get("ifId", 0)),
            ("OID", parse_oid(a.get("oid", "0.0"))))


def neighbour_rows(rows, i, n):
    put(rows, REM, i, 4, integer(n["chassisIdSubtype"], "lldpRemChassisIdSubtype"),
        octets(identifier(n, "chassisId", ("macAddress", 4))),
        integer(n["portIdSubtype"], "lldpRemPortIdSubtype"),
        octets(identifier(n, "portId", ("macAddress", 3))),
        *[octets(n.get(k, "")) for k in ("portDesc", "sysName", "sysDesc")],
        bits(n.get("sysCapSupported", []), "lldpRemSysCapSupported", 2),
        bits(n.get("sysCapEnabled", []), "lldpRemSysCapSupported", 2))
    for a in n.get("managementAddresses", []):
        put(rows, REM_MAN_ADDR, i + man_addr_index(a), 3, *man_addr_columns(a))
    for t in n.get("unknownTlvs", []):
        put(rows, REM_UNKNOWN_TLV, i + (t["type"],), 2, octets(t["info"]))
    for t in n.get("orgDefTlvs", []):
        put(rows, REM_ORG_DEF_INFO, i + oui(t["oui"]) + (t["subtype"], t["index"]), 4,
            octets(t["info"]))
    dot1, dot3 = n.get("dot1", {}), n.get("dot3", {})
    if "portVlanId" in dot1:
        put(rows, X1_REM, i, 1, integer(dot1["portVlanId"]))
    for v in dot1.get("protoVlans", []):
        put(rows, X1_REM_PROTO_VLAN, i + (v["id"],), 2, truth(v.get("supported")),
            truth(v.get("enabled")))
    for v in dot1.get("vlanNames", []):
        put(rows, X1_REM_VLAN_NAME, i + (v["id"],), 2, octets(v["name"]))
    for v in dot1.get("protocols", []):
        put(rows, X1_REM_PROTOCOL, i + (v["index"],), 2, octets(v["id"]))
    if "macPhy" in dot3:
        put(rows, X3_REM_PORT, i, 1, *mac_phy_columns(dot3["macPhy"]))
    if "power" in dot3:
        put(rows, X3_REM_POWER, i, 1, *power_columns(dot3["power"]))
    if "linkAgg" in dot3:
        put(rows, X3_REM_LINK_AGG, i, 1, link_agg(dot3["linkAgg"].get("status", [])),
            integer(dot3["linkAgg"].get("portId", 0)))
    if "maxFrameSize" in dot3:
        put(rows, X3_REM_MAX_FRAME, i, 1, integer(dot3["maxFrameSize"]))
    if "med" in n:
        med_neighbour_rows(rows, i, n["med"])


def time_mark(snmp, port, index, uptime):
    """A neighbour's lldpRemTimeMark: the highest TimeFilter (up to uptime) under which a GET of
    its lldpRemSysName still answers; None when none does."""
    def answers(mark):
        return snmp.get_one(entry(REM, 9, mark, port, index)).type != "noSuchInstance"

    if not answers(0):
        return None
    low, high = 0, uptime
    while low < high:
        middle = (low + high + 1) // 2
        low, high = (middle, high) if answers(middle) else (low, middle - 1)
    return low


def walk_rows(daemon):
    """Every table row the daemon serves and the LLDP-MED scalars (a walk of the LLDP subtree
    without the LLDP-MIB scalars)."""
    return {o: v for o, v in as_dict(daemon.walk(LLDP)).items() if len(o) > len(OBJECTS) + 3}


ADDR_A = {"subtype": "ipV4", "address": "192.0.2.1", "ifSubtype": "ifIndex", "ifId": 1,
          "oid": "1.3.6.1.2.1.2.2.1.1.1", "priority": 1}
ADDR_B = {"subtype": "ipV6", "address": "2001:db8::1", "ifSubtype": "systemPortNumber",
          "ifId": 7, "oid": "1.3.6.1.4.1.99999.1", "priority": 2}
ADDR_C = {"subtype": "ipV4", "address": "198.51.100.7", "ifSubtype": "ifIndex", "ifId": 3}
ADDR_D = {"subtype": "all802", "address": {"hex": "020000000099"}, "priority": 3}
UINT32_MAX = 4294967295


def switch_state():
    """A switch that gives every table of the three modules rows: ports listed out of order up
    to 4094, the largest counters, values in all their spellings, and neighbours with the
    longest strings, the largest index and TLVs of every kind (or none); port 3 has none."""
    interfaces = []
    tlvs, dot3_tlvs = (named_numbers(o) for o in ("lldpPortConfigTLVsTxEnable",
                                                  "lldpXdot3PortConfigTLVsTxEnable"))
    for p in [10, 2, 1, 4094, 3, 200, 9, 11]:
        k = p % 4
        interfaces.append({"name": f"Ethernet{p}", "portNum": p, "config": {
            "adminStatus": ["txOnly", 2, "txAndRx", "disabled"][k],
            "notificationEnable": k % 2 == 1, "manAddrTxEnable": p in (1, 10),
            "tlvsTxEnable": [[], ["portDesc"], ["sysName", 3], list(tlvs)][k],
            "dot3TlvsTxEnable": [[], ["macPhyConfigStatus", 3], list(dot3_tlvs), [1, 2]][k],
            "portVlanTxEnable": k == 1}, "local": {
            "portDesc": f"to rack {p}" if k else "", "portVlanId": p if k else 0,
            "linkAggStatus": [[], ["aggCapable"], ["aggCapable", "aggEnabled"], ["enabled"]][k],
            "linkAggPortId": 1000 + p if k else 0, "maxFrameSize": [0, 1518, 9236, 65535][k]},
            "statistics": {name: p * 1000 + j for j, name in enumerate(
                ["txFramesTotal", "rxAgeoutsTotal"] + RX_COUNTERS)}})
    ports = {i["portNum"]: i for i in interfaces}
    ports[2]["local"].update({"portIdSubtype": "macAddress", "portId": "02-00-00-aa-bb-02"})
    ports[3]["local"].update({"portIdSubtype": "local", "portId": {"hex": "00ff10"}})
    ports[9]["local"]["portDesc"] = {"hex": "00ff"}
    ports[4094]["statistics"].update(txFramesTotal=UINT32_MAX, rxAgeoutsTotal=UINT32_MAX,
                                     rxFramesTotal=UINT32_MAX)
    spine = neighbour(
        1, chassisIdSubtype="macAddress", chassisId="02:00:00:00:01:01",
        portIdSubtype="interfaceName", portId="Ethernet49/1", portDesc="to leaf1",
        sysName="spine1", sysDesc="Spine switch", sysCapSupported=["bridge", "router"],
        sysCapEnabled=["router"], managementAddresses=[
            {"subtype": "ipV6", "address": "2001:db8::10", "ifSubtype": "ifIndex", "ifId": 5,
             "oid": "1.3.6.1.2.1.2.2.1.1.5"},
            {"subtype": "ipV4", "address": "192.0.2.10", "ifSubtype": "systemPortNumber",
             "ifId": 49},
            {"subtype": "other", "address": {"hex": "ab" * 31}, "ifId": 2147483647}],
        unknownTlvs=[{"type": 126, "info": "z" * 511}, {"type": 9, "info": {"hex": "0102"}},
                     {"type": 20, "info": ""}],
        orgDefTlvs=[{"oui": "00-80-c2", "subtype": 7, "index": 2, "info": "abc"},
                    {"oui": "00:12:bb", "subtype": 1, "index": 2, "info": {"hex": "ffff"}},
                    {"oui": 4795, "subtype": 1, "index": 1, "info": {"hex": "00"}},
                    {"oui": {"hex": "0012bb"}, "subtype": 3, "index": 1, "info": "x" * 507}],
        dot1={"portVlanId": 10, "protoVlans": [{"id": 4094, "supported": True, "enabled": True},
                                               {"id": 0, "supported": True}],
              "vlanNames": [{"id": 20, "name": "servers"}, {"id": 10, "name": "users"},
                            {"id": 4094, "name": "v" * 32}],
              "protocols": [{"index": 2, "id": {"hex": "0026424203000000"}},
                            {"index": 1, "id": "stp"}]},
        dot3={"macPhy": {"autoNegSupported": True, "autoNegAdvertisedCap": "0x6c00",
                         "operMauType": 30},
              "power": {"portClass": "pClassPSE", "mdiSupported": True, "pairControllable": True,
                        "pairs": "signal", "class": "class0"},
              "linkAgg": {"status": ["capable", "enabled"], "portId": 12}, "maxFrameSize": 9216})
    no_power = neighbour(2, dot1={"vlanNames": [{"id": 1, "name": "default"}]}, dot3={
        "macPhy": {"autoNegEnabled": True, "autoNegAdvertisedCap": 32769, "operMauType": 16},
        "linkAgg": {"status": [], "portId": 0}})
    phone = neighbour(
        5, chassisIdSubtype="networkAddress", chassisId={"hex": "01c0000207"},
        portIdSubtype="macAddress", portId="02:00:00:00:05:05", sysName="",
        sysCapSupported=list(named_numbers("lldpRemSysCapSupported")) + [8, 15],
        sysCapEnabled=["telephone", 9],
        managementAddresses=[{"subtype": "all802", "address": {"hex": "020000000505"}},
                             {"subtype": "ipV4", "address": "198.51.100.5"}],
        dot1={"portVlanId": 4094, "protoVlans": [{"id": 7}]},
        dot3={"macPhy": {"autoNegAdvertisedCap": "0x0000"}, "maxFrameSize": 1518, "power": {
            "portClass": 2, "mdiEnabled": True, "pairs": "spare", "class": "class4"}})
    ports[1]["neighbors"] = [no_power, spine]
    ports[2]["neighbors"] = [phone]
    ports[10]["neighbors"] = [
        neighbour(3, sysDesc="d" * 255, managementAddresses=[
            {"subtype": "ipV4", "address": "192.0.2.30", "oid": "1.3.6.1.4.1.4294967295.1"}]),
        neighbour(2147483647, unknownTlvs=[{"type": 125, "info": "last"}])]
    return {"localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:00:99",
                            "managementAddresses": [ADDR_C, ADDR_A, ADDR_D, ADDR_B]},
            "interfaces": interfaces}
