#!/usr/bin/env bash
# bench-jet.sh [BUILD_DIR]: the engine's scan benchmark. Builds jet-bench (Release) into
# BUILD_DIR (default build-bench), unpacks the benchmark database into it, and prints rows per
# second for a full scan of Property and of Invoice, a scan decoding only City, mdb-export of the
# same tables, and the engine's speed relative to mdb-export. It also reports the peak memory of
# a scan of the 142 MB database next to that of a 1 MB one.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-bench}
shared=${QX_SHARED_DIR:-$PWD/../shared}
jobs=$(nproc 2>/dev/null || echo 2)

if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQX_BUILD_UI=OFF >/dev/null
fi
cmake --build "$dir" --target jet-bench jet-dump -j "$jobs"

db="$dir/Office.mdb"
if [ ! -f "$db" ]; then
  gzip -dc "$shared/fixtures/bench/Office.mdb.gz" >"$db"
fi
small="$dir/Office-small.mdb"
cp -f "$shared/fixtures/suite/drive_c/KELDATA/Office.mdb" "$small"

"$dir/jet/jet-bench" "$db"

# Peak memory of a full export of Property: 142 MB database against the suite's 0.6 MB one.
if [ ! -x /usr/bin/time ]; then echo "(install the time package to measure peak memory)"; exit 0; fi
rss() { /usr/bin/time -f '%M' "$dir/jet/tests/jet-dump" "$1" Property 2>&1 >/dev/null | tail -n 1; }
echo "max RSS exporting Property: bench database $(rss "$db") KiB, small database $(rss "$small") KiB"

# Compaction of the 142 MB database against cp of the same file, and its peak memory.
# (Once DELETE exists, half of Property is deleted from the copy first.)
cmake --build "$dir" --target qxtest-cli -j "$jobs" >/dev/null
out="$dir/compacted.mdb"
rm -f "$out" "$dir/copied.mdb"
sync
t0=$(date +%s%N); cp "$db" "$dir/copied.mdb"; sync "$dir/copied.mdb"; t1=$(date +%s%N)
stats=$(/usr/bin/time -f '%e %M' "$dir/cli/qxtest-cli" jet compact "$db" "$out" 2>&1 >"$dir/compact.json" | tail -n 1)
t2=$(date +%s%N)
cp_ms=$(( (t1 - t0) / 1000000 )); compact_ms=$(( (t2 - t1) / 1000000 ))
echo "compaction: $(stat -c %s "$db") -> $(stat -c %s "$out") bytes; ${compact_ms} ms against cp+sync ${cp_ms} ms" \
  "(ratio $(awk -v a="$compact_ms" -v b="$cp_ms" 'BEGIN { printf "%.1f", (b > 0 ? a / b : 0) }')x);" \
  "max RSS $(echo "$stats" | cut -d' ' -f2) KiB; summary $(tail -n 1 "$dir/compact.json")"
rm -f "$out" "$dir/copied.mdb"
