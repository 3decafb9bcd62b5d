"""LLDP-EXT-DOT1-MIB and LLDP-EXT-DOT3-MIB through the running daemon, and a walk of all three
modules together."""

import copy

import pytest

import tables_support as ts
from tables_support import (DOT1, DOT3, REM, X1_CONFIG_PORT_VLAN, X1_REM_VLAN_NAME,
                            X3_PORT_CONFIG, X3_REM_PORT, X3_REM_POWER, entry)

LONG_AGO = 1700000000.0


def neighbour(index, **fields):
    n = {"index": index, "lastChangeTime": LONG_AGO, "chassisIdSubtype": "local",
         "chassisId": "chassis-%d" % index, "portIdSubtype": "local", "portId": "port-%d" % index}
    n.update(fields)
    return n


def extension_state():
    full = neighbour(
        1, sysName="spine1",
        managementAddresses=[{"subtype": "ipV4", "address": "192.0.2.10"}],
        unknownTlvs=[{"type": 9, "info": {"hex": "0102"}}],
        orgDefTlvs=[{"oui": "00-12-bb", "subtype": 1, "index": 1, "info": {"hex": "00"}}],
        dot1={"portVlanId": 10,
              "protoVlans": [{"id": 4094, "supported": True, "enabled": True},
                             {"id": 0, "supported": True, "enabled": False}],
              "vlanNames": [{"id": 20, "name": "servers"}, {"id": 10, "name": "users"},
                            {"id": 4094, "name": "v" * 32}],
              "protocols": [{"index": 2, "id": {"hex": "0026424203000000"}},
                            {"index": 1, "id": "stp"}]},
        dot3={"macPhy": {"autoNegSupported": True, "autoNegEnabled": False,
                         "autoNegAdvertisedCap": "0x6c00", "operMauType": 30},
              "power": {"portClass": "pClassPSE", "mdiSupported": True, "mdiEnabled": False,
                        "pairControllable": True, "pairs": "signal", "class": "class0"},
              "linkAgg": {"status": ["capable", "enabled"], "portId": 12},
              "maxFrameSize": 9216})
    no_power = neighbour(
        2, dot1={"vlanNames": [{"id": 1, "name": "default"}]},
        dot3={"macPhy": {"autoNegSupported": False, "autoNegEnabled": True,
                         "autoNegAdvertisedCap": "0x8001", "operMauType": 16},
              "linkAgg": {"status": [], "portId": 0}})
    only_power = neighbour(
        5, dot1={"portVlanId": 4094, "protoVlans": [{"id": 7}]},
        dot3={"macPhy": {"autoNegAdvertisedCap": "0x0000"},
              "power": {"portClass": "pClassPD", "mdiSupported": False, "mdiEnabled": True,
                        "pairControllable": False, "pairs": "spare", "class": "class4"},
              "maxFrameSize": 1518})
    plain = neighbour(3)
    return {
        "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "00:1c:73:00:00:99",
                        "managementAddresses": [{"subtype": "ipV4", "address": "192.0.2.1",
                                                 "priority": 1}]},
        "interfaces": [
            {"name": "Ethernet7", "portNum": 7,
             "config": {"dot3TlvsTxEnable": [], "portVlanTxEnable": False,
                        "manAddrTxEnable": True},
             "local": {"portVlanId": 0, "linkAggStatus": [], "maxFrameSize": 0},
             "neighbors": [plain]},
            {"name": "Ethernet1", "portNum": 1,
             "config": {"dot3TlvsTxEnable": ["macPhyConfigStatus", "maxFrameSize"],
                        "portVlanTxEnable": True},
             "local": {"portVlanId": 10, "linkAggStatus": ["aggCapable"], "linkAggPortId": 0,
                       "maxFrameSize": 9236},
             "neighbors": [no_power, full]},
            {"name": "Ethernet2", "portNum": 2,
             "config": {"dot3TlvsTxEnable": ["macPhyConfigStatus", "powerViaMDI",
                                             "linkAggregation", "maxFrameSize"],
                        "portVlanTxEnable": False},
             "local": {"portVlanId": 4094, "linkAggStatus": ["aggCapable", "aggEnabled"],
                       "linkAggPortId": 1001, "maxFrameSize": 1518},
             "neighbors": [only_power]},
        ],
    }


@pytest.fixture(scope="module")
def switch(tmp_path_factory):
    state = extension_state()
    daemon = ts.start_for_module(tmp_path_factory, state, config_lines=[])
    yield daemon, state
    daemon.stop()


@pytest.fixture
def fresh_daemon(start_daemon):
    def start(state, **kwargs):
        return ts.start(start_daemon, state, **kwargs)

    return start


MODULES = {"LLDP-EXT-DOT1-MIB": (DOT1, ts.expected_dot1),
           "LLDP-EXT-DOT3-MIB": (DOT3, ts.expected_dot3)}


class TestWalks:
    @pytest.mark.parametrize("module", list(MODULES))
    def test_walk_matches_state(self, switch, module):
        daemon, state = switch
        subtree, build = MODULES[module]
        walked = daemon.agent.walk(subtree)
        ts.assert_increasing(walked)
        ts.compare_tables(ts.as_dict(walked), build(state))

    @pytest.mark.skipif(ts.mib_dirs() is None, reason="LLDP_MIBDIRS not set")
    @pytest.mark.parametrize("module", list(MODULES))
    def test_values_fit_the_mib(self, switch, module):
        daemon, state = switch
        subtree, build = MODULES[module]
        text = daemon.agent.mib_walk(subtree)
        assert "Wrong Type" not in text
        assert len([l for l in text.splitlines() if l.startswith(".")]) == len(build(state))

    def test_whole_lldp_subtree(self, switch):
        """All three modules in one walk: OIDs strictly increase (snmpwalk stops otherwise)
        and every table of the three modules is there, with the rows the state gives it."""
        daemon, state = switch
        walked = daemon.agent.walk(ts.LLDP)
        ts.assert_increasing(walked)
        expected = {}
        for build in (ts.expected_port_config, ts.expected_config_man_addr,
                      ts.expected_stats_tx, ts.expected_stats_rx, ts.expected_loc_port,
                      ts.expected_loc_man_addr, ts.expected_rem, ts.expected_rem_man_addr,
                      ts.expected_rem_unknown_tlv, ts.expected_rem_org_def_info,
                      ts.expected_dot1, ts.expected_dot3):
            expected.update(build(state))
        tables = [ts.PORT_CONFIG, ts.CONFIG_MAN_ADDR, ts.STATS_TX_PORT, ts.STATS_RX_PORT,
                  ts.LOC_PORT, ts.LOC_MAN_ADDR, ts.REM, ts.REM_MAN_ADDR, ts.REM_UNKNOWN_TLV,
                  ts.REM_ORG_DEF_INFO, ts.X1_CONFIG_PORT_VLAN, ts.X1_LOC, ts.X1_REM,
                  ts.X1_REM_PROTO_VLAN, ts.X1_REM_VLAN_NAME, ts.X1_REM_PROTOCOL,
                  ts.X3_PORT_CONFIG, ts.X3_LOC_LINK_AGG, ts.X3_LOC_MAX_FRAME, ts.X3_REM_PORT,
                  ts.X3_REM_POWER, ts.X3_REM_LINK_AGG, ts.X3_REM_MAX_FRAME]
        for table in tables:
            want = ts.table_rows(expected, table)
            assert want, "the state gives %s no row" % ts.dotted(table)
            ts.compare_tables(ts.as_dict(ts.under(walked, table)), want)
        # Beside the scalars (three sub-identifiers below lldpObjects) there is nothing else.
        rows = [v for v in walked if len(v.oid) > len(ts.LLDP_OBJECTS) + 3]
        assert len(rows) == len(expected)

    @pytest.mark.parametrize("option", ["-Cr1", "-Cr10", "-Cr50"])
    def test_getbulk_gives_the_walk(self, switch, option):
        daemon, _ = switch
        reference = daemon.agent.walk_text("snmpwalk", ts.LLDP)
        assert daemon.agent.walk_text("snmpbulkwalk", ts.LLDP, extra=[option]) == reference


class TestNeighbourTables:
    def test_neighbour_without_power_is_only_missing_from_the_power_table(self, switch):
        daemon, state = switch
        agent = daemon.agent
        assert agent.get_one(entry(REM, 5, 0, 1, 2)).type == "Hex-STRING"
        assert agent.get_one(entry(X3_REM_PORT, 1, 0, 1, 2)).type == "INTEGER"
        for column in range(1, 7):
            assert agent.get_one(entry(X3_REM_POWER, column, 0, 1, 2)).type == "noSuchInstance"
        # GETNEXT from the neighbour before it steps over it.
        (after,) = agent.getnext(entry(X3_REM_POWER, 1, 0, 1, 1))
        assert after.oid == entry(X3_REM_POWER, 1, 0, 2, 5)

    def test_neighbour_without_extension_tlvs_is_in_no_extension_table(self, switch):
        daemon, _ = switch
        walked = daemon.agent.walk(DOT1) + daemon.agent.walk(DOT3)
        remote = [v for v in walked if len(v.oid) > len(ts.X1_REM) + 4]
        assert remote
        assert not [v for v in remote if v.oid[len(ts.X1_REM) + 2:len(ts.X1_REM) + 5] == (0, 7, 3)]
        assert daemon.agent.get_one(entry(REM, 5, 0, 7, 3)).type == "Hex-STRING"

    def test_getnext_from_vlan_name_table_gives_first_neighbour_vlan(self, switch):
        daemon, state = switch
        (first,) = daemon.agent.getnext(X1_REM_VLAN_NAME)
        port, n = ts.neighbours(state)[0]
        vlan = min(v["id"] for v in n["dot1"]["vlanNames"])
        assert first.oid == entry(X1_REM_VLAN_NAME, 2, 0, port, n["index"], vlan)
        assert len(first.oid) - len(entry(X1_REM_VLAN_NAME, 2)) == 4
        name = [v["name"] for v in n["dot1"]["vlanNames"] if v["id"] == vlan][0]
        assert (first.type, first.value) == ("Hex-STRING", name.encode())

    @pytest.mark.parametrize("port,index", [(1, 1), (1, 2), (2, 5)])
    def test_advertised_capability_is_two_octets_as_given(self, switch, port, index):
        daemon, state = switch
        n = [n for p, n in ts.neighbours(state) if (p, n["index"]) == (port, index)][0]
        cap = int(n["dot3"]["macPhy"]["autoNegAdvertisedCap"], 16)
        got = daemon.agent.get_one(entry(X3_REM_PORT, 3, 0, port, index))
        assert (got.type, got.value) == ("Hex-STRING", bytes([cap >> 8, cap & 0xFF]))


class TestRefusals:
    @pytest.mark.parametrize("oid,type_,value", [
        (entry(X1_CONFIG_PORT_VLAN, 1, 1), "i", 2),
        (entry(X1_CONFIG_PORT_VLAN, 1, 2), "i", 1),
        (entry(X3_PORT_CONFIG, 1, 1), "x", "F0"),
    ])
    def test_set_is_not_writable(self, switch, oid, type_, value):
        daemon, _ = switch
        before = daemon.agent.get_one(oid)
        result = daemon.agent.set(oid, type_, value)
        assert ts.error_status(result) == "notWritable", result.stdout + result.stderr
        after = daemon.agent.get_one(oid)
        assert (after.type, after.value) == (before.type, before.value)

    @pytest.mark.parametrize("oid", [
        entry(X1_CONFIG_PORT_VLAN, 2, 1),
        entry(X1_REM_VLAN_NAME, 1, 0, 1, 1, 10),
        entry(X3_REM_POWER, 7, 0, 1, 1),
    ])
    def test_column_outside_the_table_is_no_such_object(self, switch, oid):
        daemon, _ = switch
        assert daemon.agent.get_one(oid).type == "noSuchObject"


def vlan_name_state(name):
    state = extension_state()
    plain = state["interfaces"][0]["neighbors"][0]
    plain["dot1"] = {"vlanNames": [{"id": 5, "name": name}, {"id": 6, "name": "fine"}]}
    return state


@pytest.mark.parametrize("name", ["", "n" * 33], ids=["empty", "33-bytes"])
def test_vlan_name_out_of_bounds_fails_that_instance_only(fresh_daemon, name):
    daemon = fresh_daemon(vlan_name_state(name))
    result = daemon.agent.raw("snmpget", [ts.dotted(entry(X1_REM_VLAN_NAME, 2, 0, 7, 3, 5))])
    assert ts.error_status(result) == "genError", result.stdout + result.stderr
    got = daemon.agent.get_one(entry(X1_REM_VLAN_NAME, 2, 0, 7, 3, 6))
    assert (got.type, got.value) == ("Hex-STRING", b"fine")
    got = daemon.agent.get_one(entry(X1_REM_VLAN_NAME, 2, 0, 1, 1, 10))
    assert (got.type, got.value) == ("Hex-STRING", b"users")


def test_a_vlan_name_added_in_the_file_adds_one_row(fresh_daemon):
    state = extension_state()
    daemon = fresh_daemon(state)
    before = ts.as_dict(daemon.agent.walk(X1_REM_VLAN_NAME))
    changed = copy.deepcopy(state)
    changed["interfaces"][2]["neighbors"][0]["dot1"]["vlanNames"] = [{"id": 30, "name": "voice"}]
    daemon.rewrite(changed)
    new = entry(X1_REM_VLAN_NAME, 2, 0, 2, 5, 30)
    ts.wait_until(lambda: daemon.agent.get_one(new).type == "Hex-STRING", message="VLAN 30")
    after = ts.as_dict(daemon.agent.walk(X1_REM_VLAN_NAME))
    assert set(after) - set(before) == {new}
    assert set(before) <= set(after)
    ts.compare_tables(after, ts.table_rows(ts.expected_dot1(changed), X1_REM_VLAN_NAME))
