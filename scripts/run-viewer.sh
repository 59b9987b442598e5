#!/usr/bin/env bash
# Sets the machine up, builds, and starts the viewer.
# With a display the viewer opens as usual. Without one (DISPLAY unset, as on a server or in CI)
# it runs under Xvfb and, instead of waiting for a person, opens an emulated camera, grabs,
# measures the bandwidth and writes two screenshots, the main window and the bandwidth window:
#   VORLO_SCREENSHOT=path/to/file.png (default: doc/screenshots/vorloviewer.png; the bandwidth
#   window goes beside it as vorloviewer-bandwidth.png)
# Arguments are passed to the viewer (e.g. --emulated 4, --open '*EMU-0002*', --quit-after 5000).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build_dir="${VORLO_BUILD_DIR:-$here/build}"
"$here/scripts/setup.sh"
viewer="$build_dir/viewer/vorloviewer"
if [ ! -x "$viewer" ]; then
  echo "run-viewer: $viewer was not built" >&2
  exit 1
fi
if [ -n "${DISPLAY:-}" ]; then
  exec "$viewer" "$@"
fi
shot="${VORLO_SCREENSHOT:-$here/doc/screenshots/vorloviewer.png}"
mkdir -p "$(dirname "$shot")"
echo "No display: running under Xvfb, screenshots to $shot and ${shot%.*}-bandwidth.${shot##*.}"
# The time limit only stops a run that hangs; a normal run ends by itself after a few seconds.
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$viewer" --screenshot "$shot" --quit-after 120000 "$@"
