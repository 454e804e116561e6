#!/usr/bin/env bash
# Installs what is missing, builds twice (plain, and with address and undefined-behaviour
# sanitizers) and runs every test suite in both builds, then runs every fuzz target for
# 30 s under libFuzzer. Exits non-zero on any failure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" --test

echo "== Build and test"
"$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo
ctest --test-dir "$root/build" --output-on-failure -j "$(nproc)"

echo "== Build and test with sanitizers"
"$root/scripts/build.sh" build-sanitize -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON -DVELMORA_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS=suppressions="$root/tests/lsan_system.supp" \
  ctest --test-dir "$root/build-sanitize" --output-on-failure -j "$(nproc)"

echo "== Fuzz every reader for 30 s"
"$root/tools/fuzz.sh" 30
