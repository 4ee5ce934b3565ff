#!/usr/bin/env bash
# bench-viewer.sh [BUILD_DIR] [RUNS]: times the "Database Counts" viewer on the table Property of
# the 142 MB benchmark Office.mdb (200,000 rows) and, for scale, on the fixture suite's small
# Office.mdb: double click to the field and record counts, to the first 40 rows, 40 rows from the
# middle, and the peak resident memory of each run (flat in the table's size when rows are read
# by position). Figures, not a pass/fail test. The benchmark installation is laid out once in
# BUILD_DIR/bench/viewer (the fixture suite with the big Office.mdb).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
runs=${2:-20}
. scripts/bench-lib.sh
bench=$(bench_program "$build" qx_viewer_bench)
big="$build/bench/viewer/big"
small="$build/bench/viewer/small"
if [ ! -f "$big/KELDATA/Office.mdb" ]; then
  rm -rf "$big"; mkdir -p "$big"
  cp -R ../shared/fixtures/suite/drive_c/. "$big"
  chmod -R u+w "$big"
  rm -f "$big/KELDATA/Office.mdb"
  bench_database "$big/KELDATA/Office.mdb"
fi
rm -rf "$small"; mkdir -p "$small"
cp -R ../shared/fixtures/suite/drive_c/. "$small"
chmod -R u+w "$small"
echo "== benchmark Office.mdb ($(du -h "$big/KELDATA/Office.mdb" | cut -f1))"
"$bench" "$big" Property "$runs"
echo "== fixture Office.mdb ($(du -h "$small/KELDATA/Office.mdb" | cut -f1))"
"$bench" "$small" Property "$runs"
