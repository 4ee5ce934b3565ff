#!/usr/bin/env bash
# bench-ui.sh [BUILD_DIR] [RUNS]: the viewer and the search through the real windows (Qt,
# offscreen) on the 142 MB benchmark Office.mdb in place of the suite's: the time from a gesture
# (double click on office-Property, choosing the Property category, each key stroke of "york",
# "n", "12" in three boxes) until the window has painted its effect, first, median and p95 over
# RUNS runs (default 10), and the process's peak memory. The logic alone is timed by
# bench-viewer.sh and bench-search.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
runs=${2:-10}
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -G Ninja
fi
cmake --build "$build" --target qx_ui_bench -j2 >/dev/null
mdb="$build/bench-ui/Office.mdb"
if [ ! -f "$mdb" ]; then
  mkdir -p "$(dirname "$mdb")"
  gzip -dc ../shared/fixtures/bench/Office.mdb.gz >"$mdb.part"
  mv "$mdb.part" "$mdb"
fi
bench=$(find "$build" -name qx_ui_bench -type f -perm -u+x | head -n 1)
QX_BENCH_MDB=$(realpath "$mdb") QX_BENCH_RUNS=$runs QT_QPA_PLATFORM=offscreen "$bench" 2>/dev/null |
  grep -vE '^\[|^Running main|^$'
