#!/usr/bin/env bash
# Installs what is missing, builds, and runs the headless runner: by default the
# demonstration script against the virtual board, else with the arguments given.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
# The programs only: the test suites and benchmarks are the test command's business.
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j "$(nproc)" --target velmora_programs
# Without arguments: the demonstration on the built-in virtual board.
if [ $# -eq 0 ]; then
  set -- --port virtual SCRIPTS/demo.scm
fi
exec "$root/build/bin/velmora-cli" "$@"
