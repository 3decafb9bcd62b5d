"""The standalone agent's system group says what LLDP says the device is, unless the
configuration says otherwise; and the agent's SNMPv3 identity survives restarts in the default
persistent directory."""

import copy
import os
import socket

from conftest import REPO, example_state, wait_until

SYSTEM = (1, 3, 6, 1, 2, 1, 1)
SYS_DESCR, SYS_OBJECT_ID, SYS_CONTACT, SYS_NAME, SYS_LOCATION, SYS_SERVICES = (
    SYSTEM + (k, 0) for k in (1, 2, 4, 5, 6, 7))
ENGINE_ID = (1, 3, 6, 1, 6, 3, 10, 2, 1, 1, 0)


def system_group(daemon):
    return {v.oid: v.value for v in daemon.get(SYS_DESCR, SYS_NAME, SYS_SERVICES)}


def test_the_system_group_follows_the_lldp_local_system_live(start_daemon):
    state = example_state()
    daemon = start_daemon(state, config=(REPO / "examples" / "lldp-snmpd.conf").read_text())
    local = state["localSystem"]
    assert system_group(daemon) == {SYS_DESCR: local["sysDesc"].encode(),
                                    SYS_NAME: local["sysName"].encode(),
                                    SYS_SERVICES: 0b110}  # bridge and router: layers 2 and 3

    for enabled, services in [(["router"], 0b100), (["repeater", "wlanAccessPoint"], 0b11),
                              (["telephone"], 0b1001000), ([], 72)]:
        changed = copy.deepcopy(state)
        changed["localSystem"].update(sysName=f"renamed-{services}", sysDesc="Access switch",
                                      sysCapEnabled=enabled)
        daemon.rewrite(changed)
        assert wait_until(lambda: daemon.get_one(SYS_NAME).value == f"renamed-{services}".encode())
        assert system_group(daemon)[SYS_SERVICES] == services, enabled
        assert daemon.get_one(SYS_DESCR).value == b"Access switch"

    # An LLDP agent that advertises no name leaves the host's own.
    changed["localSystem"].update(sysName="", sysDesc="")
    daemon.rewrite(changed)
    assert wait_until(lambda: daemon.get_one(SYS_NAME).value == socket.gethostname().encode())
    assert os.uname().release.encode() in daemon.get_one(SYS_DESCR).value


def test_the_configuration_overrides_every_system_object(start_daemon):
    config = ("rocommunity public 127.0.0.1\n"
              "sysname core-7\nsysdescr Core router in row 7\nsysservices 4\n"
              "syscontact noc@example.net\nsyslocation Hall B, rack 12\n"
              "sysobjectid .1.3.6.1.4.1.8072.3.2.10\n")
    daemon = start_daemon(example_state(), config=config)
    got = {v.oid: v.value for v in daemon.get(SYS_DESCR, SYS_OBJECT_ID, SYS_CONTACT, SYS_NAME,
                                              SYS_LOCATION, SYS_SERVICES)}
    assert got == {SYS_DESCR: b"Core router in row 7", SYS_OBJECT_ID: (1, 3, 6, 1, 4, 1, 8072, 3,
                                                                       2, 10),
                   SYS_CONTACT: b"noc@example.net", SYS_NAME: b"core-7",
                   SYS_LOCATION: b"Hall B, rack 12", SYS_SERVICES: 4}


def test_a_bad_sysservices_is_reported_with_its_file_and_line(start_daemon):
    daemon = start_daemon(example_state(),
                          config="rocommunity public 127.0.0.1\nsysservices 300\n")
    assert "lldp-snmpd.conf: line 2: Error: sysservices takes a number from 0 to 127, not '300'" \
        in daemon.log()
    assert daemon.get_one(SYS_SERVICES).value == 0b110


def test_the_engine_id_survives_a_restart_in_the_default_persistent_directory(start_daemon,
                                                                              tmp_path):
    # systemd's StateDirectory= hands the service its directory in STATE_DIRECTORY.
    persistent = tmp_path / "var-lib-lldp-snmpd"
    persistent.mkdir()
    env = dict(os.environ, STATE_DIRECTORY=str(persistent))
    ids = []
    for _ in range(2):
        daemon = start_daemon(example_state(), env=env)
        ids.append(daemon.get_one(ENGINE_ID).value)
        assert f"persistent state (engine ID, boots, users) in {persistent}" in daemon.log()
        assert daemon.stop() == 0
    assert ids[0] == ids[1]
    assert "engineBoots 2" in (persistent / "lldp-snmpd.conf").read_text()
    # Without one (and none installed), each start is a new engine.
    if not os.path.isdir("/var/lib/lldp-snmpd"):
        env["STATE_DIRECTORY"] = ""
        fresh = [start_daemon(example_state(), env=env).get_one(ENGINE_ID).value
                 for _ in range(2)]
        assert fresh[0] != fresh[1]
