#!/usr/bin/env bash
# Builds everything with warnings as errors and runs all tests.
# Installs what is missing (Debian 12). Options are handed to ctest.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/prepare.sh"
jobs=$(nproc)

install_missing "${packages[@]}" "${test_packages[@]}"
cd "$root"
start=$SECONDS
quietly "The configuration" cmake --preset dev
cmake --build --preset dev --parallel "$jobs"
built=$((SECONDS - start))

log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
ctest --test-dir build/dev --output-on-failure -j2 "$@" 2>&1 | tee "$log" || status=$?

echo
echo "== Summary: build ${built} s, tests $((SECONDS - start - built)) s"
grep -E '^[0-9]+% tests passed' "$log" || true
skipped=$(grep -c 'Problems.*\*\*\*Skipped' "$log" || true)
[ "$skipped" -eq 0 ] || echo "$skipped tests skipped: the public problem sets are absent"
if [ "$status" -eq 0 ]; then echo "PASSED"; else echo "FAILED"; fi
exit "$status"
