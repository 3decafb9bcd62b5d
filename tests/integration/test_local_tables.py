"""The six LLDP-MIB tables of the local system, through the running daemon.

Port configuration, management-address transmit configuration, transmit and receive statistics,
local ports and local management addresses: every value is derived from the state file the test
wrote and compared with what net-snmp's tools get back.
"""

import copy

import pytest

import tables_support as ts
from tables_support import (CONFIG_MAN_ADDR, LOC_MAN_ADDR, LOC_PORT, PORT_CONFIG, STATS_RX_PORT,
                            STATS_TX_PORT, entry)

ADDR_A = {"subtype": "ipV4", "address": "192.0.2.1", "ifSubtype": "ifIndex", "ifId": 1,
          "oid": "1.3.6.1.2.1.2.2.1.1.1", "priority": 1}
ADDR_B = {"subtype": "ipV6", "address": "2001:db8::1", "ifSubtype": "systemPortNumber",
          "ifId": 7, "oid": "1.3.6.1.4.1.99999.1", "priority": 2}
ADDR_C = {"subtype": "ipV4", "address": "198.51.100.7", "ifSubtype": "ifIndex", "ifId": 3}
ADDR_D = {"subtype": "all802", "address": {"hex": "001c73000099"}, "priority": 3}

ADMIN = ["txOnly", "rxOnly", "txAndRx", "disabled"]
TLV_SETS = [[], ["portDesc"], ["sysName", "sysCap"], ["portDesc", "sysName", "sysDesc", "sysCap"]]


def interface(port, tx_man_addr=False):
    k = port % 4
    intf = {
        "name": "Ethernet%d" % port,
        "portNum": port,
        "config": {"adminStatus": ADMIN[k], "notificationEnable": k % 2 == 1,
                   "tlvsTxEnable": TLV_SETS[k], "manAddrTxEnable": tx_man_addr},
        "local": {"portDesc": "to rack %d" % port if k else ""},
        "statistics": {"txFramesTotal": port * 1000 + 1, "rxFramesDiscardedTotal": port * 1000 + 2,
                       "rxFramesErrors": port * 1000 + 3, "rxFramesTotal": port * 1000 + 4,
                       "rxTLVsDiscardedTotal": port * 1000 + 5,
                       "rxTLVsUnrecognizedTotal": port * 1000 + 6,
                       "rxAgeoutsTotal": port * 1000 + 7},
    }
    return intf


def local_state():
    """A switch whose interfaces are listed out of port order, with names that sort otherwise."""
    ports = [10, 2, 1, 4094, 3, 200, 9, 11]
    interfaces = [interface(p, tx_man_addr=p in (1, 10)) for p in ports]
    by_port = {i["portNum"]: i for i in interfaces}
    by_port[2]["local"].update({"portIdSubtype": "macAddress", "portId": "00:1c:73:aa:bb:02"})
    by_port[3]["local"].update({"portIdSubtype": "local", "portId": {"hex": "00ff10"}})
    by_port[9]["local"]["portDesc"] = {"hex": "00ff"}
    # The largest values of both types.
    by_port[4094]["statistics"].update({"txFramesTotal": ts.UINT32_MAX,
                                        "rxAgeoutsTotal": ts.UINT32_MAX,
                                        "rxFramesTotal": ts.UINT32_MAX})
    return {
        "config": {"messageTxInterval": 30},
        "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "00:1c:73:00:00:99",
                        "sysName": "leaf1",
                        "managementAddresses": [ADDR_C, ADDR_A, ADDR_D, ADDR_B]},
        "interfaces": interfaces,
    }


EXPECTED = {
    "lldpPortConfigTable": (PORT_CONFIG, ts.expected_port_config),
    "lldpConfigManAddrTable": (CONFIG_MAN_ADDR, ts.expected_config_man_addr),
    "lldpStatsTxPortTable": (STATS_TX_PORT, ts.expected_stats_tx),
    "lldpStatsRxPortTable": (STATS_RX_PORT, ts.expected_stats_rx),
    "lldpLocPortTable": (LOC_PORT, ts.expected_loc_port),
    "lldpLocManAddrTable": (LOC_MAN_ADDR, ts.expected_loc_man_addr),
}


def expected_local(state):
    rows = {}
    for _, build in EXPECTED.values():
        rows.update(build(state))
    return rows


@pytest.fixture(scope="module")
def switch(tmp_path_factory):
    state = local_state()
    daemon = ts.start_for_module(tmp_path_factory, state, config_lines=[])
    yield daemon, state
    daemon.stop()


@pytest.fixture
def fresh_daemon(start_daemon):
    def start(state, **kwargs):
        return ts.start(start_daemon, state, **kwargs)

    return start


class TestWalks:
    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_walk_matches_state(self, switch, name):
        daemon, state = switch
        table, build = EXPECTED[name]
        walked = daemon.agent.walk(table)
        ts.assert_increasing(walked)
        ts.compare_tables(ts.as_dict(walked), build(state))

    def test_rows_come_in_port_order_whatever_the_file_order(self, switch):
        daemon, state = switch
        walked = daemon.agent.walk(entry(LOC_PORT, 3))
        ports = [v.oid[-1] for v in walked]
        assert ports == sorted(i["portNum"] for i in state["interfaces"])

    @pytest.mark.parametrize("beyond", [4095, 65537, ts.UINT32_MAX])
    def test_getnext_past_the_last_port_goes_to_the_next_column(self, switch, beyond):
        """Port numbers above 4094 name no row, even those that wrap to a port in 16 bits."""
        daemon, state = switch
        first = min(i["portNum"] for i in state["interfaces"])
        for table, column in ((LOC_PORT, 3), (PORT_CONFIG, 2), (STATS_RX_PORT, 6)):
            (got,) = daemon.agent.getnext(entry(table, column, beyond))
            assert got.oid == entry(table, column + 1, first)

    def test_one_request_for_several_rows_in_any_order(self, switch):
        """Each variable of a PDU is answered for itself, whatever the others ask for."""
        daemon, state = switch
        expected = expected_local(state)
        wanted = sorted(expected, reverse=True)[::5]
        got = daemon.agent.get(*wanted)
        assert [(v.oid, (v.type, v.value)) for v in got] == [(o, expected[o]) for o in wanted]

        ordered = sorted(expected)
        # Starts whose successor is in the same table (scalars lie between some tables).
        starts = [ordered[i] for i in range(len(ordered) - 2, 0, -7)
                  if ordered[i][:len(PORT_CONFIG)] == ordered[i + 1][:len(PORT_CONFIG)]]
        assert len(starts) > 5
        got = daemon.agent.getnext(*starts)
        assert [v.oid for v in got] == [ordered[ordered.index(o) + 1] for o in starts]

    @pytest.mark.skipif(ts.mib_dirs() is None, reason="LLDP_MIBDIRS not set")
    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_values_fit_the_mib(self, switch, name):
        daemon, state = switch
        table, build = EXPECTED[name]
        text = daemon.agent.mib_walk(table)
        assert "Wrong Type" not in text
        lines = [line for line in text.splitlines() if line.startswith(".")]
        assert len(lines) == len(build(state))

    @pytest.mark.parametrize("tool", ["snmpbulkwalk -Cr1", "snmpbulkwalk -Cr10",
                                      "snmpbulkwalk -Cr50"])
    def test_getbulk_gives_the_walk(self, switch, tool):
        daemon, _ = switch
        reference = daemon.agent.walk_text("snmpwalk", ts.LLDP_OBJECTS)
        name, option = tool.split()
        assert daemon.agent.walk_text(name, ts.LLDP_OBJECTS, extra=[option]) == reference


class TestManagementAddressPorts:
    def test_prioritised_address_is_sent_on_the_enabled_ports(self, switch):
        daemon, state = switch
        enabled = sorted(i["portNum"] for i in state["interfaces"]
                         if i["config"]["manAddrTxEnable"])
        assert enabled == [1, 10]
        for address in (ADDR_A, ADDR_B, ADDR_D):
            got = daemon.agent.get_one(entry(CONFIG_MAN_ADDR, 1, *ts.man_addr_index(address)))
            assert (got.type, got.value) == ("Hex-STRING", bytes([0x80, 0x40]))

    def test_address_without_priority_is_on_no_port(self, switch):
        daemon, _ = switch
        got = daemon.agent.get_one(entry(CONFIG_MAN_ADDR, 1, *ts.man_addr_index(ADDR_C)))
        assert (got.type, got.value) == ("STRING", b"")
        # It is still a local management address.
        got = daemon.agent.get_one(entry(LOC_MAN_ADDR, 5, *ts.man_addr_index(ADDR_C)))
        assert (got.type, got.value) == ("INTEGER", ADDR_C["ifId"])


    def test_highest_port_is_the_last_bit_of_512_octets(self, fresh_daemon):
        state = local_state()
        for intf in state["interfaces"]:
            intf["config"]["manAddrTxEnable"] = intf["portNum"] in (1, 4094)
        daemon = fresh_daemon(state)
        got = daemon.agent.get_one(entry(CONFIG_MAN_ADDR, 1, *ts.man_addr_index(ADDR_A)))
        assert got.value == ts.port_list([1, 4094])
        assert len(got.value) == 512 and got.value[0] == 0x80 and got.value[-1] == 0x04


class TestRefusals:
    @pytest.mark.parametrize("column,type_,value", [
        (entry(PORT_CONFIG, 2, 1), "i", 4),
        (entry(PORT_CONFIG, 3, 1), "i", 1),
        (entry(PORT_CONFIG, 4, 1), "x", "F0"),
        (entry(CONFIG_MAN_ADDR, 1, *ts.man_addr_index(ADDR_A)), "x", "FF"),
        (entry(STATS_TX_PORT, 2, 1), "u", 5),
        (entry(STATS_RX_PORT, 7, 1), "u", 5),
        (entry(LOC_PORT, 4, 1), "s", "changed"),
        (entry(LOC_MAN_ADDR, 5, *ts.man_addr_index(ADDR_A)), "i", 9),
    ])
    def test_set_is_not_writable(self, switch, column, type_, value):
        daemon, state = switch
        before = daemon.agent.get_one(column)
        result = daemon.agent.set(column, type_, value)
        assert result.returncode != 0
        assert ts.error_status(result) == "notWritable", result.stdout + result.stderr
        after = daemon.agent.get_one(column)
        assert (after.type, after.value) == (before.type, before.value)

    @pytest.mark.parametrize("oid", [
        entry(CONFIG_MAN_ADDR, 2, *ts.man_addr_index(ADDR_A)),
        entry(PORT_CONFIG, 5, 1),
        entry(PORT_CONFIG, 1, 1),
        entry(LOC_PORT, 1, 1),
        entry(LOC_PORT, 5, 1),
        entry(STATS_RX_PORT, 8, 1),
        entry(LOC_MAN_ADDR, 7, *ts.man_addr_index(ADDR_A)),
    ])
    def test_column_outside_the_table_is_no_such_object(self, switch, oid):
        daemon, _ = switch
        got = daemon.agent.get_one(oid)
        assert got.type == "noSuchObject", got

    def test_missing_row_is_no_such_instance(self, switch):
        daemon, _ = switch
        assert daemon.agent.get_one(entry(LOC_PORT, 3, 5)).type == "noSuchInstance"
        assert daemon.agent.get_one(entry(PORT_CONFIG, 2, 4095)).type == "noSuchInstance"


def test_getnext_inside_a_table_starts_at_its_row(fresh_daemon):
    """GETNEXT from an existing row arrives with that row as its hint and finds it, so the
    step is a search, not a walk from the first row; a row that does not exist is looked for
    and not found."""
    state = local_state()
    daemon = fresh_daemon(state, trace="Snmp=2")
    ports = sorted(i["portNum"] for i in state["interfaces"])

    mark = len(daemon.log_text())
    (got,) = daemon.agent.getnext(entry(LOC_PORT, 3, ports[3]))
    assert got.oid == entry(LOC_PORT, 3, ports[4])
    log = daemon.log_text()[mark:]
    assert "lldpLocPortTable_get_first_data_point - allocated new loop context" in log
    assert "hintMatched=1" in log
    assert "hintMatched=0" not in log

    mark = len(daemon.log_text())
    (got,) = daemon.agent.getnext(entry(LOC_PORT, 3, 5))  # between ports 3 and 9
    assert got.oid == entry(LOC_PORT, 3, 9)
    log = daemon.log_text()[mark:]
    assert "hintMatched=0" in log
    assert "not found in table" in log


def test_changes_in_the_state_file_show_in_the_next_walk(fresh_daemon):
    state = local_state()
    daemon = fresh_daemon(state)
    changed = copy.deepcopy(state)
    new_address = {"subtype": "ipV4", "address": "203.0.113.5", "ifSubtype": "ifIndex",
                   "ifId": 12, "oid": "1.3.6.1.2.1.2.2.1.1.12", "priority": 4}
    changed["localSystem"]["managementAddresses"].append(new_address)
    changed["interfaces"].append(interface(5, tx_man_addr=True))
    changed["interfaces"] = [i for i in changed["interfaces"] if i["portNum"] != 200]
    daemon.rewrite(changed)

    expected = expected_local(changed)

    def walked():
        rows = {}
        for table, _ in EXPECTED.values():
            rows.update(ts.as_dict(daemon.agent.walk(table)))
        return rows

    ts.wait_until(lambda: walked() == expected, timeout=10, message="the new state in walks")
    # Port 5 transmits management addresses now: bits of ports 1, 5 and 10.
    got = daemon.agent.get_one(entry(CONFIG_MAN_ADDR, 1, *ts.man_addr_index(new_address)))
    assert got.value == bytes([0x88, 0x40])


def many_interfaces(count):
    state = {"localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "00:1c:73:00:00:99",
                             "managementAddresses": [ADDR_A]},
             "interfaces": []}
    for port in range(1, count + 1):
        state["interfaces"].append({"name": "Ethernet%d" % port, "portNum": port,
                                    "local": {"portDesc": "port %d" % port},
                                    "statistics": {"rxFramesTotal": port}})
    return state


def test_walk_while_interfaces_go_away(fresh_daemon):
    """snmpwalk refuses an OID that does not increase; removing rows under a running walk must
    neither end it early nor send it back."""
    state = many_interfaces(2000)
    daemon = fresh_daemon(state)
    all_ports = {i["portNum"] for i in state["interfaces"]}
    walk = daemon.agent.walk_process(STATS_RX_PORT)

    applied_during_walk = 0
    remaining = sorted(all_ports)
    step = 0
    while walk.poll() is None and len(remaining) > 100:
        step += 1
        # Every seventh port of what is left, spread over the whole table.
        gone = set(remaining[step % 7::7])
        remaining = [p for p in remaining if p not in gone]
        state["interfaces"] = [i for i in state["interfaces"] if i["portNum"] not in gone]
        daemon.rewrite(state)
        probe = entry(STATS_RX_PORT, 4, min(gone))
        ts.wait_until(lambda: daemon.agent.get_one(probe).type == "noSuchInstance",
                      timeout=10, message="port %d to go" % min(gone))
        if walk.poll() is None:
            applied_during_walk += 1
    out, err = walk.communicate(timeout=120)
    assert walk.returncode == 0, err
    assert "not increasing" not in err
    walked = ts.parse_output(out)
    ts.assert_increasing(walked)
    assert applied_during_walk >= 1, "the walk ended before any change reached the daemon"
    for v in walked:
        assert v.oid[: len(STATS_RX_PORT) + 1] == STATS_RX_PORT + (1,)
        port = v.oid[-1]
        assert port in all_ports
        if v.oid[-2] == 4:
            assert (v.type, v.value) == ("Counter32", port)
    # Every column was reached: the walk was neither cut short nor stuck in one column.
    assert {v.oid[-2] for v in walked} == {2, 3, 4, 5, 6, 7}
    # Ports that were never removed are in every column: none was skipped.
    for column in range(2, 8):
        assert set(remaining) <= {v.oid[-1] for v in walked if v.oid[-2] == column}
