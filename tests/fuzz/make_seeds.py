#!/usr/bin/env python3
"""Writes the fuzz targets' seed corpus into tests/fuzz/corpus/: the example state file, small
valid documents, and hostile ones (numbers beyond a double, deep nesting, OIDs BER cannot carry,
strings over the limit, every bounded value one past its bound); index seeds naming rows of
every table as OID suffixes and as raw index variables. Run it again after changing the seeds'
description here; the files it writes are kept in the repository."""
import json
import pathlib
import shutil
import struct

root = pathlib.Path(__file__).resolve().parent
repo = root.parent.parent

LOCAL = {"chassisIdSubtype": "macAddress", "chassisId": "02:00:00:00:00:01", "sysName": "leaf1"}


def neighbour(**more):
    n = {"index": 1, "chassisIdSubtype": 4, "chassisId": "02:00:00:00:00:02",
         "portIdSubtype": 7, "portId": "p"}
    n.update(more)
    return n


def document(neighbour_fields=None, local=None, interface=None, top=None):
    intf = {"name": "Ethernet1", "portNum": 1}
    if neighbour_fields is not None:
        intf["neighbors"] = [neighbour(**neighbour_fields)]
    if interface:
        intf.update(interface)
    doc = {"localSystem": dict(LOCAL, **(local or {})), "interfaces": [intf]}
    if top:
        doc.update(top)
    return json.dumps(doc)


def parser_seeds():
    seeds = {
        "minimal": document(),
        "neighbour": document({}),
        "empty": "",
        "null": "null",
        "truncated": document({})[:-7],
        "bom": "\ufeff" + document(),
        "number-1e400": '{"config": {"txDelay": 1e400}, "localSystem": {}}',
        "number-minus-1e999": '{"x": [1, 2, -1e999]}',
        "number-400-digits": '{"stray": ' + "7" * 400 + "}",
        "nesting-33": '{"x": ' + "[" * 33 + "]" * 33 + "}",
        "nesting-deep": "[" * 5000,
        "string-over-limit": document(local={"sysName": "n" * 65537}),
        "key-over-limit": '{"' + "k" * 65537 + '": 1}',
        "key-control": '{"x\\nlldp-snmpd: applied \\u001b[31m": 1}',
        "duplicate-key": '{"localSystem": {}, "localSystem": {}}',
        "bad-utf8": b'{"localSystem": {"sysName": "\xff\xfe"}}'.decode("latin-1"),
        "oid-first-arc": document({"managementAddresses": [
            {"subtype": "ipV4", "address": "192.0.2.1", "oid": "3.1"}]}),
        "oid-second-arc": document({"managementAddresses": [
            {"subtype": "ipV4", "address": "192.0.2.1", "oid": "1.40"}]}),
        "oid-huge-arc": document({"managementAddresses": [
            {"subtype": "ipV4", "address": "192.0.2.1", "oid": "2.4294967216.1"}]}),
        "oid-129-arcs": document({"managementAddresses": [
            {"subtype": "ipV4", "address": "192.0.2.1", "oid": ".".join(["1"] * 129)}]}),
        "man-address-32-bytes": document({"managementAddresses": [
            {"subtype": 6, "address": {"hex": "02" * 32}}]}),
        "man-address-duplicate": document({"managementAddresses": [
            {"subtype": "ipV4", "address": "192.0.2.1"}, {"subtype": 1, "address": "192.0.2.1"}]}),
        "unknown-tlv-type-8": document({"unknownTlvs": [{"type": 8, "info": "i"}]}),
        "unknown-tlv-type-127": document({"unknownTlvs": [{"type": 127, "info": "i"}]}),
        "unknown-tlv-512-bytes": document({"unknownTlvs": [{"type": 9, "info": "i" * 512}]}),
        "vlan-id-0": document({"dot1": {"vlanNames": [{"id": 0, "name": "v"}]}}),
        "vlan-id-4095": document(interface={"local": {"vlanNames": [{"id": 4095, "name": "v"}]}}),
        "proto-vlan-65535": document(interface={"local": {"protoVlans": [{"id": 65535}]}}),
        "vlan-name-33-bytes": document(interface={"local": {"vlanNames": [{"id": 5, "name": "v" * 33}]}}),
        "port-number-4095": '{"localSystem": {"chassisIdSubtype": 7, "chassisId": "x"}, '
                            '"interfaces": [{"name": "e", "portNum": 4095}]}',
        "time-2100": document({"lastChangeTime": 4102444800}),
        "time-1e20": document({"lastChangeTime": 1e20}),
        "time-1e300": document(top={"status": {"remTablesLastChangeTime": 1e300}}),
        "time-negative": document({"lastChangeTime": -1}),
        "index-0": document({"index": 0}),
        "index-2-31": document({"index": 2147483648}),
        "latitude-91": document(interface={"local": {"med": {"locations": [
            {"coordinates": {"latitude": 91, "longitude": 0}}]}}}),
        "elin-letters": document(interface={"local": {"med": {"locations": [
            {"elin": "12345abcde\n\u001b[31m"}]}}}),
        "civic-long": document(interface={"local": {"med": {"locations": [
            {"civicAddress": {"country": "US", "elements": [
                {"type": 1, "value": "v" * 200}, {"type": 2, "value": "w" * 200}]}}]}}}),
        "policy-app-9": document(interface={"local": {"med": {"policies": [{"appType": 9}]}}}),
    }
    shutil.copy(repo / "examples" / "switch.json", out("fuzz_state_parser") / "example-switch")
    for name, text in seeds.items():
        (out("fuzz_state_parser") / name).write_bytes(text.encode("utf-8", "surrogateescape")
                                                       if isinstance(text, str) else text)


def sub(value):
    """One sub-identifier as fuzz_table_index reads it."""
    if value < 0xf0:
        return bytes([value])
    return b"\xf3" + struct.pack(">I", value)


def oid_seed(table, arcs, steps=8, mark=0):
    return bytes([table, 0, len(arcs)]) + b"".join(sub(a) for a in arcs) + sub(mark) + bytes([steps])


def raw_seed(table, items, steps=8):
    body = bytes([table, 1, len(items)])
    for kind, value in items:
        if kind == "octets":
            body += bytes([3, len(value)]) + value
        else:
            body += bytes([{"integer": 0, "unsigned": 1, "timeticks": 2}[kind]]) + sub(value)
    return body + sub(0) + bytes([steps])


def index_seeds():
    seeds = {}
    for table in range(48):
        seeds[f"t{table}-empty"] = oid_seed(table, [])
        seeds[f"t{table}-port1"] = oid_seed(table, [1])
        seeds[f"t{table}-mark0-port1-index1"] = oid_seed(table, [0, 1, 1])
        seeds[f"t{table}-port1-ipv4"] = oid_seed(table, [1, 1, 4, 192, 0, 2, 1])
        seeds[f"t{table}-mark0-port1-index1-ipv4"] = oid_seed(table, [0, 1, 1, 1, 4, 192, 0, 2, 1])
        seeds[f"t{table}-oui"] = oid_seed(table, [0, 1, 1, 0, 0x12, 0xbb, 1, 1])
        seeds[f"t{table}-huge"] = oid_seed(table, [0xffffffff, 0x80000000, 0x7fffffff, 300])
        seeds[f"t{table}-raw-octets"] = raw_seed(table, [("integer", 1), ("octets", b"\x00\x12\xbb")])
        seeds[f"t{table}-raw-types"] = raw_seed(
            table, [("timeticks", 0), ("unsigned", 5), ("integer", 0xffffffff)])
    for name, data in seeds.items():
        (out("fuzz_table_index") / name).write_bytes(data)


def out(target):
    folder = root / "corpus" / target
    folder.mkdir(parents=True, exist_ok=True)
    return folder


if __name__ == "__main__":
    parser_seeds()
    index_seeds()
