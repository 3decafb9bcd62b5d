"""The files an operator starts from, served as they are: examples/switch.json with
examples/lldp-snmpd.conf (every table of the four modules, also after a stream of damaged
rewrites), and the example of docs/state-format.md."""

import copy
import json
import random
import re

from conftest import EXACT, REPO, compare_tables, example_state, wait_until
from mib_rows import LLDP, OID, REM, entry, expected_rows, table_rows, walk_rows

JUNK = [None, True, -1, 0, 4095, 2 ** 31, 2 ** 64, 1.5, "", "x", "00:11", "192.0.2.300",
        {"hex": "zz"}, {"hex": "00" * 40}, [], {}, ["bridge", 99], [1, 1]]


def members(node):
    """(container, key) of every member of a JSON document, at any depth."""
    keys = node if isinstance(node, dict) else range(len(node)) if isinstance(node, list) else []
    for key in list(keys):
        yield node, key
        yield from members(node[key])


def damaged(state, rng):
    """The state with one or two random changes: a member gone, a value replaced by junk, a
    list element repeated, or a stray key."""
    doc = copy.deepcopy(state)
    for _ in range(rng.randint(1, 2)):
        parent, key = rng.choice(list(members(doc)))
        action = rng.randrange(4)
        if action == 0:
            del parent[key]
        elif action == 2 and isinstance(parent, list):
            parent.append(copy.deepcopy(parent[key]))
        elif action == 3 and isinstance(parent[key], dict):
            parent[key]["stray"] = 1
        else:
            parent[key] = copy.deepcopy(rng.choice(JUNK))
    return doc


def served_whole_and_in_order(daemon, state):
    rows = walk_rows(daemon)
    compare_tables(rows, expected_rows(state))  # snmpwalk fails on a step back
    walk = daemon.run("snmpwalk", LLDP).stdout
    assert daemon.run("snmpbulkwalk", LLDP, flags=EXACT + ("-Cr25",)).stdout == walk
    return rows


def test_the_example_switch_is_served_whole_even_after_damaged_rewrites(start_daemon):
    """Every table of the four modules has rows on the example, and a walk with their MIBs
    loaded finds nothing of a wrong type, length or value."""
    state = example_state()
    daemon = start_daemon(state, config=(REPO / "examples" / "lldp-snmpd.conf").read_text())
    rows = served_whole_and_in_order(daemon, state)
    empty = [n for n, o in OID.items() if n.endswith("Table") and o[:len(LLDP)] == LLDP
             and not table_rows(rows, o)]
    assert not empty, empty
    named = daemon.run("snmpwalk", LLDP, mibs=True, flags=("-On",))
    assert named.returncode == 0, named
    for fault in ("Wrong Type", "Wrong Length", "Wrong Value"):
        assert fault not in named.stdout, [l for l in named.stdout.splitlines() if fault in l]

    rng = random.Random(20251122)
    for round_ in range(100):
        before = daemon.log().count(" state file ")  # applied or refusing
        daemon.rewrite(damaged(state, rng))
        assert wait_until(lambda: daemon.log().count(" state file ") > before, 10, 0.01), round_
        assert daemon.proc.poll() is None, daemon.log()[-2000:]
    log = daemon.log()
    assert "failed" not in log, log[-3000:]
    assert log.count("refusing state file") > 10 and log.count("applied state file") > 10
    daemon.rewrite(state)
    assert daemon.wait_for_log("applied state file", start=len(log))
    served_whole_and_in_order(daemon, state)


def test_the_documented_example_is_a_valid_state(start_daemon):
    blocks = re.findall(r"```json\n(.*?)```", (REPO / "docs" / "state-format.md").read_text(),
                        re.S)
    assert blocks, "docs/state-format.md has no JSON example"
    for block in blocks:
        daemon = start_daemon(block)
        assert "applied state file" in daemon.log()
        assert len(daemon.walk(entry(REM, 9))) == sum(
            len(i.get("neighbors", [])) for i in json.loads(block)["interfaces"])
