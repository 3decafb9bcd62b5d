#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build, run and test lldp-snmp.
# Only what is missing is installed; nothing is changed when everything is present.
set -euo pipefail

packages=(
    g++ cmake make pkg-config
    libsnmp-dev snmp snmpd snmptrapd
    nlohmann-json3-dev libcli11-dev libsystemd-dev
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    python3 python3-pytest
    pandoc man-db systemd python3-jsonschema
    procps iproute2
    lldpd liblldpctl-dev
    clang libclang-rt-14-dev
)

missing=()
for pkg in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
    if [[ "$status" != "install ok installed" ]]; then
        missing+=("$pkg")
    fi
done

if [[ ${#missing[@]} -eq 0 ]]; then
    echo "all dependencies present"
    exit 0
fi

sudo=()
if [[ "$(id -u)" -ne 0 ]]; then
    if ! command -v sudo >/dev/null 2>&1; then
        echo "install-deps: missing packages: ${missing[*]}" >&2
        echo "install-deps: not root and sudo is not available; install them as root" >&2
        exit 1
    fi
    sudo=(sudo)
fi

echo "installing: ${missing[*]}"
"${sudo[@]}" apt-get update
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"

# Installing snmpd (and snmptrapd) starts system services on udp 161 (and 162). Our tests
# and the run script never use those ports, but a system agent answering on the same host
# only confuses anyone poking at it by hand, so stop and disable them. Their configuration
# is left as Debian ships it (our tools always pass -m/-M explicitly). lldpd likewise starts a
# system lldpd that would send LLDPDUs on every interface; the tests run their own, each in a
# network namespace with its own control socket.
for svc in snmpd snmptrapd lldpd; do
    if [[ " ${missing[*]} " != *" $svc "* ]]; then
        continue
    fi
    if [[ -d /run/systemd/system ]] && command -v systemctl >/dev/null 2>&1; then
        "${sudo[@]}" systemctl disable --now "$svc" >/dev/null 2>&1 || true
    elif command -v service >/dev/null 2>&1; then
        "${sudo[@]}" service "$svc" stop >/dev/null 2>&1 || true
    fi
done

echo "dependencies installed"
