#!/usr/bin/env bash
# Installs what is missing, builds, and starts the headless runner.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo
exec "$root/build/bin/velmora-cli" "$@"
