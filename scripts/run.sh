#!/usr/bin/env bash
# Installs what is missing, builds, and runs lldp-snmpd in the foreground on the bundled
# example state, answering SNMP on udp 127.0.0.1:1161. Stop it with Ctrl-C.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repo"

bash scripts/install-deps.sh
bash scripts/build.sh

for f in examples/switch.json examples/lldp-snmpd.conf; do
    if [[ ! -f "$f" ]]; then
        echo "run: $f is missing; cannot start the example agent" >&2
        exit 1
    fi
done

echo
echo "Try in another terminal:"
echo "  snmpwalk -v2c -c public -M $repo/mibs -m LLDP-MIB:LLDP-EXT-DOT1-MIB:LLDP-EXT-DOT3-MIB 127.0.0.1:1161 1.0.8802.1.1.2"
echo

exec build/lldp-snmpd --listen udp:127.0.0.1:1161 \
    --state examples/switch.json --config examples/lldp-snmpd.conf
