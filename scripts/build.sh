#!/usr/bin/env bash
# Configures and builds one build folder: build.sh FOLDER [cmake options...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
shift
cmake -S "$root" -B "$root/$folder" -G Ninja "$@" >/dev/null
cmake --build "$root/$folder" -j "$(nproc)"
