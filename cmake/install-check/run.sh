#!/usr/bin/env bash
# Installs the build in ./build (or VORLO_BUILD_DIR) into a temporary prefix, builds the
# application beside this script against it, and runs it.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
build_dir="${VORLO_BUILD_DIR:-$root/build}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$here" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/build" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib:${LD_LIBRARY_PATH:-}" QT_QPA_PLATFORM=offscreen "$work/build/consumer"
echo "install-check: find_package(VorloQtWidgets) from an installed prefix works"
