#!/usr/bin/env bash
# Sets everything up, lays out a demo installation of the suite and runs the tool's main job on it:
# the installation tests ("Test All (1-9)" and the memory test) through the headless driver, or the
# window itself when a display is available (QXTEST_DEMO_WINDOW=1 forces the window, =0 the driver).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh build

demo=${QXTEST_DEMO_DIR:-$PWD/demo}
root="$demo/drive_c"
bash scripts/make-demo-install.sh "$root"

want_window=${QXTEST_DEMO_WINDOW:-}
if [ -z "$want_window" ]; then
  if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x build/ui/qxtest ]; then want_window=1; else want_window=0; fi
fi

if [ "$want_window" = 1 ]; then
  exec build/ui/qxtest --root "$root"
fi

echo "== QX Test on the demo installation in $root"
build/cli/qxtest-cli --root "$root" config
echo
echo "== Software Utilities: Test All (1-9), then Test 10 (Memory)"
build/cli/qxtest-cli --root "$root" run scripts/demo.qxs
