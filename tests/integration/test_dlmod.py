"""lldpsnmp.so inside Debian's own snmpd, loaded with dlmod: the LLDP subtree served in process,
the state file watched from snmpd's loop, notifications to snmpd's sinks, and a clean unload
when snmpd reads its configuration again or stops."""

import copy
import signal
import time

import pytest

from conftest import SYS_UPTIME, Snmp, compare_tables, notifications, wait_until
from mib_rows import REM, REM_TABLES_CHANGE, entry, expected_rows, switch_state, walk_rows

DLMOD_STATUS = (1, 3, 6, 1, 4, 1, 2021, 13, 14, 2, 1, 5)


@pytest.fixture
def on_file(start_plugin_snmpd, tmp_path, trap_receiver):
    """on_file(state, extra="") -> snmpd following a state file, notifying trap_receiver."""
    def start(state, extra=""):
        state_path = tmp_path / "state.json"
        Snmp.write_state(state_path, state)
        snmpd = start_plugin_snmpd(f"trap2sink udp:127.0.0.1:{trap_receiver.port} public\n"
                                   f"lldpStateFile {state_path}\n" + extra)
        snmpd.state_path = state_path
        return snmpd
    return start


def time_mark(rows):
    """The lldpRemTimeMark of the first neighbour row: when the plug-in added the rows, in
    snmpd's uptime."""
    return min(o[len(REM) + 2] for o in rows if o[:len(REM)] == REM)


@pytest.fixture
def snmpd(on_file):
    server = on_file(switch_state())
    yield server
    assert "Error" not in server.log() and "error" not in server.log(), server.log()


def test_debian_snmpd_serves_the_lldp_mibs_in_process_and_follows_the_file(snmpd,
                                                                           trap_receiver):
    state = switch_state()
    assert wait_until(lambda: "serving the LLDP MIBs" in snmpd.log()), snmpd.log()
    rows = walk_rows(snmpd.snmp)  # snmpwalk fails on a step back
    compare_tables(rows, expected_rows(state, time_mark(rows)))

    before = len(notifications(trap_receiver, REM_TABLES_CHANGE))
    changed = copy.deepcopy(state)
    intf = next(i for i in changed["interfaces"] if i.get("neighbors"))
    neighbour = intf["neighbors"][0]
    neighbour["sysName"] = "renamed.example.net"
    Snmp.write_state(snmpd.state_path, changed)
    assert wait_until(lambda: any(v.value == b"renamed.example.net"
                                  for v in snmpd.snmp.walk(entry(REM, 9)))), snmpd.log()
    assert wait_until(lambda: len(notifications(trap_receiver, REM_TABLES_CHANGE)) > before), \
        trap_receiver.log()


def test_a_reload_and_an_unload_unregister_cleanly(snmpd):
    assert wait_until(lambda: "serving the LLDP MIBs" in snmpd.log()), snmpd.log()
    served = walk_rows(snmpd.snmp)
    neighbours = lambda rows: {o[len(REM) + 3:] for o in rows if o[:len(REM)] == REM}  # noqa
    # Reading the configuration again unloads the module and loads it anew: a new mirror,
    # the same rows.
    snmpd.proc.send_signal(signal.SIGHUP)
    assert wait_until(lambda: snmpd.log().count("serving the LLDP MIBs") == 2), snmpd.log()
    again = walk_rows(snmpd.snmp)
    assert neighbours(again) == neighbours(served) and len(again) == len(served)

    # UCD-DLMOD-MIB's dlmodStatus = unload(5): every LLDP object goes, snmpd stays.
    (row,) = [v.oid for v in snmpd.snmp.walk(DLMOD_STATUS) if v.value == 1]  # loaded(1)
    unload = snmpd.snmp.set(row, "i", 5)
    assert unload.returncode == 0, unload
    assert walk_rows(snmpd.snmp) == {}
    assert snmpd.snmp.get_one(SYS_UPTIME).type == "Timeticks"
    assert snmpd.snmp.get_one(row).value == 2  # unloaded(2)


def test_a_refused_state_file_is_reported_and_nothing_is_served(on_file):
    snmpd = on_file("{not json")
    assert wait_until(lambda: "the LLDP MIBs are not served until" in snmpd.log()), snmpd.log()
    assert f"{snmpd.state_path}" in snmpd.log()
    assert snmpd.snmp.walk(entry(REM, 9)) == []
    assert snmpd.snmp.get_one(SYS_UPTIME).type == "Timeticks"


def test_snmpd_configuration_can_switch_the_notification_off(on_file, trap_receiver):
    snmpd = on_file(switch_state(),
                    "lldpNotification lldpRemTablesChange off\nlldpNotification bogus on\n")
    assert wait_until(lambda: "serving the LLDP MIBs" in snmpd.log()), snmpd.log()
    assert "unknown notification 'bogus'" in snmpd.log()
    changed = switch_state()
    next(i for i in changed["interfaces"] if i.get("neighbors"))["neighbors"] = []
    Snmp.write_state(snmpd.state_path, changed)
    assert wait_until(lambda: "neighbours removed" in snmpd.log()), snmpd.log()
    time.sleep(1.0)
    assert notifications(trap_receiver, REM_TABLES_CHANGE) == []
