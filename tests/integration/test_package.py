"""The Debian package as an operator gets it: what it holds, what it depends on, and that the
tree it unpacks to runs: the installed daemon answers a walk named with the installed MIB files,
and Debian's snmpd serves the LLDP MIBs through the installed plug-in.

Building the package is a whole build of its own: scripts/test.sh makes it once, before the
tests; run alone, this test makes it (or makes it again when the daemon is newer)."""

import json
import os
import platform
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import REPO, Daemon, tool, wait_until

PACKAGE_DIR = Path(os.environ.get("LLDP_PACKAGE_DIR") or REPO / "build-pkg")
LLDP = (1, 0, 8802, 1, 1, 2)
MULTIARCH = {"x86_64": "x86_64-linux-gnu", "aarch64": "aarch64-linux-gnu"}.get(
    platform.machine(), platform.machine() + "-linux-gnu")
PRIVATE = f"usr/lib/{MULTIARCH}/lldp-snmp"


def package():
    debs = sorted(PACKAGE_DIR.glob("lldp-snmp_*.deb"))
    built = Path(os.environ.get("LLDP_SNMPD") or REPO / "build" / "lldp-snmpd")
    if len(debs) != 1 or (built.exists() and debs[0].stat().st_mtime < built.stat().st_mtime):
        for old in debs:
            old.unlink()
        proc = subprocess.run(["bash", str(REPO / "scripts" / "package.sh"), str(PACKAGE_DIR)],
                              capture_output=True, text=True, timeout=3000)
        assert proc.returncode == 0, proc.stdout[-2000:] + proc.stderr[-4000:]
        debs = sorted(PACKAGE_DIR.glob("lldp-snmp_*.deb"))
    assert len(debs) == 1, debs
    return debs[0]


@pytest.fixture(scope="module")
def unpacked(tmp_path_factory):
    deb = package()
    root = tmp_path_factory.mktemp("root")
    subprocess.run([tool("dpkg-deb"), "-x", str(deb), str(root)], check=True)
    return deb, root


def test_the_package_holds_the_programs_libraries_mibs_docs_and_service(unpacked):
    deb, root = unpacked
    listing = subprocess.run([tool("dpkg-deb"), "-c", str(deb)], capture_output=True, text=True,
                             check=True).stdout
    # "mode owner size date time ./path[ -> target]"; folders left out.
    files = {line.split(None, 5)[5].split(" -> ")[0].lstrip(".")
             for line in listing.splitlines() if not line.startswith("d")}
    expected = {
        "/usr/bin/lldp-snmpd", f"/{PRIVATE}/lldpsnmp.so",
        f"/{PRIVATE}/libzim.so.0", f"/{PRIVATE}/liblldpsnmp.so.0", f"/{PRIVATE}/liblldpstate.so.0",
        "/usr/lib/systemd/system/lldp-snmpd.service", "/etc/default/lldp-snmpd",
        "/etc/lldp-snmpd/lldp-snmpd.conf",
        "/usr/share/man/man8/lldp-snmpd.8.gz", "/usr/share/man/man5/lldp-snmpd-state.5.gz",
        "/usr/share/doc/lldp-snmp/README.md", "/usr/share/doc/lldp-snmp/state-format.md",
        "/usr/share/doc/lldp-snmp/state-schema.json", "/usr/share/doc/lldp-snmp/lldpd-source.md",
        "/usr/share/doc/lldp-snmp/examples/switch.json",
    } | {f"/usr/share/snmp/mibs/{m.name}" for m in (REPO / "mibs").glob("*.txt")}
    assert expected - files == set()
    # Nothing of the build: no headers, no unversioned development links, no tests.
    assert [f for f in files if f.endswith((".h", ".a")) or f.endswith("lib/zim.so")
            or "test" in f] == []

    fields = {k: subprocess.run([tool("dpkg-deb"), "-f", str(deb), k], capture_output=True,
                                text=True, check=True).stdout.strip()
              for k in ("Package", "Depends", "Conffiles")}
    assert fields["Package"] == "lldp-snmp"
    for runtime in ("libsnmp40", "libsystemd0", "libstdc++6", "libc6"):
        assert runtime in fields["Depends"], fields["Depends"]
    control = subprocess.run([tool("dpkg-deb"), "-I", str(deb), "conffiles"],
                             capture_output=True, text=True, check=True).stdout
    assert set(control.split()) == {"/etc/default/lldp-snmpd", "/etc/lldp-snmpd/lldp-snmpd.conf"}
    # The programs find their private libraries relative to themselves.
    for program in ("usr/bin/lldp-snmpd", f"{PRIVATE}/lldpsnmp.so"):
        dynamic = subprocess.run([tool("readelf"), "-d", str(root / program)],
                                 capture_output=True, text=True, check=True).stdout
        assert "(RUNPATH)" in dynamic and "[$ORIGIN" in dynamic and "/build" not in dynamic


def test_the_unpacked_daemon_runs_and_answers_a_walk_named_with_the_installed_mibs(unpacked,
                                                                                  tmp_path):
    _, root = unpacked
    binary = root / "usr/bin/lldp-snmpd"
    version = subprocess.run([str(binary), "--version"], capture_output=True, text=True)
    assert version.returncode == 0 and version.stdout.startswith("lldp-snmpd "), version
    state = json.loads((root / "usr/share/doc/lldp-snmp/examples/switch.json").read_text())
    daemon = Daemon(tmp_path / "daemon", state, binary=str(binary))
    try:
        daemon.wait_ready()
        named = subprocess.run(
            [tool("snmpwalk"), "-v2c", "-c", "public", "-M", str(root / "usr/share/snmp/mibs"),
             "-m", "LLDP-MIB:LLDP-EXT-DOT1-MIB:LLDP-EXT-DOT3-MIB", f"127.0.0.1:{daemon.port}",
             "lldpRemSysName"], capture_output=True, text=True, env=daemon.env)
        assert named.returncode == 0 and named.stderr == "", named.stderr
        names = [n["sysName"] for i in state["interfaces"] for n in i.get("neighbors", [])
                 if "sysName" in n]
        assert names and all('LLDP-MIB::lldpRemSysName.' in named.stdout and name in named.stdout
                              for name in names)
    finally:
        assert daemon.stop() == 0, daemon.log()


def test_debian_snmpd_loads_the_unpacked_plug_in(unpacked, tmp_path, start_plugin_snmpd):
    _, root = unpacked
    state = tmp_path / "state.json"
    state.write_text((root / "usr/share/doc/lldp-snmp/examples/switch.json").read_text())
    snmpd = start_plugin_snmpd(f"lldpStateFile {state}\n", root / PRIVATE / "lldpsnmp.so")
    assert wait_until(lambda: "serving the LLDP MIBs" in snmpd.log()), snmpd.log()
    assert len(snmpd.snmp.walk(LLDP)) > 100


def test_systemd_accepts_the_packaged_unit_and_finds_its_man_pages(unpacked, tmp_path):
    _, root = unpacked
    analyze = shutil.which("systemd-analyze")
    if analyze is None:
        pytest.skip("systemd-analyze is not installed (scripts/install-deps.sh installs it)")
    unit = (root / "usr/lib/systemd/system/lldp-snmpd.service").read_text()
    assert "ExecStart=/usr/bin/lldp-snmpd $LLDP_SNMPD_OPTS" in unit
    # Checked where it was unpacked: the daemon there, the man pages there (Documentation=).
    copy = tmp_path / "lldp-snmpd.service"
    copy.write_text(unit.replace("/usr/bin/lldp-snmpd", str(root / "usr/bin/lldp-snmpd")))
    proc = subprocess.run([analyze, "verify", str(copy)], capture_output=True, text=True,
                          env=dict(os.environ, MANPATH=str(root / "usr/share/man")))
    assert proc.returncode == 0 and proc.stderr.strip() == "", proc.stderr
