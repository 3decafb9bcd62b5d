"""The state file: what lldp-snmpd refuses (whole, naming the file, the JSON path and the reason)
and the alternative spellings it accepts, checked through what it then serves."""

import copy
import json
import random
import subprocess

import pytest

from conftest import READY_TIMEOUT, REPO, daemon_binary, neighbor, poll

LLDP = "1.0.8802.1.1.2"


def first_neighbor(state):
    return state["interfaces"][0]["neighbors"][0]


def set_path(*keys_and_value):
    """A mutation that sets state[k1][k2]... = value."""
    *keys, value = keys_and_value

    def mutate(state):
        target = state
        for key in keys[:-1]:
            target = target[key]
        target[keys[-1]] = value

    return mutate


def on_neighbor(key, value):
    def mutate(state):
        first_neighbor(state)[key] = value

    return mutate


# (id, mutation of a valid state or a raw text, JSON path, reason)
REFUSED = [
    ("port number above 4094", set_path("interfaces", 0, "portNum", 4095),
     "$.interfaces[0].portNum", "4095 is out of range (1..4094)"),
    ("port number 0", set_path("interfaces", 0, "portNum", 0),
     "$.interfaces[0].portNum", "out of range (1..4094)"),
    ("port number used twice", set_path("interfaces", 1, "portNum", 1),
     "$.interfaces[1].portNum", "duplicate portNum"),
    ("interface name used twice", set_path("interfaces", 1, "name", "Ethernet1"),
     "$.interfaces[1].name", "duplicate interface name"),
    ("VLAN id 0", on_neighbor("dot1", {"vlanNames": [{"id": 0, "name": "none"}]}),
     "$.interfaces[0].neighbors[0].dot1.vlanNames[0].id",
     "VlanId::value < 1 or > 4094 not allowed"),
    ("port-and-protocol VLAN id 4095", on_neighbor("dot1", {"protoVlans": [{"id": 4095}]}),
     "$.interfaces[0].neighbors[0].dot1.protoVlans[0].id",
     "VlanIdOrNone::value > 4094 not allowed"),
    ("unknown TLV type 8", on_neighbor("unknownTlvs", [{"type": 8, "info": "x"}]),
     "$.interfaces[0].neighbors[0].unknownTlvs[0]", "UnknownTlv::type < 9 or > 126 not allowed"),
    ("unknown TLV information of 512 bytes",
     on_neighbor("unknownTlvs", [{"type": 9, "info": {"hex": "00" * 512}}]),
     "$.interfaces[0].neighbors[0].unknownTlvs[0]", "BoundedString511::bytes > 511 not allowed"),
    ("management address of 32 bytes",
     on_neighbor("managementAddresses", [{"subtype": "other", "address": {"hex": "01" * 32}}]),
     "$.interfaces[0].neighbors[0].managementAddresses[0].address",
     "ManAddress::bytes > 31 not allowed"),
    ("misspelt key", set_path("localSystem", "sysname", "leaf1"),
     "$.localSystem.sysname", "unknown key; expected one of: chassisIdSubtype"),
    ("misspelt top-level key", set_path("interface", []), "$.interface", "unknown key"),
    ("number as text", set_path("config", "messageTxInterval", "30"),
     "$.config.messageTxInterval", "expected an integer, found the string \"30\""),
    ("integer out of its type", set_path("config", "txDelay", 2 ** 31),
     "$.config.txDelay", "out of range"),
    ("fraction for an integer", set_path("config", "txDelay", 2.5),
     "$.config.txDelay", "expected an integer"),
    ("counter below 0", set_path("status", "remTablesDrops", -1),
     "$.status.remTablesDrops", "out of range (0..4294967295)"),
    ("unknown enumeration name", set_path("localSystem", "chassisIdSubtype", "mac"),
     "$.localSystem.chassisIdSubtype", "unknown name \"mac\"; expected one of: chassisComponent"),
    ("unknown bit name", set_path("localSystem", "sysCapSupported", ["bridge", "switch"]),
     "$.localSystem.sysCapSupported[1]", "unknown bit name \"switch\""),
    ("bit number past the set", set_path("localSystem", "sysCapEnabled", [16]),
     "$.localSystem.sysCapEnabled[0]", "out of range (0..15)"),
    ("TLV bit number past the set",
     set_path("interfaces", 0, "config", "tlvsTxEnable", [4]),
     "$.interfaces[0].config.tlvsTxEnable[0]", "out of range (0..3)"),
    ("bits not in a list", set_path("localSystem", "sysCapEnabled", "bridge"),
     "$.localSystem.sysCapEnabled", "expected an array"),
    ("MAC address of five bytes", set_path("localSystem", "chassisId", "00:1c:73:00:00"),
     "$.localSystem.chassisId", "expected a MAC address"),
    ("IPv4 address that is not one",
     set_path("localSystem", "managementAddresses", 0, "address", "192.0.2.300"),
     "$.localSystem.managementAddresses[0].address", "expected an IPv4 address"),
    ("IPv6 address that is not one",
     on_neighbor("managementAddresses", [{"subtype": "ipV6", "address": "2001:db8::g"}]),
     "$.interfaces[0].neighbors[0].managementAddresses[0].address", "expected an IPv6 address"),
    ("hex with a stray letter", set_path("localSystem", "sysDesc", {"hex": "0g"}),
     "$.localSystem.sysDesc.hex", "not a hex string"),
    ("hex of odd length", set_path("localSystem", "sysDesc", {"hex": "abc"}),
     "$.localSystem.sysDesc.hex", "odd number of hex digits"),
    ("hex object with another key", set_path("localSystem", "sysDesc", {"hex": "ab", "x": 1}),
     "$.localSystem.sysDesc.x", "unknown key"),
    ("missing port id of a neighbour",
     lambda s: first_neighbor(s).pop("portId"),
     "$.interfaces[0].neighbors[0]", "missing key \"portId\""),
    ("missing local system", lambda s: s.pop("localSystem"), "$", "missing key \"localSystem\""),
    ("neighbour index used twice on an interface",
     lambda s: s["interfaces"][0]["neighbors"].append(
         neighbor(1, "other", "00:00:00:00:00:01", "p1")),
     "$.interfaces[0].neighbors[1].index", "duplicate neighbour index"),
    ("neighbour index 0", on_neighbor("index", 0),
     "$.interfaces[0].neighbors[0].index", "out of range (1..2147483647)"),
    ("management address priority used twice",
     lambda s: s["localSystem"]["managementAddresses"].append(
         {"subtype": "ipV4", "address": "192.0.2.2", "priority": 1}),
     "$.localSystem.managementAddresses[1].priority", "duplicate priority"),
    ("same management address twice",
     lambda s: s["localSystem"]["managementAddresses"].append(
         {"subtype": "ipV4", "address": "192.0.2.1"}),
     "$.localSystem.managementAddresses[1]", "duplicate management address"),
    ("OID that is not one",
     set_path("localSystem", "managementAddresses", 0, "oid", "1.3.x"),
     "$.localSystem.managementAddresses[0].oid", "expected an OID"),
    ("negative time", on_neighbor("lastChangeTime", -1),
     "$.interfaces[0].neighbors[0].lastChangeTime", "is not a time"),
    ("OUI without separators",
     on_neighbor("orgDefTlvs", [{"oui": "0012bb", "subtype": 1, "index": 1, "info": "x"}]),
     "$.interfaces[0].neighbors[0].orgDefTlvs[0].oui", "expected an OUI"),
    ("true as a number", set_path("interfaces", 0, "config", "notificationEnable", 1),
     "$.interfaces[0].config.notificationEnable", "expected true or false"),
    ("empty interface name", set_path("interfaces", 0, "name", ""),
     "$.interfaces[0].name", "expected an interface name"),
    ("a key given twice",
     "{\"localSystem\": {\"chassisIdSubtype\": 4, \"chassisId\": \"00:00:00:00:00:01\", "
     "\"sysName\": \"a\", \"sysName\": \"b\"}}",
     "$.localSystem.sysName", "duplicate key"),
    ("not JSON", "{\n  \"config\": {\n    \"txDelay\": 2,\n  }\n}", "line 4, column 3",
     "not valid JSON"),
    ("not an object", "[]", "$", "expected an object, found an array"),
]


@pytest.fixture
def valid_state(base_state):
    state = copy.deepcopy(base_state)
    first_neighbor(state).update({
        "unknownTlvs": [{"type": 9, "info": {"hex": "0102"}}],
        "dot1": {"portVlanId": 1, "vlanNames": [{"id": 10, "name": "users"}]},
    })
    return state


class TestRefused:
    @pytest.mark.parametrize("mutation, path, reason", [c[1:] for c in REFUSED],
                             ids=[c[0] for c in REFUSED])
    def test_a_bad_file_is_refused_whole_with_the_file_path_and_reason(
            self, tmp_path, valid_state, mutation, path, reason):
        if isinstance(mutation, str):
            text = mutation
        else:
            mutation(valid_state)
            text = json.dumps(valid_state)
        state_file = tmp_path / "state.json"
        state_file.write_text(text)
        proc = subprocess.run([str(daemon_binary()), "--listen", "udp:127.0.0.1:0",
                               "--state", str(state_file)],
                              capture_output=True, text=True, timeout=READY_TIMEOUT)
        assert proc.returncode == 1, proc
        lines = [l for l in proc.stderr.splitlines() if "refusing state file" in l]
        assert len(lines) == 1, proc.stderr
        assert f"refusing state file {state_file}: {path}: " in lines[0], lines[0]
        assert reason in lines[0], lines[0]

    def test_the_unchanged_state_is_accepted(self, start_daemon, valid_state):
        # The cases above fail because of their one change, not because of the base.
        daemon = start_daemon(valid_state)
        assert "applied state file" in daemon.log()


def walked(daemon, column):
    """{index suffix: value} of one column; empty when the column has no rows."""
    prefix = column + "."
    return {o[len(prefix):]: v for o, (_, v) in daemon.walk(column).values().items()
            if o.startswith(prefix)}


class TestAccepted:
    def test_alternative_spellings_mean_the_same_bytes_and_numbers(self, start_daemon,
                                                                   base_state):
        state = base_state
        state["localSystem"].update({"chassisIdSubtype": 7, "chassisId": {"hex": "00a1fF"}})
        intf = state["interfaces"][0]
        intf["config"] = {"adminStatus": 2, "tlvsTxEnable": [0, "sysName"]}
        intf["local"] = {"portIdSubtype": "macAddress", "portId": "aa-bb-cc-dd-ee-ff",
                         "linkAggStatus": ["aggCapable", "enabled"]}
        n = first_neighbor(state)
        n["managementAddresses"] = [{"subtype": "ipV6", "address": "2001:db8::1"}]
        n["orgDefTlvs"] = [
            {"oui": "00:12:bb", "subtype": 1, "index": 1, "info": "a"},
            {"oui": 4795, "subtype": 2, "index": 1, "info": {"hex": "62"}},
            {"oui": {"hex": "0012bb"}, "subtype": 3, "index": 1, "info": "c"},
        ]
        n["dot3"] = {"macPhy": {"autoNegSupported": True, "autoNegAdvertisedCap": 27648},
                     "power": {"portClass": 2, "pairs": "spare", "class": "class4"}}
        daemon = start_daemon(state)

        chassis = daemon.get(f"{LLDP}.1.3.2.0").values()[f"{LLDP}.1.3.2.0"][1]
        assert chassis.strip() == "00 A1 FF"
        assert walked(daemon, f"{LLDP}.1.1.6.1.2")["1"] == "2"
        assert walked(daemon, f"{LLDP}.1.1.6.1.4")["1"].strip() == "C0"
        assert walked(daemon, f"{LLDP}.1.3.7.1.3")["1"].strip() == "AA BB CC DD EE FF"
        assert walked(daemon, f"{LLDP}.1.5.4623.1.2.3.1.1")["1"].strip() == "C0"

        # lldpRemManAddrIfSubtype.<timeMark>.<port>.<index>.<subtype>.<length>.<address>
        ipv6 = "2.16.32.1.13.184.0.0.0.0.0.0.0.0.0.0.0.1"
        rows = walked(daemon, f"{LLDP}.1.4.2.1.3")
        assert [k.split(".", 3)[3] for k in rows if k.split(".")[1] == "1"] == [ipv6]

        # lldpRemOrgDefInfo.<timeMark>.<port>.<index>.<oui>.<subtype>.<index>
        infos = walked(daemon, f"{LLDP}.1.4.4.1.4")
        assert sorted((k.split(".", 3)[3], v) for k, v in infos.items()) == [
            ("0.18.187.1.1", '"a"'), ("0.18.187.2.1", '"b"'), ("0.18.187.3.1", '"c"')]

        caps = walked(daemon, f"{LLDP}.1.5.4623.1.3.1.1.3")
        assert [v.strip() for k, v in caps.items() if k.split(".")[1] == "1"] == ["6C 00"]
        power = daemon.walk(f"{LLDP}.1.5.4623.1.3.2.1").values()
        by_column = {o.split(".")[-4]: v for o, (_, v) in power.items()
                     if o.split(".")[-2] == "1"}
        assert (by_column["1"], by_column["5"], by_column["6"]) == ("2", "2", "5")

    def test_a_neighbour_without_optional_tlvs_is_in_no_extension_table(self, start_daemon,
                                                                        base_state):
        first_neighbor(base_state)["dot1"] = {"portVlanId": 7}
        first_neighbor(base_state)["dot3"] = {"maxFrameSize": 9216}
        daemon = start_daemon(base_state)
        # Only the first neighbour (port 1) sent these TLVs.
        vlan = walked(daemon, f"{LLDP}.1.5.32962.1.3.1.1.1")
        assert [(k.split(".")[1], v) for k, v in vlan.items()] == [("1", "7")]
        frames = walked(daemon, f"{LLDP}.1.5.4623.1.3.4.1.1")
        assert [(k.split(".")[1], v) for k, v in frames.items()] == [("1", "9216")]
        assert walked(daemon, f"{LLDP}.1.5.4623.1.3.1.1.1") == {}
        # When the neighbour stops sending them, it leaves those tables.
        del first_neighbor(base_state)["dot1"]
        del first_neighbor(base_state)["dot3"]
        daemon.rewrite_state(base_state)
        assert poll(lambda: walked(daemon, f"{LLDP}.1.5.32962.1.3.1.1.1") == {}, READY_TIMEOUT)
        assert walked(daemon, f"{LLDP}.1.5.4623.1.3.4.1.1") == {}


JUNK = [None, True, False, -1, 0, 4095, 2 ** 31, 2 ** 64, 1.5, "", "x", "00:11",
        "192.0.2.300", {"hex": "zz"}, {"hex": "00" * 40}, [], {}, ["bridge", 99], [1, 1]]


def nodes(value, path=()):
    """Every (path, value) in a JSON document."""
    yield path, value
    if isinstance(value, dict):
        for k, v in value.items():
            yield from nodes(v, path + (k,))
    elif isinstance(value, list):
        for i, v in enumerate(value):
            yield from nodes(v, path + (i,))


def damaged(state, rng):
    """The state with one or two random changes: a member gone, a value replaced by junk, a
    list element repeated, or a stray key."""
    doc = copy.deepcopy(state)
    for _ in range(rng.randint(1, 2)):
        path, _ = rng.choice([n for n in nodes(doc) if n[0]])
        parent = doc
        for key in path[:-1]:
            parent = parent[key]
        last = path[-1]
        action = rng.randrange(4)
        if action == 0:
            del parent[last]
        elif action == 1:
            parent[last] = copy.deepcopy(rng.choice(JUNK))
        elif action == 2 and isinstance(parent, list):
            parent.append(copy.deepcopy(parent[last]))
        elif isinstance(parent[last], dict):
            parent[last]["stray"] = 1
        else:
            parent[last] = copy.deepcopy(rng.choice(JUNK))
    return doc


class TestRobustness:
    def test_a_stream_of_damaged_files_never_stops_the_daemon(self, start_daemon):

        state = json.loads((REPO / "examples" / "switch.json").read_text())
        daemon = start_daemon(state)
        rng = random.Random(20251122)

        def handled():
            log = daemon.log()
            return log.count("applied state file") + log.count("refusing state file")

        for round_ in range(120):
            before = handled()
            daemon.rewrite_state(damaged(state, rng))
            assert poll(lambda: handled() > before, READY_TIMEOUT), (round_, daemon.log()[-2000:])
            assert daemon.proc.poll() is None, daemon.log()[-2000:]
        log = daemon.log()
        assert "failed" not in log, log[-3000:]
        assert log.count("refusing state file") > 10, "the damage should mostly be refused"
        assert log.count("applied state file") > 10, "some damage is still a valid state"

        # Back to the original: served whole and in order again.
        daemon.rewrite_state(state)
        sys_name = f"{LLDP}.1.3.3.0"
        assert poll(lambda: daemon.get(sys_name).values().get(sys_name, ("", ""))[1]
                    == '"leaf1.dc1.example.net"', READY_TIMEOUT)
        walk = daemon.walk(LLDP)
        assert walk.ok and walk.stdout == daemon.bulkwalk(LLDP, reps=30).stdout
        daemon.stop()
