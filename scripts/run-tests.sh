#!/usr/bin/env bash
# Sets the machine up, builds, and runs the whole test suite.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_dir="${VORLO_BUILD_DIR:-$here/build}"
"$here/scripts/setup.sh" "$@"
cd "$build_dir"
# The fuzz label holds long-running fuzzers; they are run on their own (see README).
ctest --output-on-failure --parallel "$(nproc)" --label-exclude fuzz
