#!/usr/bin/env bash
# Usage: fuzz/run.sh BUILD_DIR [SECONDS]
# Runs every fuzzer of BUILD_DIR/bin for SECONDS (default 60) on a scratch
# copy of its seed corpus (fuzz/corpus/NAME, NAME without "fuzz_"), with its
# dictionary (fuzz/dict/NAME.dict, or json.dict for the JSON readers). Inputs
# run to 1 MiB, so that wide elements (tens of thousands of attributes) and
# deep nesting are within reach. Fails on any crash, leak or sanitizer report.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$1
seconds=${2:-60}
status=0
found=0
for fuzzer in "$build"/bin/fuzz_*; do
    [ -x "$fuzzer" ] || continue
    found=1
    name=$(basename "$fuzzer")
    seeds="$here/corpus/${name#fuzz_}"
    work=$(mktemp -d "${TMPDIR:-/tmp}/tw-$name.XXXXXX")
    mkdir -p "$work/corpus"
    [ -d "$seeds" ] && cp -r "$seeds"/. "$work/corpus/"
    dict="$here/dict/${name#fuzz_}.dict"
    case "$name" in fuzz_json_*) dict="$here/dict/json.dict" ;; esac
    dict_option=()
    [ -f "$dict" ] && dict_option=(-dict="$dict")
    echo "== $name: ${seconds}s"
    if ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
        "$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -max_len=1048576 "${dict_option[@]}" \
            -artifact_prefix="$work/" -print_final_stats=1 "$work/corpus" >"$work/log" 2>&1; then
        grep -E '^stat::number_of_executed_units|^Done' "$work/log" | tail -2 || true
        rm -rf "$work"
    else
        echo "$name FAILED; log and artifacts in $work"
        tail -40 "$work/log"
        status=1
    fi
done
[ "$found" -eq 1 ] || { echo "no fuzzers in $build/bin"; exit 1; }
exit $status
