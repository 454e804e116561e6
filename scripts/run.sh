#!/usr/bin/env bash
# Installs what is missing, builds, and runs the headless runner: by default the
# demonstration script against the virtual board, else with the arguments given.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo
# Without arguments: the demonstration on the built-in virtual board.
if [ $# -eq 0 ]; then
  set -- --port virtual SCRIPTS/demo.scm
fi
exec "$root/build/bin/velmora-cli" "$@"
