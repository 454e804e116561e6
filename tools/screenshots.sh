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

"$root/scripts/install-deps.sh"
# The virtual display and the fonts a window needs, when missing.
needed=()
for package in xvfb xauth fonts-dejavu-core qt6-qpa-plugins; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || needed+=("$package")
done
if [ ${#needed[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    echo "Missing: ${needed[*]} (run as root to install them)" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update
  apt-get install -y --no-install-recommends "${needed[@]}"
fi

cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j "$(nproc)" --target velmora_programs

# A throw-away program folder, so the pictures never depend on (or change) the build's.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
cp -r "$root/build/bin/." "$home/"

QT_QPA_PLATFORM=xcb xvfb-run --auto-servernum --server-args="-screen 0 1400x1000x24" \
  "$home/velmora" --home "$home" --port virtual --no-save --screenshots "$out"
ls -l "$out"
