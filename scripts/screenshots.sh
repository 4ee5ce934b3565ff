#!/usr/bin/env bash
# screenshots.sh [BUILD_DIR]: takes a PNG of each of the tool's windows, on a fresh copy of the demo
# installation, under a virtual X server, into docs/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
tool="$build/ui/qxtest-screenshots"
if [ ! -x "$tool" ]; then
  cmake --build "$build" --target qxtest-screenshots
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The fixture suite when it is beside the repository (it has the databases), else the demo layout.
if [ -d ../shared/fixtures/suite/drive_c ]; then
  cp -r ../shared/fixtures/suite/drive_c "$work/drive_c"
  chmod -R u+w "$work/drive_c"  # the fixtures are read-only; the copy is the installation
else
  bash scripts/make-demo-install.sh "$work/drive_c"
fi
mkdir -p docs/screenshots
export XDG_RUNTIME_DIR="$work/xdg"
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
xvfb-run -a -s "-screen 0 1280x1024x24" "$tool" --root "$work/drive_c" --out docs/screenshots
