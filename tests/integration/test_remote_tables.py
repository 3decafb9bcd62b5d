"""The four LLDP-MIB tables of learnt neighbours, through the running daemon.

lldpRemTable, lldpRemManAddrTable, lldpRemUnknownTLVTable and lldpRemOrgDefInfoTable: rows and
values derived from the state file, the lldpRemTimeMark filter, how the tables hang together,
and walks that run while neighbours come and go.
"""

import copy
import time

import pytest

import tables_support as ts
from tables_support import REM, REM_MAN_ADDR, REM_ORG_DEF_INFO, REM_UNKNOWN_TLV, entry

# Before any agent started by a test: such neighbours carry time mark 0.
LONG_AGO = 1700000000.0

ALL_CAPABILITIES = ["other", "repeater", "bridge", "wlanAccessPoint", "router", "telephone",
                    "docsisCableDevice", "stationOnly"]


def neighbour(index, **fields):
    n = {"index": index, "lastChangeTime": LONG_AGO, "chassisIdSubtype": "local",
         "chassisId": "chassis-%d" % index, "portIdSubtype": "local", "portId": "port-%d" % index}
    n.update(fields)
    return n


def remote_state():
    spine = neighbour(
        1, chassisIdSubtype="macAddress", chassisId="00:1c:73:00:01:01",
        portIdSubtype="interfaceName", portId="Ethernet49/1", portDesc="to leaf1",
        sysName="spine1", sysDesc="Spine switch", sysCapSupported=["bridge", "router"],
        sysCapEnabled=["router"],
        managementAddresses=[
            {"subtype": "ipV6", "address": "2001:db8::10", "ifSubtype": "ifIndex", "ifId": 5,
             "oid": "1.3.6.1.2.1.2.2.1.1.5"},
            {"subtype": "ipV4", "address": "192.0.2.10", "ifSubtype": "systemPortNumber",
             "ifId": 49},
            {"subtype": "other", "address": {"hex": "ab" * 31}, "ifId": 2147483647},
        ],
        unknownTlvs=[{"type": 126, "info": "z" * 511}, {"type": 9, "info": {"hex": "0102"}},
                     {"type": 20, "info": ""}],
        orgDefTlvs=[{"oui": "00-80-c2", "subtype": 7, "index": 2, "info": "abc"},
                    {"oui": "00-12-bb", "subtype": 1, "index": 2, "info": {"hex": "ffff"}},
                    {"oui": "00-12-bb", "subtype": 1, "index": 1, "info": {"hex": "00"}},
                    {"oui": "00-12-bb", "subtype": 3, "index": 1, "info": "x" * 507}])
    phone = neighbour(
        5, chassisIdSubtype="networkAddress", chassisId={"hex": "01c0000207"},
        portIdSubtype="macAddress", portId="00:1c:73:00:05:05", sysName="",
        sysCapSupported=ALL_CAPABILITIES + [8, 15], sysCapEnabled=["telephone", 9],
        managementAddresses=[{"subtype": "all802", "address": {"hex": "001c73000505"}},
                             {"subtype": "ipV4", "address": "198.51.100.5"}])
    return {
        "localSystem": {"chassisIdSubtype": "macAddress", "chassisId": "00:1c:73:00:00:99"},
        "interfaces": [
            {"name": "Ethernet10", "portNum": 10, "neighbors": [
                neighbour(3, sysDesc="d" * 255,
                          managementAddresses=[{"subtype": "ipV4", "address": "192.0.2.30",
                                                "oid": "1.3.6.1.4.1.4294967295.1"}]),
                neighbour(2147483647, unknownTlvs=[{"type": 125, "info": "last"}])]},
            {"name": "Ethernet1", "portNum": 1, "neighbors": [neighbour(2), spine]},
            {"name": "Ethernet2", "portNum": 2, "neighbors": [phone]},
            {"name": "Ethernet3", "portNum": 3},
        ],
    }


EXPECTED = {
    "lldpRemTable": (REM, ts.expected_rem),
    "lldpRemManAddrTable": (REM_MAN_ADDR, ts.expected_rem_man_addr),
    "lldpRemUnknownTLVTable": (REM_UNKNOWN_TLV, ts.expected_rem_unknown_tlv),
    "lldpRemOrgDefInfoTable": (REM_ORG_DEF_INFO, ts.expected_rem_org_def_info),
}
FIRST_COLUMN = {"lldpRemTable": 4, "lldpRemManAddrTable": 3, "lldpRemUnknownTLVTable": 2,
                "lldpRemOrgDefInfoTable": 4}
COLUMNS = {"lldpRemTable": range(4, 13), "lldpRemManAddrTable": range(3, 6),
           "lldpRemUnknownTLVTable": [2], "lldpRemOrgDefInfoTable": [4]}


def expected_remote(state, mark=0):
    rows = {}
    for _, build in EXPECTED.values():
        rows.update(build(state, mark))
    return rows


def walk_remote(agent):
    rows = {}
    for table, _ in EXPECTED.values():
        rows.update(ts.as_dict(agent.walk(table)))
    return rows


def neighbour_prefix(table, oid):
    """(time mark, local port, index) of an instance OID of a remote table."""
    return oid[len(table) + 2: len(table) + 5]


@pytest.fixture(scope="module")
def switch(tmp_path_factory):
    state = remote_state()
    daemon = ts.start_for_module(tmp_path_factory, state)
    yield daemon, state
    daemon.stop()


@pytest.fixture
def fresh_daemon(start_daemon):
    def start(state, **kwargs):
        return ts.start(start_daemon, state, **kwargs)

    return start


class TestWalks:
    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_walk_at_time_mark_zero_gives_every_row(self, switch, name):
        daemon, state = switch
        table, build = EXPECTED[name]
        expected = build(state, 0)
        assert expected
        ts.compare_tables(ts.as_dict(daemon.agent.walk(table)), expected)

    def test_neighbours_come_in_port_then_index_order(self, switch):
        daemon, state = switch
        walked = daemon.agent.walk(entry(REM, 9))
        assert [v.oid[-2:] for v in walked] == [(p, n["index"]) for p, n in ts.neighbours(state)]

    @pytest.mark.parametrize("port", [65537, ts.UINT32_MAX])
    def test_getnext_past_the_last_port_goes_to_the_next_column(self, switch, port):
        daemon, state = switch
        first_port, first = ts.neighbours(state)[0]
        (got,) = daemon.agent.getnext(entry(REM, 9, 0, port, first["index"]))
        assert got.oid == entry(REM, 10, 0, first_port, first["index"])

    def test_org_def_index_is_the_oui_without_length(self, switch):
        daemon, _ = switch
        walked = daemon.agent.walk(entry(REM_ORG_DEF_INFO, 4))
        indexes = [v.oid[len(REM_ORG_DEF_INFO) + 2:] for v in walked]
        assert indexes[0] == (0, 1, 1, 0x00, 0x12, 0xBB, 1, 1)
        assert all(len(i) == 8 for i in indexes)

    def test_sub_table_rows_belong_to_listed_neighbours(self, switch):
        """A client joins the tables on (time mark, port, index)."""
        daemon, _ = switch
        neighbours = {neighbour_prefix(REM, v.oid) for v in daemon.agent.walk(entry(REM, 4))}
        for table in (REM_MAN_ADDR, REM_UNKNOWN_TLV, REM_ORG_DEF_INFO):
            prefixes = {neighbour_prefix(table, v.oid) for v in daemon.agent.walk(table)}
            assert prefixes
            assert prefixes <= neighbours

    @pytest.mark.skipif(ts.mib_dirs() is None, reason="LLDP_MIBDIRS not set")
    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_values_fit_the_mib(self, switch, name):
        daemon, state = switch
        table, build = EXPECTED[name]
        text = daemon.agent.mib_walk(table)
        assert "Wrong Type" not in text
        assert len([l for l in text.splitlines() if l.startswith(".")]) == len(build(state))

    @pytest.mark.parametrize("option", ["-Cr1", "-Cr10", "-Cr50"])
    def test_getbulk_gives_the_walk(self, switch, option):
        daemon, _ = switch
        subtree = ts.LLDP_OBJECTS + (4,)
        reference = daemon.agent.walk_text("snmpwalk", subtree)
        assert reference.count("\n") > 50
        assert daemon.agent.walk_text("snmpbulkwalk", subtree, extra=[option]) == reference


class TestTimeFilter:
    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_rows_pass_a_filter_two_ticks_above_their_mark(self, switch, name):
        """Every row changed before the agent started (mark 0): a filter of 2 still shows them,
        under the requested value; 3 shows none."""
        daemon, state = switch
        table, build = EXPECTED[name]
        column = entry(table, FIRST_COLUMN[name])
        expected = {o: v for o, v in build(state, 2).items() if o[: len(column)] == column}
        ts.compare_tables(ts.as_dict(daemon.agent.walk(column + (2,))), expected)
        assert daemon.agent.walk(column + (3,)) == []

    def test_each_variable_of_a_request_has_its_own_filter(self, switch):
        daemon, state = switch
        expected = ts.expected_rem(state)
        row = entry(REM, 9, 0, 1, 1)
        for marks in ((0, 3, 2), (3, 0, 2), (2, 3, 0)):
            got = daemon.agent.get(*[entry(REM, 9, m, 1, 1) for m in marks])
            assert [v.type for v in got] == [
                expected[row][0] if m <= 2 else "noSuchInstance" for m in marks], marks
        # GETNEXT with a filter that shows nothing, next to one that shows everything.
        got = daemon.agent.getnext(entry(REM, 9, 3), entry(REM, 9, 0))
        assert got[0].oid[:len(REM)] != REM
        assert got[1].oid == entry(REM, 9, 0, 1, 1)

    @pytest.mark.parametrize("name", list(EXPECTED))
    def test_filter_above_every_mark_shows_nothing_of_the_table(self, switch, name):
        daemon, _ = switch
        table, _ = EXPECTED[name]
        for column in COLUMNS[name]:
            start = entry(table, column, 4294967290)
            assert daemon.agent.walk(start) == []
            (after,) = daemon.agent.getnext(start)
            assert after.oid[: len(table)] != table, after
            assert after.oid > start

    def test_get_answers_at_an_older_mark_only(self, fresh_daemon):
        state = remote_state()
        daemon = fresh_daemon(state)
        time.sleep(0.5)  # so that a change now has a mark well above 0
        added = neighbour(9, sysName="late", managementAddresses=[
            {"subtype": "ipV4", "address": "192.0.2.99"}])
        del added["lastChangeTime"]
        changed = copy.deepcopy(state)
        changed["interfaces"][3]["neighbors"] = [added]
        daemon.rewrite(changed)
        ts.wait_until(lambda: daemon.agent.get_one(entry(REM, 9, 0, 3, 9)).value == b"late",
                      message="the new neighbour")
        mark = daemon.agent.get_one(ts.REM_TABLES_LAST_CHANGE)
        assert mark.type == "Timeticks" and mark.value >= 50
        older, later = mark.value // 2, mark.value + 1000

        for filter_ in (0, older, mark.value - 1):
            got = daemon.agent.get_one(entry(REM, 9, filter_, 3, 9))
            assert (got.type, got.value) == ("Hex-STRING", b"late"), filter_
        assert daemon.agent.get_one(entry(REM, 9, later, 3, 9)).type == "noSuchInstance"
        addr = (1, 4, 192, 0, 2, 99)
        assert daemon.agent.get_one(entry(REM_MAN_ADDR, 3, older, 3, 9, *addr)).type == "INTEGER"
        assert daemon.agent.get_one(
            entry(REM_MAN_ADDR, 3, later, 3, 9, *addr)).type == "noSuchInstance"

        # Only the neighbour that changed since `older` is listed under it.
        walked = daemon.agent.walk(entry(REM, 9, older))
        assert [(v.oid[-3:], v.value) for v in walked] == [((older, 3, 9), b"late")]


class TestChanges:
    def test_removing_a_neighbour_moves_last_change_time(self, fresh_daemon):
        state = remote_state()
        daemon = fresh_daemon(state)
        agent = daemon.agent
        before = {v.oid: v.value for v in agent.get(
            ts.REM_TABLES_LAST_CHANGE, ts.REM_TABLES_INSERTS, ts.REM_TABLES_DELETES)}
        time.sleep(0.3)

        changed = copy.deepcopy(state)
        ethernet1 = [i for i in changed["interfaces"] if i["portNum"] == 1][0]
        ethernet1["neighbors"] = [n for n in ethernet1["neighbors"] if n["index"] != 1]
        daemon.rewrite(changed)
        ts.wait_until(lambda: agent.get_one(entry(REM, 4, 0, 1, 1)).type == "noSuchInstance",
                      message="neighbour 1 on port 1 to go")

        after = {v.oid: v.value for v in agent.get(
            ts.REM_TABLES_LAST_CHANGE, ts.REM_TABLES_INSERTS, ts.REM_TABLES_DELETES)}
        assert after[ts.REM_TABLES_LAST_CHANGE] >= before[ts.REM_TABLES_LAST_CHANGE] + 30
        assert after[ts.REM_TABLES_DELETES] == before[ts.REM_TABLES_DELETES] + 1
        assert after[ts.REM_TABLES_INSERTS] == before[ts.REM_TABLES_INSERTS]
        # Its addresses and TLVs went with it; nothing else changed.
        ts.compare_tables(walk_remote(agent), expected_remote(changed))

    def test_empty_chassis_id_fails_that_column_only(self, fresh_daemon):
        state = remote_state()
        broken = neighbour(4, chassisId="", sysName="no chassis")
        state["interfaces"][3]["neighbors"] = [broken]
        daemon = fresh_daemon(state)
        result = daemon.agent.raw("snmpget", [ts.dotted(entry(REM, 5, 0, 3, 4))])
        assert ts.error_status(result) == "genError", result.stdout + result.stderr

        expected = ts.expected_rem(state)
        for column in [4] + list(range(6, 13)):
            oid = entry(REM, column, 0, 3, 4)
            got = daemon.agent.get_one(oid)
            assert (got.type, got.value) == expected[oid]
        # The same column of another neighbour answers.
        got = daemon.agent.get_one(entry(REM, 5, 0, 1, 1))
        assert (got.type, got.value) == expected[entry(REM, 5, 0, 1, 1)]


def crowd(ports, per_port, first_index=1):
    interfaces = []
    for port in ports:
        neighbours = []
        for k in range(per_port):
            index = first_index + k
            neighbours.append(neighbour(
                index, sysName="n%d-%d" % (port, index),
                managementAddresses=[{"subtype": "ipV4",
                                      "address": "10.%d.%d.%d" % (port // 256, port % 256, k)}]))
        interfaces.append({"name": "Ethernet%d" % port, "portNum": port, "neighbors": neighbours})
    return {"localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
            "interfaces": interfaces}


def test_walk_while_neighbours_come_and_go(fresh_daemon):
    """Neighbours removed and added under a running walk: the walk goes on from where it was,
    never back, and shows each neighbour at most once per column."""
    ports = list(range(1, 41))
    state = crowd(ports, 25)
    daemon = fresh_daemon(state)
    stable = {(p, n["index"]) for p, n in ts.neighbours(state)}
    ever = set(stable)
    subtree = ts.LLDP_OBJECTS + (4,)
    walk = daemon.agent.walk_process(subtree)
    applied_during_walk = 0
    round_ = 0
    while walk.poll() is None and round_ < 15:
        round_ += 1
        changed = copy.deepcopy(state)
        for intf in changed["interfaces"]:
            port = intf["portNum"]
            # Drop a different few each round (the first five stay) and add a few with fresh
            # indexes.
            intf["neighbors"] = [n for n in intf["neighbors"]
                                 if n["index"] <= 5 or (n["index"] + round_) % 5]
            extra = crowd([port], 2, first_index=1000 + 10 * round_)["interfaces"][0]
            intf["neighbors"] += extra["neighbors"]
        now = {(p, n["index"]) for p, n in ts.neighbours(changed)}
        stable &= now
        ever |= now
        daemon.rewrite(changed)
        probe = entry(REM, 9, 0, 1, 1000 + 10 * round_)
        ts.wait_until(lambda: daemon.agent.get_one(probe).type == "Hex-STRING",
                      message="round %d to be applied" % round_)
        if walk.poll() is None:
            applied_during_walk += 1
    out, err = walk.communicate(timeout=120)
    assert walk.returncode == 0, err
    walked = ts.parse_output(out)
    ts.assert_increasing(walked)
    assert applied_during_walk >= 1, "the walk ended before any change reached the daemon"

    rem = [v for v in walked if v.oid[: len(REM)] == REM]
    for v in rem:
        mark, port, index = neighbour_prefix(REM, v.oid)
        assert mark == 0 and (port, index) in ever
        if v.oid[len(REM) + 1] == 9:
            assert v.value == ("n%d-%d" % (port, index)).encode()
    for column in range(4, 13):
        rows = [neighbour_prefix(REM, v.oid)[1:] for v in rem if v.oid[len(REM) + 1] == column]
        assert len(rows) == len(set(rows))
        assert stable <= set(rows), "column %d lost neighbours that were never removed" % column
    addresses = [v for v in walked if v.oid[: len(REM_MAN_ADDR)] == REM_MAN_ADDR]
    assert {neighbour_prefix(REM_MAN_ADDR, v.oid)[1:] for v in addresses} >= stable
