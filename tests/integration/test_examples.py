"""The files an operator starts from: examples/switch.json with examples/lldp-snmpd.conf, and
the example of docs/state-format.md, served as they are."""

import json
import re

from conftest import REPO

LLDP = "1.0.8802.1.1.2"
SWITCH = REPO / "examples" / "switch.json"
CONFIG = REPO / "examples" / "lldp-snmpd.conf"
FORMAT_DOC = REPO / "docs" / "state-format.md"


def rows(result, column):
    prefix = column + "."
    return [o for o in result.values() if o.startswith(prefix)]


class TestExampleSwitch:
    def test_the_example_switch_is_served_whole_and_in_order(self, start_daemon):
        state = json.loads(SWITCH.read_text())
        daemon = start_daemon(SWITCH.read_text(), config=CONFIG.read_text())
        walk = daemon.walk(LLDP)
        assert walk.ok, walk
        # snmpwalk stops with an error on any OID that does not increase.
        assert "not increasing" not in walk.stderr
        bulk = daemon.bulkwalk(LLDP, reps=25)
        assert bulk.ok, bulk
        assert bulk.stdout == walk.stdout

        interfaces = state["interfaces"]
        neighbours = sum(len(i.get("neighbors", [])) for i in interfaces)
        assert len(interfaces) >= 24 and neighbours >= 4
        assert len(rows(walk, f"{LLDP}.1.3.7.1.3")) == len(interfaces)  # lldpLocPortId
        assert len(rows(walk, f"{LLDP}.1.4.1.1.9")) == neighbours  # lldpRemSysName
        for table in (f"{LLDP}.1.4.2", f"{LLDP}.1.4.3", f"{LLDP}.1.4.4",  # addresses, TLVs
                      f"{LLDP}.1.5.32962.1.3.3",  # VLAN names
                      f"{LLDP}.1.5.4623.1.3.1", f"{LLDP}.1.5.4623.1.3.2"):  # MAC/PHY, power
            assert rows(walk, table), f"the example has no rows in {table}"

    def test_with_the_mibs_loaded_every_value_has_its_declared_type(self, start_daemon):
        daemon = start_daemon(SWITCH.read_text(), config=CONFIG.read_text())
        walk = daemon.walk(LLDP, mibs=True)
        assert walk.ok, walk
        assert "Wrong Type" not in walk.stdout


class TestFormatDocument:
    def test_the_documented_example_is_a_valid_state(self, start_daemon):
        blocks = re.findall(r"```json\n(.*?)```", FORMAT_DOC.read_text(), re.S)
        assert blocks, "docs/state-format.md has no JSON example"
        for block in blocks:
            daemon = start_daemon(block)
            assert "applied state file" in daemon.log()
            names = daemon.walk(f"{LLDP}.1.4.1.1.9").values()
            assert len(names) == sum(len(i.get("neighbors", []))
                                     for i in json.loads(block)["interfaces"])
            daemon.stop()
