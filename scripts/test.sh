#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test; then runs the unit tests again
# under AddressSanitizer and UndefinedBehaviorSanitizer, and the fuzz targets for a bounded
# time (scripts/fuzz.sh). Exits non-zero on any failure.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repo"

timings=()

report() {
    local rc=$?
    if [[ ${#timings[@]} -gt 0 ]]; then
        echo
        echo "== phases"
        printf '  %s\n' "${timings[@]}"
    fi
    if [[ $rc -ne 0 ]]; then
        echo "test: FAILED (exit $rc)" >&2
    fi
}
trap report EXIT

phase() {
    local name=$1
    shift
    echo
    echo "== $name"
    local start rc=0
    start=$(date +%s)
    "$@" || rc=$?
    local elapsed=$(( $(date +%s) - start ))
    if [[ $rc -ne 0 ]]; then
        timings+=("$name: ${elapsed}s FAILED")
        echo "== $name failed after ${elapsed}s" >&2
        exit "$rc"
    fi
    timings+=("$name: ${elapsed}s")
}

# No registered tests counts as a failure: an empty run proves nothing.
phase "install dependencies" bash scripts/install-deps.sh
phase "build" bash scripts/build.sh
# The package test checks this package rather than building one of its own.
phase "package" bash scripts/package.sh
phase "tests" ctest --test-dir build --output-on-failure --no-tests=error -j2

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
phase "build (sanitizers)" bash scripts/build.sh --sanitize
phase "unit tests (sanitizers)" \
    ctest --test-dir build-asan -L unit --output-on-failure --no-tests=error -j2
# libFuzzer on the state parser and on every table's index decoding, a minute each; a crash
# fails here and names its reproducer.
phase "fuzz (libFuzzer, sanitizers)" bash scripts/fuzz.sh
# The sanitized daemon answers a few times slower: the tests wait longer for what must happen.
# The package holds the plain build, which the first run has tested already.
export LLDP_TEST_TIME_SCALE=4
phase "integration tests (sanitizers)" \
    ctest --test-dir build-asan -L integration -E '^integration\.test_package$' \
    --output-on-failure --no-tests=error -j2
