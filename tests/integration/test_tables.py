"""The tables of LLDP-MIB, LLDP-EXT-DOT1-MIB and LLDP-EXT-DOT3-MIB through the running daemon,
compared with what the state file the test wrote gives: the whole subtree, the lldpRemTimeMark
filter, the rows some neighbours are not in, the refusals, and walks while the state changes."""

import copy
import time

import pytest

from conftest import (EXACT, RW_CONFIG, as_dict, compare_tables, error_status, parse_output,
                      wait_until)
from mib_rows import (ADDR_A, ADDR_B, ADDR_C, CONFIG_MAN_ADDR, DELETES, INSERTS, LAST_CHANGE, LLDP,
                      LOC_MAN_ADDR, LOC_PORT, PORT_CONFIG, REM, REM_MAN_ADDR, REM_ORG_DEF_INFO,
                      REM_UNKNOWN_TLV, STATS_RX_PORT, STATS_TX_PORT, TABLES, UINT32_MAX,
                      X1_CONFIG_PORT_VLAN, X1_REM_VLAN_NAME, X3_PORT_CONFIG, X3_REM_POWER, entry,
                      expected_rows, man_addr_index, neighbour, port, port_list, switch_state,
                      table_rows, walk_rows)

REMOTE = {REM: 4, REM_MAN_ADDR: 3, REM_UNKNOWN_TLV: 2, REM_ORG_DEF_INFO: 4}  # first columns


@pytest.fixture(scope="module")
def switch(start_module_daemon):
    state = switch_state()
    return start_module_daemon(state, config=RW_CONFIG, args=["--trace", "Snmp=2"]), state


def test_the_whole_lldp_subtree(switch):
    """All three modules in one walk: OIDs strictly increase (snmpwalk fails otherwise), every
    row of every table is what the state gives, the MIBs find no wrong type, GETBULK gives the
    walk, and the rows of the neighbour sub-tables join those of lldpRemTable."""
    daemon, state = switch
    expected = expected_rows(state)
    assert all(table_rows(expected, table) for table in TABLES)
    rows = walk_rows(daemon)
    compare_tables(rows, expected)
    named = daemon.run("snmpwalk", LLDP, mibs=True, flags=("-On",))
    assert named.returncode == 0 and "Wrong Type" not in named.stdout, named
    walk = daemon.run("snmpwalk", LLDP).stdout
    for reps in (1, 10, 50):
        assert daemon.run("snmpbulkwalk", LLDP, flags=EXACT + (f"-Cr{reps}",)).stdout == walk
    neighbours = {o[len(REM) + 2:][:3] for o in table_rows(rows, REM)}  # time mark, port, index
    for table in REMOTE:
        assert {o[len(table) + 2:][:3] for o in table_rows(rows, table)} <= neighbours


def test_management_addresses_are_sent_on_the_ports_that_send_them(switch):
    """A prioritised address on the ports that send addresses (1 and 10); one without a
    priority on none, though it is still a local management address."""
    daemon, _ = switch
    a, c = man_addr_index(ADDR_A), man_addr_index(ADDR_C)
    got = daemon.get(entry(CONFIG_MAN_ADDR, 1, *a), entry(CONFIG_MAN_ADDR, 1, *c),
                     entry(LOC_MAN_ADDR, 5, *c))
    assert [v.value for v in got] == [b"\x80\x40", b"", ADDR_C["ifId"]]


def test_each_variable_of_a_request_is_answered_for_itself(switch):
    daemon, state = switch
    expected = expected_rows(state)
    ordered = sorted(o for t in TABLES[:6] for o in table_rows(expected, t))
    wanted = ordered[::-5]
    assert [(v.oid, (v.type, v.value)) for v in daemon.get(*wanted)] == \
        [(o, expected[o]) for o in wanted]
    # GETNEXT from rows in any order, and from ports above 4094 (even those that would be a
    # port in 16 bits), which name no row: on to the next column.
    starts = [o for o in ordered[-2::-7] if o[:-1] == ordered[ordered.index(o) + 1][:-1]]
    beyond = [entry(LOC_PORT, 3, 65537), entry(STATS_RX_PORT, 6, UINT32_MAX)]
    assert [v.oid for v in daemon.getnext(*starts, *beyond)] == \
        [ordered[ordered.index(o) + 1] for o in starts] + [entry(LOC_PORT, 4, 1),
                                                          entry(STATS_RX_PORT, 7, 1)]


def test_nothing_is_writable_and_nothing_beyond_the_tables_exists(switch):
    daemon, _ = switch
    a = man_addr_index(ADDR_A)
    sets = {entry(PORT_CONFIG, 2, 1): ("i", 4), entry(PORT_CONFIG, 4, 1): ("x", "F0"),
            entry(CONFIG_MAN_ADDR, 1, *a): ("x", "FF"), entry(STATS_TX_PORT, 2, 1): ("u", 5),
            entry(STATS_RX_PORT, 7, 1): ("u", 5), entry(LOC_PORT, 4, 1): ("s", "x"),
            entry(LOC_MAN_ADDR, 5, *a): ("i", 9), entry(X1_CONFIG_PORT_VLAN, 1, 1): ("i", 2),
            entry(X1_CONFIG_PORT_VLAN, 1, 2): ("i", 1), entry(X3_PORT_CONFIG, 1, 1): ("x", "F0")}
    before = daemon.get(*sets)
    for oid, (type_, value) in sets.items():
        assert error_status(daemon.set(oid, type_, value)) == "notWritable", oid
    assert daemon.get(*sets) == before
    # Columns before, between index and value, and after those of each table; missing rows.
    outside = [entry(PORT_CONFIG, 1, 1), entry(PORT_CONFIG, 5, 1), entry(LOC_PORT, 1, 1),
               entry(STATS_RX_PORT, 8, 1), entry(CONFIG_MAN_ADDR, 2, *a),
               entry(LOC_MAN_ADDR, 7, *a), entry(X1_CONFIG_PORT_VLAN, 2, 1),
               entry(X1_REM_VLAN_NAME, 1, 0, 1, 1, 10), entry(X3_REM_POWER, 7, 0, 1, 1)]
    missing = [entry(LOC_PORT, 3, 5), entry(PORT_CONFIG, 2, 4095)]
    assert [v.type for v in daemon.get(*outside, *missing)] == \
        ["noSuchObject"] * len(outside) + ["noSuchInstance"] * len(missing)


def test_getnext_inside_a_table_is_a_search_from_its_hint(switch):
    daemon, _ = switch
    for start, after, present, absent in [
            (9, 10, ["lldpLocPortTable_get_first_data_point - allocated new loop context",
                     "hintMatched=1"], ["hintMatched=0"]),
            (5, 9, ["hintMatched=0", "not found in table"], [])]:  # port 5 does not exist
        mark = len(daemon.log())
        assert daemon.getnext(entry(LOC_PORT, 3, start))[0].oid == entry(LOC_PORT, 3, after)
        log = daemon.log()[mark:]
        assert all(t in log for t in present) and not any(t in log for t in absent), log
    # A GET of a missing row (port 5, or a neighbour index past the last) answers
    # noSuchInstance without visiting the rows after it; a GET of a present row stops there too.
    for oid, answer in [(entry(LOC_PORT, 3, 5), "noSuchInstance"),
                        (entry(REM, 9, 0, 1, 1000001), "noSuchInstance"),
                        (entry(LOC_PORT, 3, 1), None)]:
        mark = len(daemon.log())
        got = daemon.get(oid)[0]
        assert (got.type == answer) if answer else got.type not in ("noSuchInstance",), got
        log = daemon.log()[mark:]
        assert "get_first_data_point" in log and "advancing loop context" not in log, log


def test_the_time_filter(switch):
    """Rows that changed before the agent started (mark 0) pass a filter up to 2 (the slack),
    listed under the requested value; from 3 on, none does."""
    daemon, state = switch
    for table, column in REMOTE.items():
        compare_tables(as_dict(daemon.walk(entry(table, column, 2))),
                       table_rows(expected_rows(state, 2), entry(table, column)))
        for mark in (3, 4294967290):
            assert daemon.walk(entry(table, column, mark)) == []
    # Each variable of a request has its own filter.
    for marks in ((0, 3, 2), (3, 0, 2), (2, 3, 0)):
        got = daemon.get(*[entry(REM, 9, m, 1, 1) for m in marks])
        assert [v.type for v in got] == ["Hex-STRING" if m <= 2 else "noSuchInstance"
                                         for m in marks], marks
    got = daemon.getnext(entry(REM, 9, 3), entry(REM, 9, 0), entry(REM, 9, 0, 65537, 1))
    assert got[0].oid[:len(REM)] != REM
    assert [v.oid for v in got[1:]] == [entry(REM, 9, 0, 1, 1), entry(REM, 10, 0, 1, 1)]


def test_a_neighbour_without_power_is_only_missing_from_the_power_table(switch):
    daemon, _ = switch
    assert daemon.get_one(entry(REM, 5, 0, 1, 2)).type == "Hex-STRING"
    assert {daemon.get_one(entry(X3_REM_POWER, c, 0, 1, 2)).type for c in range(1, 7)} == \
        {"noSuchInstance"}
    # GETNEXT from the neighbour before it steps over it.
    assert daemon.getnext(entry(X3_REM_POWER, 1, 0, 1, 1))[0].oid == \
        entry(X3_REM_POWER, 1, 0, 2, 5)


def test_getnext_from_the_vlan_name_table_gives_the_first_neighbour_vlan(switch):
    (first,) = switch[0].getnext(X1_REM_VLAN_NAME)
    # Port 1, neighbour 1, its lowest VLAN id: four index components.
    assert (first.oid, first.type, first.value) == \
        (entry(X1_REM_VLAN_NAME, 2, 0, 1, 1, 10), "Hex-STRING", b"users")


def test_changes_in_the_state_file_show_in_the_next_walk(start_daemon):
    state = switch_state()
    daemon = start_daemon(state)
    new_address = {"subtype": "ipV4", "address": "203.0.113.5", "ifId": 12, "priority": 4}
    state["localSystem"]["managementAddresses"] = [ADDR_A, dict(ADDR_B, ifId=8),
                                                   dict(ADDR_C, priority=5), new_address]
    port(state, 2)["portNum"] = 12  # with its neighbour
    port(state, 4094)["config"]["manAddrTxEnable"] = True
    state["interfaces"] = [i for i in state["interfaces"] if i["portNum"] != 200] + [
        {"name": "Ethernet5", "portNum": 5, "config": {"manAddrTxEnable": True}}]
    daemon.rewrite(state)
    expected = expected_rows(state)
    wait_until(lambda: walk_rows(daemon) == expected, 5.0)
    compare_tables(walk_rows(daemon), expected)
    # Ports 1, 5, 10 and 4094: the last bit of 512 octets.
    assert daemon.get_one(entry(CONFIG_MAN_ADDR, 1, *man_addr_index(new_address))).value == \
        port_list([1, 5, 10, 4094])


def test_a_reload_of_many_neighbours_shows_each_row_whole_to_requests_meanwhile(start_daemon):
    """A large difference is applied in slices with requests answered between them; each
    neighbour is applied whole, so a GETBULK of several columns never sees one of its columns
    old and another new."""
    def state(generation):
        return {"localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
                "interfaces": [{"name": f"Ethernet{p}", "portNum": p, "neighbors": [
                    {"index": i, "chassisIdSubtype": "local", "chassisId": f"n{p}-{i}",
                     "portIdSubtype": "local", "portId": "p", "sysName": f"{generation}{i}",
                     "sysDesc": f"{generation}{i}", "portDesc": f"{generation}{i}"}
                    for i in range(1, 751)]} for p in range(1, 5)]}

    daemon = start_daemon(state("old"))
    columns = [REM + (1, c) for c in (8, 9, 10)]  # portDesc, sysName, sysDesc
    start = daemon.log().count("applied state file")
    daemon.rewrite(state("new"))
    passes, applied_at = 0, None
    while applied_at is None or passes <= applied_at:
        at, generations, seen = columns, set(), 0
        while True:
            proc = daemon.run("snmpbulkget", *at, flags=EXACT + ("-Cn0", "-Cr25"))
            assert proc.returncode == 0, proc.stderr
            varbinds = parse_output(proc.stdout)
            rows = [varbinds[i:i + 3] for i in range(0, len(varbinds), 3)]
            rows = [r for r in rows if r[0].oid[:len(columns[0])] == columns[0]]
            for row in rows:
                index = {v.oid[len(columns[0]):] for v in row}
                assert len(index) == 1, row  # one row in each repetition
                values = {v.value for v in row}
                assert len(values) == 1, f"a neighbour seen half changed: {row}"
                generations.add(row[0].value.rstrip(b"0123456789"))
            seen += len(rows)
            if len(rows) < 25:
                break
            at = [c + rows[-1][0].oid[len(columns[0]):] for c in columns]
        passes += 1
        if applied_at is None and daemon.log().count("applied state file") > start:
            applied_at = passes
    # The last pass began once all was applied.
    assert (generations, seen) == ({b"new"}, 3000)


def test_walk_while_interfaces_go_away(start_daemon):
    """Rows removed under a running walk neither end it early nor send it back (snmpwalk
    refuses an OID that does not increase)."""
    state = {"localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
             "interfaces": [{"name": f"Ethernet{p}", "portNum": p, "statistics": {
                 "rxFramesTotal": p}} for p in range(1, 2001)]}
    daemon = start_daemon(state)
    walk = daemon.popen("snmpwalk", STATS_RX_PORT)
    remaining, step, applied_during_walk = list(range(1, 2001)), 0, 0
    while walk.poll() is None and len(remaining) > 100:
        step += 1
        gone = set(remaining[step % 7::7])  # spread over the whole table
        remaining = [p for p in remaining if p not in gone]
        state["interfaces"] = [i for i in state["interfaces"] if i["portNum"] not in gone]
        daemon.rewrite(state)
        assert wait_until(lambda: daemon.get_one(entry(STATS_RX_PORT, 4, min(gone))).type ==
                          "noSuchInstance")
        applied_during_walk += walk.poll() is None
    out, err = walk.communicate(timeout=120)
    assert walk.returncode == 0, err
    assert applied_during_walk >= 1, "the walk ended before any change reached the daemon"
    walked = parse_output(out)
    for v in walked:
        assert v.oid[:-2] == STATS_RX_PORT + (1,) and 1 <= v.oid[-1] <= 2000
        assert v.oid[-2] != 4 or v.value == v.oid[-1]
    # Ports never removed are in every column: none was skipped, no column cut short.
    for column in range(2, 8):
        assert set(remaining) <= {v.oid[-1] for v in walked if v.oid[-2] == column}


def test_neighbour_changes_move_counters_and_change_time_and_older_marks_still_answer(
        start_daemon):
    state = switch_state()  # no "status": the daemon keeps the counters and the change time
    daemon = start_daemon(state)

    def counters():
        return [v.value for v in daemon.get(INSERTS, DELETES, LAST_CHANGE)]

    first = sum(len(i.get("neighbors", [])) for i in state["interfaces"])
    assert counters() == [first, 0, 0]
    time.sleep(0.5)  # so that a change now has a mark well above 0
    late = neighbour(9, sysName="late", managementAddresses=[{"subtype": "ipV4",
                                                              "address": "192.0.2.99"}])
    del late["lastChangeTime"]
    port(state, 1)["neighbors"].pop(0)
    port(state, 2)["neighbors"][0]["sysName"] = "renamed"
    port(state, 3)["neighbors"] = [late]
    daemon.rewrite(state)
    assert wait_until(lambda: counters()[:2] == [first + 1, 1]), counters()
    mark = counters()[2]
    assert mark >= 50
    compare_tables(walk_rows(daemon), expected_rows(state))  # addresses and TLVs came and went
    # A GET at an older mark answers, at a later one not; under an older mark only the
    # neighbour that changed since is listed.
    older, later, addr = mark // 2, mark + 1000, (1, 4, 192, 0, 2, 99)
    assert [v.type for v in daemon.get(
        entry(REM, 9, older, 3, 9), entry(REM, 9, mark - 1, 3, 9), entry(REM, 9, later, 3, 9),
        entry(REM_MAN_ADDR, 3, older, 3, 9, *addr), entry(REM_MAN_ADDR, 3, later, 3, 9, *addr))] \
        == ["Hex-STRING", "Hex-STRING", "noSuchInstance", "INTEGER", "noSuchInstance"]
    assert [(v.oid[-3:], v.value) for v in daemon.walk(entry(REM, 9, older))] == \
        [((older, 3, 9), b"late")]
    # A file with nothing new for the neighbours changes neither the counters nor the time.
    port(state, 3)["statistics"] = {"txFramesTotal": 5}
    daemon.rewrite(state)
    assert wait_until(lambda: daemon.log().count("applied state file") == 3)
    assert counters() == [first + 1, 1, mark]


def test_walk_while_neighbours_come_and_go(start_daemon):
    """Neighbours removed and added under a running walk: it goes on from where it was, never
    back, and shows each neighbour at most once per column."""

    def crowd(per_port, first):
        return [{"name": f"Ethernet{p}", "portNum": p, "neighbors": [neighbour(
            first + k, sysName=f"n{p}-{first + k}", managementAddresses=[
                {"subtype": "ipV4", "address": f"10.0.{p}.{k}"}]) for k in range(per_port)]}
                for p in range(1, 41)]

    state = {"localSystem": {"chassisIdSubtype": "local", "chassisId": "leaf"},
             "interfaces": crowd(25, 1)}
    daemon = start_daemon(state)
    stable = ever = {(p, n["index"]) for p, i in enumerate(state["interfaces"], 1)
                     for n in i["neighbors"]}
    walk = daemon.popen("snmpwalk", REM[:-1])
    applied_during_walk, round_ = 0, 0
    while walk.poll() is None and round_ < 15:
        round_ += 1
        changed = copy.deepcopy(state)
        for intf, extra in zip(changed["interfaces"], crowd(2, 1000 + 10 * round_)):
            # A different few go each round (the first five stay); a few new ones come.
            intf["neighbors"] = extra["neighbors"] + [
                n for n in intf["neighbors"] if n["index"] <= 5 or (n["index"] + round_) % 5]
        now = {(p, n["index"]) for p, i in enumerate(changed["interfaces"], 1)
               for n in i["neighbors"]}
        stable, ever = stable & now, ever | now
        daemon.rewrite(changed)
        assert wait_until(lambda: daemon.get_one(entry(REM, 9, 0, 1, 1000 + 10 * round_)).type
                          == "Hex-STRING")
        applied_during_walk += walk.poll() is None
    out, err = walk.communicate(timeout=120)
    assert walk.returncode == 0, err
    assert applied_during_walk >= 1, "the walk ended before any change reached the daemon"
    walked = as_dict(parse_output(out))  # fails on a row returned twice
    for table in (REM, REM_MAN_ADDR):
        for column in {o[len(table) + 1] for o in table_rows(walked, table)}:
            rows = [o[len(table) + 3:][:2] for o in table_rows(walked, entry(table, column))]
            assert len(rows) == len(set(rows)) and stable <= set(rows) <= ever, (table, column)
    for o, (_, value) in table_rows(walked, entry(REM, 9)).items():
        assert o[-3] == 0 and value == f"n{o[-2]}-{o[-1]}".encode()


def test_walks_step_over_values_the_mibs_cannot_show(start_daemon):
    """A neighbour whose values no SNMP type can carry (a 300-byte system name and description,
    an empty chassis id, an empty or 40-byte VLAN name, 600 bytes of organisationally defined
    information) among good ones: bulk walks of those columns get every good instance and no
    error, a GET of a bad instance gets genErr naming its varbind, and each bad instance is
    logged once. When the file drops them, adds a VLAN name and drops TLVs, the tables follow."""
    state = switch_state()
    bad = neighbour(4, chassisId="", sysName="s" * 300, sysDesc="d" * 300,
                    dot1={"vlanNames": [{"id": 5, "name": "n" * 40}, {"id": 6, "name": "ok"},
                                        {"id": 7, "name": ""}]},
                    orgDefTlvs=[{"oui": "00-80-c2", "subtype": 9, "index": 1, "info": "x" * 600},
                                {"oui": "00-80-c2", "subtype": 9, "index": 2, "info": "fine"}])
    port(state, 3)["neighbors"] = [neighbour(2, sysName="before"), bad,
                                   neighbour(6, sysName="after")]
    daemon = start_daemon(state)
    bad_instances = {entry(REM, 5, 0, 3, 4), entry(REM, 9, 0, 3, 4), entry(REM, 10, 0, 3, 4),
                     entry(X1_REM_VLAN_NAME, 2, 0, 3, 4, 5),
                     entry(X1_REM_VLAN_NAME, 2, 0, 3, 4, 7),
                     entry(REM_ORG_DEF_INFO, 4, 0, 3, 4, 0, 0x80, 0xC2, 9, 1)}
    expected = {o: v for o, v in expected_rows(state).items() if o not in bad_instances}
    columns = [entry(REM, 5), entry(REM, 9), entry(REM, 10), entry(X1_REM_VLAN_NAME, 2),
               entry(REM_ORG_DEF_INFO, 4)]
    for column in columns:
        for flags in (("-Cr20",), ("-Cr1",)):
            proc = daemon.run("snmpbulkwalk", column, flags=EXACT + flags)
            assert proc.returncode == 0 and error_status(proc) is None, (column, proc)
            got = as_dict(parse_output(proc.stdout))
            assert got == table_rows(expected, column), column
    compare_tables(walk_rows(daemon), expected)  # every other column of the bad neighbour too

    good = entry(REM, 9, 0, 3, 2)
    for oid in sorted(bad_instances):
        proc = daemon.run("snmpget", good, oid, good)
        assert error_status(proc) == "genError", (oid, proc)
        assert f"Failed object: .{'.'.join(map(str, oid))}" in proc.stdout + proc.stderr, proc
    log = daemon.log()
    for name, instance in (("lldpRemSysDesc", "'ethPortId': 3, 'index': 4"),
                           ("lldpXdot1RemVlanName", "'vlanId': 5")):
        lines = [line for line in log.splitlines()
                 if "LLDP_SNMP_VALUE_NOT_SHOWN" in line and name in line and instance in line]
        assert len(lines) == 1, (name, lines)

    port(state, 3)["neighbors"] = []
    phone = port(state, 2)["neighbors"][0]
    phone["dot1"]["vlanNames"] = [{"id": 30, "name": "voice"}]
    del phone["dot3"]["power"], phone["dot1"]["portVlanId"]
    daemon.rewrite(state)
    wait_until(lambda: daemon.get_one(entry(X1_REM_VLAN_NAME, 2, 0, 2, 5, 30)).value == b"voice")
    compare_tables(walk_rows(daemon), expected_rows(state))
