#!/usr/bin/env bash
# Configures and builds lldp-snmp.
#   scripts/build.sh              -> build/
#   scripts/build.sh --sanitize   -> build-asan/ (AddressSanitizer + UndefinedBehaviorSanitizer)
#   scripts/build.sh --bench      also builds the benchmarks in bench/
# Warnings are errors when $CI is set.
set -euo pipefail

usage() {
    echo "usage: $0 [--sanitize] [--bench]" >&2
    exit 2
}

sanitize=OFF
bench=OFF
for arg in "$@"; do
    case "$arg" in
        --sanitize) sanitize=ON ;;
        --bench) bench=ON ;;
        -h|--help) usage ;;
        *) echo "unknown argument: $arg" >&2; usage ;;
    esac
done

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repo"

build_dir=build
if [[ "$sanitize" == ON ]]; then
    build_dir=build-asan
fi
werror=OFF
if [[ -n "${CI:-}" ]]; then
    werror=ON
fi

start=$(date +%s)

cmake -S . -B "$build_dir" \
    -DLLDPSNMP_SANITIZE="$sanitize" \
    -DLLDPSNMP_BENCH="$bench" \
    -DLLDPSNMP_WERROR="$werror"
cmake --build "$build_dir" -j"$(nproc)"

built=()
for artifact in libzim.so liblldpsnmp.so lldp-snmpd unit_tests; do
    if [[ -e "$build_dir/$artifact" ]]; then
        built+=("$build_dir/$artifact")
    fi
done
if [[ "$bench" == ON && -d "$build_dir/bench" ]]; then
    while IFS= read -r exe; do
        built+=("$exe")
    done < <(find "$build_dir/bench" -maxdepth 1 -type f -perm -u+x | sort)
fi

elapsed=$(( $(date +%s) - start ))
if [[ ${#built[@]} -eq 0 ]]; then
    echo "build: nothing to build yet in $build_dir (source folders are empty) (${elapsed}s)"
else
    echo "build: built in $build_dir (sanitize=$sanitize bench=$bench werror=$werror):"
    printf '  %s\n' "${built[@]}"
    echo "build: ${elapsed}s"
fi
