#!/usr/bin/env bash
# Builds the Debian package of lldp-snmp (lldp-snmp_<version>-1_<arch>.deb) with CPack.
#   scripts/package.sh [OUTPUT_DIR]     (default: build-pkg/)
# The package is built in its own tree, configured for /usr, without the tests; the path of
# the .deb is the last line printed.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(mkdir -p "${1:-$repo/build-pkg}" && cd "${1:-$repo/build-pkg}" && pwd)
build="$out/tree"

launcher=()
if command -v ccache >/dev/null 2>&1; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$repo" -B "$build" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
    -DLLDPSNMP_TESTS=OFF -DLLDPSNMP_WERROR="${CI:+ON}" >/dev/null
cmake --build "$build" -j"$(nproc)"
(cd "$build" && cpack -G DEB -B "$out" >/dev/null)
rm -rf "$out/_CPack_Packages"

debs=("$out"/lldp-snmp_*.deb)
if [[ ${#debs[@]} -ne 1 || ! -f "${debs[0]}" ]]; then
    echo "package: expected one lldp-snmp_*.deb in $out" >&2
    exit 1
fi
dpkg-deb --info "${debs[0]}" | sed -n 's/^ \(Package\|Version\|Depends\|Recommends\):/\1:/p'
echo "${debs[0]}"
