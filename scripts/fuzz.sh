#!/usr/bin/env bash
# Builds the libFuzzer targets (tests/fuzz/) with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer into build-fuzz/, and runs each for a bounded time on its seed
# corpus. A crash, a sanitizer report or a leak fails the run and names the reproducer.
#   scripts/fuzz.sh                 every target, FUZZ_SECONDS (default 60) each
#   scripts/fuzz.sh TARGET...       only those
# Inputs the run finds are kept in build-fuzz/corpus/<target>/, never in the seed corpus.
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$repo"

seconds=${FUZZ_SECONDS:-60}
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    targets=(fuzz_state_parser fuzz_table_index)
fi
build_dir=build-fuzz

launcher=()
if command -v ccache >/dev/null 2>&1; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build_dir" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DLLDPSNMP_FUZZ=ON -DLLDPSNMP_TESTS=OFF "${launcher[@]}" >/dev/null
cmake --build "$build_dir" -j"$(nproc)" --target "${targets[@]}"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
failed=0
for target in "${targets[@]}"; do
    seeds=tests/fuzz/corpus/$target
    found=$build_dir/corpus/$target
    artifacts=$build_dir/artifacts/$target
    rm -rf "$artifacts"
    mkdir -p "$found" "$artifacts"
    echo "fuzz: $target for ${seconds}s"
    rc=0
    "$build_dir/$target" -max_total_time="$seconds" -timeout=30 -max_len=16384 \
        -print_final_stats=1 -artifact_prefix="$artifacts/" "$found" "$seeds" \
        >"$build_dir/$target.log" 2>&1 || rc=$?
    grep -E '^(stat::number_of_executed_units|stat::new_units_added|Done )' \
        "$build_dir/$target.log" | sed "s/^/fuzz: $target: /" || true
    if [[ $rc -ne 0 ]]; then
        failed=1
        tail -n 60 "$build_dir/$target.log" >&2
        for reproducer in "$artifacts"/*; do
            [[ -e "$reproducer" ]] || continue
            echo "fuzz: $target FAILED; reproducer: $repo/$reproducer" >&2
            echo "fuzz: replay with: $build_dir/$target $repo/$reproducer" >&2
        done
        echo "fuzz: full log: $repo/$build_dir/$target.log" >&2
    fi
done
exit "$failed"
