#!/usr/bin/env bash
# Usage: run_host_example.sh HOST_EXAMPLE PLUGIN_DIR
# The README's host program, twice on one cache file: the first run's value
# is saved and loaded again by the second, which adds its own.
set -euo pipefail
program=$1 plugins=$2
cache=$(mktemp -u)
trap 'rm -f "$cache"' EXIT
first=$("$program" "$plugins" InterfaceList '["lo"]' "$cache")
grep -q '"Name" : "lo"' <<<"$first" || { echo "no interface lo in: $first"; exit 1; }
grep -qx '1 value(s) cached' <<<"$first" || { echo "$first"; exit 1; }
second=$("$program" "$plugins" TableColumns '[[{"b": 1, "a": 2}]]' "$cache")
grep -q '"b"' <<<"$second" && grep -qx '2 value(s) cached' <<<"$second" || { echo "$second"; exit 1; }
if "$program" "$plugins" NoSuchFunction '[]' "$cache" 2>/dev/null; then echo "an unknown function succeeded"; exit 1; fi
echo ok
