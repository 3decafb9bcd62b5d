"""lldp-snmpd --lldpd against real lldpds in network namespaces: a "switch" namespace whose
lldpd the daemon follows, a peer namespace with its own lldpd on eth1, and a namespace from
which raw LLDPDUs reach eth2. lldpcli is the oracle for what lldpd knows."""

import json
import operator
import os
import signal
import subprocess
import time

import pytest

import lldp_lab
import lldpdu
from conftest import RW_CONFIG, SYS_UPTIME, daemon_binary, notifications, wait_until
from mib_rows import (AGEOUTS, DELETES, INSERTS, LAST_CHANGE, LOC_SYS_NAME, MED_LOC_POLICY,
                      MED_REM_CAP, MED_REM_INVENTORY, MED_REM_LOCATION, MED_REM_PD,
                      MED_REM_POLICY, MED_REM_PSE, MED_REM_XPOE, PORT_CONFIG, REM, REM_MAN_ADDR,
                      REM_ORG_DEF_INFO, REM_TABLES_CHANGE, X1_REM, X1_REM_PROTO_VLAN,
                      X1_REM_PROTOCOL, X1_REM_VLAN_NAME, X3_LOC_POWER, X3_REM_LINK_AGG,
                      X3_REM_MAX_FRAME, X3_REM_PORT, X3_REM_POWER, app_type_index, entry,
                      location_info, med_neighbour_rows, neighbour_rows, time_mark, walk_rows)

REMOTE_TABLES = [REM, REM_MAN_ADDR, REM_ORG_DEF_INFO, X1_REM, X1_REM_PROTO_VLAN,
                 X1_REM_VLAN_NAME, X1_REM_PROTOCOL, X3_REM_PORT, X3_REM_POWER, X3_REM_LINK_AGG,
                 X3_REM_MAX_FRAME]
COUNTERS = [INSERTS, DELETES, AGEOUTS]
RICH_MAC = lldpdu.mac("02:00:5e:00:53:01")
RICH = lldpdu.neighbor(RICH_MAC, "Ethernet7", "rich", extra=[
    lldpdu.port_desc("uplink to rich"), lldpdu.sys_desc("a neighbour with every TLV"),
    lldpdu.sys_cap(0x14, 0x10), lldpdu.mgmt_addr("192.0.2.9", 2, 7),
    lldpdu.mgmt_addr("2001:db8::9", 1, 0), lldpdu.port_vlan(10), lldpdu.proto_vlan(20),
    lldpdu.proto_vlan(21, enabled=False), lldpdu.vlan_name(10, "users"),
    lldpdu.vlan_name(30, "voice"), lldpdu.protocol_identity(bytes.fromhex("0026424203000000")),
    lldpdu.mac_phy(True, True, 0x6C00, 30), lldpdu.power(klass=2), lldpdu.link_agg(port=77),
    lldpdu.max_frame_size(9216), lldpdu.org(bytes.fromhex("00005e"), 9, b"first"),
    lldpdu.org(bytes.fromhex("00005e"), 9, b"second")])
# What the raw sender put in RICH's MAC/PHY TLV, which lldpcli shows only as text.
RICH_MAC_PHY = {"autoNegSupported": True, "autoNegEnabled": True,
                "autoNegAdvertisedCap": 0x6C00, "operMauType": 30}
CAPABILITIES = {"Other": 0, "Repeater": 1, "Bridge": 2, "Wlan": 3, "Router": 4, "Tel": 5,
                "Docsis": 6, "Station": 7}


@pytest.fixture
def lab():
    reason = lldp_lab.unavailable()
    if reason:
        if os.environ.get("CI"):
            pytest.fail(f"CI must run the lldpd tests: {reason}")
        pytest.skip(reason)
    lab = lldp_lab.Lab()
    yield lab
    lab.close()


class Switch:
    """The switch namespace: eth1 to a peer running lldpd, eth2 to a raw LLDPDU sender."""

    def __init__(self, lab):
        self.lab = lab
        self.ns, self.peer_ns, self.raw_ns = lab.namespace(), lab.namespace(), lab.namespace()
        lab.link(self.ns, "eth1", self.peer_ns, "eth0", lldp_lab.lab_mac(1, 1),
                 lldp_lab.lab_mac(2, 0))
        lab.link(self.ns, "eth2", self.raw_ns, "eth0", lldp_lab.lab_mac(1, 2),
                 lldp_lab.lab_mac(3, 0))
        self.lldpd = lab.lldpd(self.ns, ["eth1", "eth2"], "switch",
                               ["configure system max-neighbors 4000"])
        self.peer = lab.lldpd(self.peer_ns, ["eth0"], "peer")
        self.sender = lldpdu.Sender(self.raw_ns, "eth0")

    def port(self, interface):
        out = subprocess.run(["ip", "-n", self.ns, "-j", "link", "show", interface],
                             capture_output=True, text=True, check=True)
        return json.loads(out.stdout)[0]["ifindex"]

    def lldpcli_names(self, interface):
        return [n["chassis"][0].get("name", [{}])[0].get("value")
                for n in self.lldpd.neighbors().get(interface, [])]


@pytest.fixture
def switch(lab):
    switch = Switch(lab)
    yield switch
    switch.sender.close()


def start(start_daemon, switch, **kw):
    daemon = start_daemon(None, args=["--lldpd", switch.lldpd.socket, *kw.pop("args", ())], **kw)
    daemon.switch = switch
    return daemon


def served(daemon, port):
    """{sysName: index} of the neighbours served on a port."""
    return {v.value.decode(): v.oid[-1] for v in daemon.walk(REM + (1, 9)) if v.oid[-2] == port}


def mark_now(daemon, port, index):
    return time_mark(daemon, port, index, daemon.get_one(SYS_UPTIME).value)


def counters(daemon):
    return [v.value for v in daemon.get(*COUNTERS)]


def without_time_marks(rows, tables=REMOTE_TABLES):
    """The rows of the remote tables given, time marks set to 0."""
    out = {}
    for oid, value in rows.items():
        table = next((t for t in tables if oid[:len(t)] == t), None)
        if table:
            at = len(table) + 2  # entry, column, then the time mark
            out[oid[:at] + (0,) + oid[at + 1:]] = value
    return out


def as_state_neighbour(shown, index):
    """A neighbour as lldpcli shows it (json0), in the state file's terms."""
    chassis, port = shown["chassis"][0], shown["port"][0]
    value = lambda holder, key: holder.get(key, [{}])[0].get("value", "")  # noqa: E731
    subtypes = {"mac": "macAddress", "ifname": "interfaceName", "local": "local"}
    chassis_id, port_id = chassis["id"][0], port["id"][0]
    caps = chassis.get("capability", [])
    addresses = [{"subtype": "ipV6" if ":" in a["value"] else "ipV4", "address": a["value"]}
                 for a in chassis.get("mgmt-ip", [])]
    for a, iface in zip(addresses, chassis.get("mgmt-iface", [])):
        if int(iface["value"]) > 0:
            a.update(ifSubtype="ifIndex", ifId=int(iface["value"]))
    n = {"index": index, "chassisIdSubtype": subtypes[chassis_id["type"]],
         "chassisId": chassis_id["value"], "portIdSubtype": subtypes[port_id["type"]],
         "portId": port_id["value"], "portDesc": value(port, "descr"),
         "sysName": value(chassis, "name"), "sysDesc": value(chassis, "descr"),
         "sysCapSupported": [CAPABILITIES[c["type"]] for c in caps],
         "sysCapEnabled": [CAPABILITIES[c["type"]] for c in caps if c["enabled"]],
         "managementAddresses": addresses, "dot1": {}, "dot3": {}}
    for v in shown.get("vlan", []):
        n["dot1"].setdefault("vlanNames", []).append({"id": int(v["vlan-id"]), "name": v["value"]})
        if v.get("pvid"):
            n["dot1"]["portVlanId"] = int(v["vlan-id"])
    n["dot1"]["protoVlans"] = [{"id": int(v["value"]), "supported": v["supported"],
                                "enabled": v["enabled"]} for v in shown.get("ppvid", [])]
    n["dot1"]["protocols"] = [{"index": k + 1, "id": {"hex": p["value"].replace(" ", "")}}
                              for k, p in enumerate(shown.get("pi", []))]
    if "mfs" in port:
        n["dot3"]["maxFrameSize"] = int(value(port, "mfs"))
    if "aggregation" in port:
        n["dot3"]["linkAgg"] = {"status": ["capable", "enabled"],
                                "portId": int(value(port, "aggregation"))}
    if "power" in port:
        w = port["power"][0]
        n["dot3"]["power"] = {"portClass": {"PSE": "pClassPSE", "PD": "pClassPD"}[
            value(w, "device-type")], "mdiSupported": w["supported"], "mdiEnabled": w["enabled"],
            "pairControllable": w["paircontrol"], "pairs": value(w, "pairs"),
            "class": value(w, "class").replace(" ", "")}
    seen = {}
    for t in shown.get("unknown-tlvs", [{}])[0].get("unknown-tlv", []):
        key = (t["oui"], t["subtype"])
        seen[key] = seen.get(key, 0) + 1
        info = bytes(int(b, 16) for b in t["value"].split(","))
        n.setdefault("orgDefTlvs", []).append({
            "oui": t["oui"].replace(",", "-"), "subtype": int(t["subtype"]), "index": seen[key],
            "info": {"hex": info.hex()}})
    return n


def test_neighbours_are_served_as_lldpcli_shows_them(switch, start_daemon):
    for _ in range(3):
        switch.sender.send(RICH_MAC, RICH)
    assert wait_until(lambda: switch.lldpcli_names("eth1") == ["peer"] and
                      switch.lldpcli_names("eth2") == ["rich"], timeout=15)
    daemon = start(start_daemon, switch)
    eth1, eth2 = switch.port("eth1"), switch.port("eth2")
    assert wait_until(lambda: "peer" in served(daemon, eth1) and "rich" in served(daemon, eth2))

    def served_and_shown():
        expected = {}
        shown = switch.lldpd.neighbors()
        for interface, port in (("eth1", eth1), ("eth2", eth2)):
            for n in shown[interface]:
                state = as_state_neighbour(n, 0)
                state["index"] = index = served(daemon, port)[state["sysName"]]
                if state["sysName"] == "rich":
                    state["dot3"]["macPhy"] = RICH_MAC_PHY
                neighbour_rows(expected, (0, port, index), state)
        rows = without_time_marks(walk_rows(daemon))
        # lldpcli names the real peer's MAU type only in words: its MAC/PHY row is left out.
        peer_index = served(daemon, eth1)["peer"]
        rows = {o: v for o, v in rows.items()
                if not (o[:len(X3_REM_PORT)] == X3_REM_PORT and o[-2:] == (eth1, peer_index))}
        return rows, expected

    # The peer may still be adding to what it sends (an IPv6 address once the link has one):
    # lldpcli and the walk are compared again until both saw the same.
    wait_until(lambda: operator.eq(*served_and_shown()))
    rows, expected = served_and_shown()
    assert rows == expected

    assert daemon.get_one(LOC_SYS_NAME).value == b"switch"
    ports = {v.oid[-1] for v in daemon.walk(PORT_CONFIG + (1, 2))}
    assert ports == {eth1, eth2}, "ports are numbered by ifIndex"


def trap_config(receiver):
    return RW_CONFIG + f"trap2sink 127.0.0.1:{receiver.port} public\n"


def wait_quiet(daemon, receiver):
    """Waits until the remote tables last changed a notification interval ago, so that the next
    change is announced; returns the notifications received by then. lldpd goes on updating a
    neighbour it has just learnt (its management address comes once its interface has one):
    a sleep of one interval from the neighbour's arrival does not make a quiet period, and the
    agent rightly drops a notification within five seconds of the last one."""
    def changed_ago():
        uptime, changed = (v.value for v in daemon.get(SYS_UPTIME, LAST_CHANGE))
        return uptime - changed
    assert wait_until(lambda: changed_ago() >= 550, timeout=30), "the remote tables keep changing"
    return len(notifications(receiver, REM_TABLES_CHANGE))


def test_link_down_up_and_a_new_hostname_each_change_the_rows_and_notify(
        switch, start_daemon, trap_receiver):
    daemon = start(start_daemon, switch, config=trap_config(trap_receiver))
    eth1 = switch.port("eth1")
    assert wait_until(lambda: "peer" in served(daemon, eth1), timeout=15)
    index = served(daemon, eth1)["peer"]
    mark = mark_now(daemon, eth1, index)
    before = counters(daemon)

    seen = wait_quiet(daemon, trap_receiver)
    switch.peer.configure("system", "hostname", "peer-renamed")
    assert wait_until(lambda: "peer-renamed" in served(daemon, eth1), timeout=10)
    assert served(daemon, eth1)["peer-renamed"] == index, "a changed neighbour keeps its row"
    assert mark_now(daemon, eth1, index) > mark, "and its time mark moves"
    assert wait_until(lambda: len(notifications(trap_receiver, REM_TABLES_CHANGE)) > seen)

    seen = wait_quiet(daemon, trap_receiver)
    switch.lab.set_link(switch.peer_ns, "eth0", False)
    assert wait_until(lambda: served(daemon, eth1) == {}, timeout=15)
    assert wait_until(lambda: len(notifications(trap_receiver, REM_TABLES_CHANGE)) > seen)

    seen = wait_quiet(daemon, trap_receiver)
    switch.lab.set_link(switch.peer_ns, "eth0", True)
    assert wait_until(lambda: "peer-renamed" in served(daemon, eth1), timeout=15)
    assert served(daemon, eth1)["peer-renamed"] != index, "a returning neighbour is new"
    assert wait_until(lambda: len(notifications(trap_receiver, REM_TABLES_CHANGE)) > seen)

    after = counters(daemon)
    assert after[0] >= before[0] + 1 and after[1] >= before[1] + 1, (before, after)


def test_an_identical_lldpdu_keeps_the_time_mark_and_sends_nothing(
        switch, start_daemon, trap_receiver):
    daemon = start(start_daemon, switch, config=trap_config(trap_receiver))
    eth2 = switch.port("eth2")
    switch.sender.send(RICH_MAC, RICH)
    assert wait_until(lambda: "rich" in served(daemon, eth2))
    index = served(daemon, eth2)["rich"]
    time.sleep(1)  # lldpd sees the frames that follow the first as the same
    first = mark_now(daemon, eth2, index)
    seen = wait_quiet(daemon, trap_receiver)
    last_change = daemon.get_one(LAST_CHANGE).value
    for _ in range(20):  # 10 s, twice a second
        switch.sender.send(RICH_MAC, RICH)
        time.sleep(0.5)
    assert served(daemon, eth2)["rich"] == index
    assert mark_now(daemon, eth2, index) == first
    assert daemon.get_one(LAST_CHANGE).value == last_change
    assert len(notifications(trap_receiver, REM_TABLES_CHANGE)) == seen


def test_lldpd_killed_and_restarted_is_survived_and_followed(switch, start_daemon):
    daemon = start(start_daemon, switch)
    eth1, eth2 = switch.port("eth1"), switch.port("eth2")
    switch.sender.send(RICH_MAC, RICH)
    assert wait_until(lambda: "peer" in served(daemon, eth1) and "rich" in served(daemon, eth2),
                      timeout=15)
    before = counters(daemon)

    switch.lldpd.stop(signal.SIGKILL)
    time.sleep(2)
    assert daemon.get_one(SYS_UPTIME).type == "Timeticks", "still answering"
    assert "peer" in served(daemon, eth1), "the last known state stays served"

    log_at = len(daemon.log())
    switch.lldpd.start()
    # The peer is learnt again from its next LLDPDU; the raw neighbour never comes back.
    assert wait_until(lambda: list(served(daemon, eth1)) == ["peer"] and
                      served(daemon, eth2) == {}, timeout=20)
    assert "lldpd is back" in daemon.log()[log_at:]
    after = counters(daemon)
    assert all(a >= b for a, b in zip(after, before)), (before, after)
    assert after[1] >= before[1] + 1, "the raw neighbour that lldpd forgot was deleted"
    lost = [line for line in daemon.log().splitlines() if "retrying until lldpd answers" in line]
    assert 1 <= len(lost) <= 2, "one line per change of state, not one per retry:\n" + \
        "\n".join(lost)


def test_a_port_too_big_for_one_control_message_leaves_the_others_served(switch, start_daemon):
    daemon = start(start_daemon, switch)
    eth1 = switch.port("eth1")
    assert wait_until(lambda: "peer" in served(daemon, eth1), timeout=15)
    # A loaded machine drops part of a burst on the veth: the same neighbours are sent again
    # until lldpd holds more of them than one control message carries.
    for _ in range(3):
        for k in range(1000):
            source = bytes.fromhex("020000") + k.to_bytes(3, "big")
            switch.sender.send(source, lldpdu.neighbor(source, f"port{k}", f"n{k}",
                                                       extra=[lldpdu.sys_desc("d" * 200)]))
            time.sleep(0.001)  # a veth drops what a burst overflows
        if daemon.wait_for_log("cannot read port eth2 from lldpd", timeout=20):
            break
    assert "cannot read port eth2 from lldpd" in daemon.log(), daemon.log()
    shown = switch.lldpd.cli("-f", "json0", "show", "neighbors", "ports", "eth2")
    assert shown.returncode != 0 or "eth2" not in shown.stdout, "lldpcli cannot read it either"
    switch.peer.configure("system", "hostname", "peer-after")
    assert wait_until(lambda: "peer-after" in served(daemon, eth1), timeout=15)
    assert daemon.get_one(SYS_UPTIME).type == "Timeticks"


def test_served_through_an_agentx_master(switch, start_daemon, agentx_master):
    agentx_master.start()
    start(start_daemon, switch, agentx=agentx_master.socket, listen=False, ready=False)
    eth1 = switch.port("eth1")
    assert wait_until(lambda: "peer" in served(agentx_master.snmp, eth1), timeout=20)


def test_debian_snmpd_follows_lldpd_through_the_dlmod_plugin(switch, start_plugin_snmpd):
    snmpd = start_plugin_snmpd(f"lldpLldpdSocket {switch.lldpd.socket}\n")
    snmp, eth1 = snmpd.snmp, switch.port("eth1")
    assert wait_until(lambda: "peer" in served(snmp, eth1), timeout=20), snmpd.log()
    assert f"serving the LLDP MIBs from lldpd at {switch.lldpd.socket}" in snmpd.log()
    switch.peer.configure("system", "hostname", "peer-renamed")
    assert wait_until(lambda: "peer-renamed" in served(snmp, eth1), timeout=15), snmpd.log()
    assert "rror" not in snmpd.log(), snmpd.log()


def test_dump_state_is_a_state_file_that_serves_the_same(switch, start_daemon, tmp_path):
    switch.sender.send(RICH_MAC, RICH)
    assert wait_until(lambda: switch.lldpcli_names("eth2") == ["rich"], timeout=10)
    dump = subprocess.run([daemon_binary(), "--lldpd", switch.lldpd.socket, "--dump-state"],
                          capture_output=True, text=True, timeout=30)
    assert dump.returncode == 0, dump.stderr
    state = json.loads(dump.stdout)
    from_file = start_daemon(state)
    rows = walk_rows(from_file)
    assert without_time_marks(rows), "the dump has neighbours"
    again = subprocess.run([daemon_binary(), "--state", str(from_file.state_path), "--dump-state"],
                           capture_output=True, text=True, timeout=30)
    assert json.loads(again.stdout) == state


def test_exactly_one_source_and_errors_that_name_the_socket(tmp_path):
    both = subprocess.run([daemon_binary(), "--state", "x.json", "--lldpd"], capture_output=True,
                          text=True, timeout=30)
    neither = subprocess.run([daemon_binary()], capture_output=True, text=True, timeout=30)
    for out in (both, neither):
        assert out.returncode != 0 and "exactly one of --state FILE and --lldpd" in out.stderr
    missing = str(tmp_path / "no-lldpd.socket")
    out = subprocess.run([daemon_binary(), "--lldpd", missing, "--dump-state"], capture_output=True,
                         text=True, timeout=30)
    assert out.returncode == 1
    assert missing in out.stderr and "No such file or directory" in out.stderr, out.stderr
    help_text = subprocess.run([daemon_binary(), "--help"], capture_output=True, text=True).stdout
    assert "--lldpd" in help_text and "_lldpd" in help_text


def test_a_socket_of_another_group_is_refused_naming_the_group(switch):
    out = subprocess.run(["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
                          daemon_binary(), "--lldpd", switch.lldpd.socket, "--dump-state"],
                         capture_output=True, text=True, timeout=30)
    assert out.returncode == 1
    assert switch.lldpd.socket in out.stderr and "Permission denied" in out.stderr
    assert "group _lldpd" in out.stderr, out.stderr


# A phone that sends every LLDP-MED TLV lldpd decodes; its locations are chosen so that lldpd's
# decoded values (a few decimals) give back the same bytes.
PHONE_MAC = lldpdu.mac("02:00:5e:00:53:0a")
PHONE_MED = {
    "deviceClass": "endpointClass3",
    "capSupported": ["capabilities", "networkPolicy", "location", "extendedPD", "inventory"],
    "policies": [{"appType": "voice", "vlanId": 10, "priority": 6, "dscp": 46, "tagged": True},
                 {"appType": "voiceSignaling", "vlanId": 0, "priority": 4, "dscp": 24}],
    "locations": [
        {"coordinates": {"latitude": 48.5, "longitude": -2.25, "altitude": 117.5}},
        {"civicAddress": {"country": "US", "elements": [{"type": 1, "value": "CA"},
                                                        {"type": 3, "value": "Example City"}]}},
        {"elin": "5551234567"}],
    "power": {"deviceType": "pdDevice", "source": "fromPSE", "priority": "high", "value": 123},
    "inventory": {"hardwareRev": "hw1", "mfgName": "maker", "modelName": "model-x"},
}
PHONE = lldpdu.neighbor(PHONE_MAC, "port7", "phone", extra=[
    lldpdu.med_capabilities(0x37, 3),
    lldpdu.med_policy(1, vid=10, priority=6, dscp=46),
    lldpdu.med_policy(2, tagged=False, vid=0, priority=4, dscp=24),
    *[lldpdu.org(lldpdu.OUI_TIA, 3, bytes([subtype - 1]) + info)  # LCI format: subtype - 1
      for subtype, info in map(location_info, PHONE_MED["locations"])],
    lldpdu.med_power(1, 1, 2, 123),  # a PD, powered from the PSE, high priority, 12.3 W
    lldpdu.med_inventory(5, "hw1"), lldpdu.med_inventory(9, "maker"),
    lldpdu.med_inventory(10, "model-x")])


MED_REMOTE_TABLES = [MED_REM_CAP, MED_REM_POLICY, MED_REM_INVENTORY, MED_REM_LOCATION,
                     MED_REM_XPOE, MED_REM_PSE, MED_REM_PD]


def test_med_tlvs_and_the_local_power_and_policies_come_from_lldpd(switch, start_daemon):
    switch.lldpd.configure("ports", "eth1", "dot3", "power", "pse", "supported", "enabled",
                           "paircontrol", "powerpairs", "spare", "class", "class-3")
    switch.lldpd.configure("ports", "eth1", "med", "policy", "application", "voice", "vlan",
                           "10", "priority", "voice", "dscp", "46")
    for _ in range(3):
        switch.sender.send(PHONE_MAC, PHONE)
    assert wait_until(lambda: switch.lldpcli_names("eth2") == ["phone"], timeout=15)
    daemon = start(start_daemon, switch)
    eth1, eth2 = switch.port("eth1"), switch.port("eth2")
    assert wait_until(lambda: "phone" in served(daemon, eth2) and "peer" in served(daemon, eth1))

    expected = {}
    med_neighbour_rows(expected, (0, eth2, served(daemon, eth2)["phone"]), PHONE_MED)
    # The peer's lldpd sent no MED TLV: no rows of it.
    assert without_time_marks(walk_rows(daemon), MED_REMOTE_TABLES) == expected

    # The switch's own port: its power via MDI (a PSE, class 3 served as 4, spare pairs) and
    # its voice policy.
    power = daemon.get(*[entry(X3_LOC_POWER, c, eth1) for c in range(1, 7)])
    assert [v.value for v in power] == [1, 1, 1, 1, 2, 4], power
    policy = daemon.get(*[entry(MED_LOC_POLICY, c, eth1, *app_type_index("voice"))
                          for c in range(2, 6)])  # VLAN, priority, DSCP, unknown
    assert [v.value for v in policy] == [10, 5, 46, 2], policy
