#!/usr/bin/env bash
# Pictures of the desktop program for people: starts `velmora --port virtual` under a
# virtual X display, drives a short session (connect, load, select, download, compare)
# and saves PNG images of the main window, the splash, the terminal settings dialog, the
# print dialog and the about box into DIR.
#   tools/screenshots.sh DIR
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: tools/screenshots.sh DIR}
mkdir -p "$out"
out=$(cd "$out" && pwd)

# What building needs, and the virtual display and fonts a window needs.
"$root/scripts/install-deps.sh" --screenshots

cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j "$(nproc)" --target velmora_programs

# A throw-away program folder, so the pictures never depend on (or change) the build's.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
cp -r "$root/build/bin/." "$home/"

QT_QPA_PLATFORM=xcb xvfb-run --auto-servernum --server-args="-screen 0 1400x1000x24" \
  "$home/velmora" --home "$home" --port virtual --no-save --screenshots "$out"
ls -l "$out"
