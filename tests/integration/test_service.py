"""What an operator installs besides the binary: the man pages (they render, and they, --help and
the README name the same options), the systemd unit (systemd accepts it, and the daemon reports
readiness the way Type=notify expects), and logging to syslog."""

import os
import re
import shutil
import signal
import socket
import subprocess

import pytest

from conftest import REPO, daemon_binary, example_state, tool, wait_until
from mib_rows import LOC_SYS_NAME

OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]+")


def man_page(name):
    folder = os.environ.get("LLDP_MANDIR")
    if not folder or not os.path.isfile(os.path.join(folder, name)):
        pytest.fail(f"{name} not built in {folder!r} (is pandoc installed?)")
    return os.path.join(folder, name)


def rendered(name):
    proc = subprocess.run([tool("man"), "-l", man_page(name)], capture_output=True,
                          text=True, env=dict(os.environ, MANWIDTH="100", MAN_KEEP_FORMATTING=""))
    # groff may find a wide table cell hard to justify; nothing else may trouble it.
    trouble = [line for line in proc.stderr.splitlines()
               if not re.search(r"cannot adjust line|can't break line|will not fit", line)]
    assert proc.returncode == 0 and trouble == [], proc.stderr
    return re.sub(r".\x08", "", proc.stdout)  # no overstrike


def section(text, title):
    match = re.search(rf"^{title}\n(.*?)(?=^[A-Z][A-Z ]+\n|\Z)", text, re.M | re.S)
    assert match, f"no {title} section"
    return match.group(1)


def help_options():
    helped = subprocess.run([daemon_binary(), "--help"], capture_output=True, text=True)
    assert helped.returncode == 0
    return set(OPTION.findall(helped.stdout.split("Options:")[1].split("\n\n")[0]))


def test_the_man_pages_render_and_agree_with_help_and_the_readme():
    daemon = rendered("lldp-snmpd.8")
    for title in ("NAME", "SYNOPSIS", "OPTIONS", "DEPLOYMENTS", "SIGNALS", "FILES",
                  "EXIT STATUS", "EXAMPLES"):
        section(daemon, title)
    documented = set(OPTION.findall(section(daemon, "OPTIONS")))
    offered = help_options()
    assert offered == documented, (offered - documented, documented - offered)
    readme = (REPO / "README.md").read_text()
    assert {o for o in offered if o not in readme} == set()
    deployments = " ".join(section(daemon, "DEPLOYMENTS").split())
    for line in ("master agentx", "agentXSocket", "agentXPerms", "dlmod lldpsnmp",
                 "lldpStateFile"):
        assert line in deployments
    for signal_name in ("SIGTERM", "SIGINT", "SIGHUP", "SIGUSR1"):
        assert signal_name in section(daemon, "SIGNALS")

    assert "NAME" in rendered("lldp-snmpd-state.5")
    # The page is the state format document: every key it describes is there (in the page's
    # source: table cells wrap keys when rendered).
    state = open(man_page("lldp-snmpd-state.5")).read()
    doc = (REPO / "docs" / "state-format.md").read_text()
    for key in set(re.findall(r"^\| `(\w+)`", doc, re.M)):
        assert key in state, key


def test_systemd_accepts_the_unit(tmp_path):
    analyze = shutil.which("systemd-analyze")
    if analyze is None:
        pytest.skip("systemd-analyze is not installed (scripts/install-deps.sh installs it)")
    unit = (REPO / "dist" / "lldp-snmpd.service").read_text()
    assert "ExecStart=/usr/bin/lldp-snmpd " in unit and "StateDirectory=lldp-snmpd" in unit
    # The installed path does not exist here: the unit is checked against the built binary.
    copy = tmp_path / "lldp-snmpd.service"
    copy.write_text(unit.replace("/usr/bin/lldp-snmpd", daemon_binary()))
    proc = subprocess.run([analyze, "verify", "--man=no", str(copy)], capture_output=True,
                          text=True)
    assert proc.returncode == 0 and proc.stderr.strip() == "", proc.stderr


def test_readiness_and_stopping_are_reported_to_systemd(start_daemon, tmp_path):
    notify = tmp_path / "notify"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as sock:
        sock.bind(str(notify))
        sock.settimeout(10)
        daemon = start_daemon(example_state(), ready=False,
                              env=dict(os.environ, NOTIFY_SOCKET=str(notify)))
        assert sock.recv(4096) == b"READY=1"
        # Ready means served.
        assert daemon.get_one(LOC_SYS_NAME).value == \
            example_state()["localSystem"]["sysName"].encode()
        assert daemon.stop() == 0
        assert sock.recv(4096) == b"STOPPING=1"


def test_with_syslog_the_log_still_reaches_standard_error(start_daemon):
    daemon = start_daemon(example_state(), args=["--syslog"])
    assert "answering SNMP on" in daemon.log()
    daemon.proc.send_signal(signal.SIGUSR1)
    assert wait_until(lambda: "Jotlog: " in daemon.log())
