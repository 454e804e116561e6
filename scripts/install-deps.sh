#!/usr/bin/env bash
# Installs the Debian 12 packages the build needs, only when one is missing.
#   install-deps.sh           what building and running needs
#   install-deps.sh --test    also clang and its runtime libraries, for the fuzz targets,
#                             and pdftotext, with which the print test reads its PDF back
#   install-deps.sh --screenshots  also the virtual X display for tools/screenshots.sh
set -euo pipefail

packages=(
  build-essential
  cmake
  ninja-build
  libgtest-dev
  libgmock-dev
  libbenchmark-dev
  qt6-base-dev
  qt6-serialport-dev
)
case "${1:-}" in
  --test) packages+=(clang libclang-rt-14-dev poppler-utils) ;;
  --screenshots) packages+=(xvfb xauth fonts-dejavu-core qt6-qpa-plugins) ;;
esac

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "Run this as root (or install the packages above yourself)." >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update
  apt-get install -y --no-install-recommends "${missing[@]}"
fi
