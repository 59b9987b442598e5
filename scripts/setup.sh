#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks, then configures and builds the
# product in ./build (reused when it exists, so a second run only rebuilds what changed).
# Usage: scripts/setup.sh [extra cmake -D options...]
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_dir="${VORLO_BUILD_DIR:-$here/build}"

packages=(
  g++ cmake ninja-build pkg-config
  qtbase5-dev qtbase5-dev-tools
  liblog4cpp5-dev libpugixml-dev libzip-dev
  libaravis-dev libusb-1.0-0-dev
  xvfb xauth fonts-dejavu-core
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  echo "Installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

generator=()
if [ ! -f "$build_dir/CMakeCache.txt" ] && command -v ninja >/dev/null 2>&1; then
  generator=(-G Ninja)
fi
cmake -S "$here" -B "$build_dir" "${generator[@]}" "$@"
cmake --build "$build_dir" --parallel "$(nproc)"
