#!/usr/bin/env bash
# bench-jet.sh [BUILD_DIR] [RUNS]: the engine against mdbtools on the 142 MB benchmark database.
# Builds jet-bench and qxtest-cli (Release) into BUILD_DIR (default build-bench), unpacks the
# database into it once, and prints:
#   - jet-bench's scan figures (rows per second for Property and Invoice);
#   - whole processes, output to /dev/null, median of RUNS runs (default 5) in the same run:
#     `qxtest-cli jet export` (JSON Lines and --format csv) against `mdb-export` for Property and
#     Invoice, and `qxtest-cli jet query` of UCASE(CITY) LIKE '%YORK%' against mdb-sql running
#     City LIKE '%York%' (mdb-sql has no UCASE; fed as scripts/bench-search.sh feeds it), with the
#     ratios (peer time / our time) and our peak memory;
#   - peak memory of an export of Property from the 142 MB database and from the suite's 0.6 MB
#     one (flat in table size).
# The goals: export at least 15 times faster than mdb-export, the query at least 10 times faster
# than mdb-sql. On a loaded machine wall times swing; the CPU seconds (user + system) are printed
# beside them.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-bench}
runs=${2:-5}
shared=${QX_SHARED_DIR:-$PWD/../shared}
jobs=$(nproc 2>/dev/null || echo 2)

if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQX_BUILD_UI=OFF >/dev/null
fi
cmake --build "$dir" --target jet-bench jet-dump qxtest-cli -j "$jobs" >/dev/null

db="$dir/Office.mdb"
if [ ! -f "$db" ]; then
  gzip -dc "$shared/fixtures/bench/Office.mdb.gz" >"$db.part"
  mv "$db.part" "$db"
fi
small="$dir/Office-small.mdb"
cp -f "$shared/fixtures/suite/drive_c/KELDATA/Office.mdb" "$small"
cli="$dir/cli/qxtest-cli"

"$dir/jet/jet-bench" "$db"

if [ ! -x /usr/bin/time ]; then echo "(install the time package to measure times and peak memory)"; exit 0; fi
have() { command -v "$1" >/dev/null 2>&1; }

# measure CMD...: runs the command $runs times (output to /dev/null) and sets wall (median ms),
# cpu (median ms of user + system) and rss (largest peak KiB).
measure() {
  local walls=() cpus=() out
  rss=0
  for ((r = 0; r < runs; r++)); do
    out=$( { /usr/bin/time -f '%e %U %S %M' "$@" >/dev/null 2>/dev/null; } 2>&1 | tail -n 1)
    read -r e u s m <<<"$out"
    walls+=("$(awk -v e="$e" 'BEGIN{printf "%d", e*1000}')")
    cpus+=("$(awk -v u="$u" -v s="$s" 'BEGIN{printf "%d", (u+s)*1000}')")
    if [ "$m" -gt "$rss" ]; then rss=$m; fi
  done
  wall=$(printf '%s\n' "${walls[@]}" | sort -n | awk '{a[NR]=$1} END{print a[int((NR+1)/2)]}')
  cpu=$(printf '%s\n' "${cpus[@]}" | sort -n | awk '{a[NR]=$1} END{print a[int((NR+1)/2)]}')
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN{ if (b < 1) b = 1; printf "%.1f", a / b }'; }

printf '\n%-38s %9s %9s %9s %9s %7s %7s %10s\n' "whole process, median of $runs" "ours ms" "peer ms" "ours cpu" "peer cpu" "ratio" "cpu x" "our peak"
row() {  # label, our command..., -- peer command...
  local label=$1; shift
  local ours=() peer=()
  while [ "$1" != "--" ]; do ours+=("$1"); shift; done
  shift
  peer=("$@")
  measure "${ours[@]}"; local ow=$wall oc=$cpu orss=$rss
  if have "${peer[0]}"; then
    measure "${peer[@]}"; local pw=$wall pc=$cpu
    printf '%-38s %9d %9d %9d %9d %7s %7s %8d KiB\n' "$label" "$ow" "$pw" "$oc" "$pc" "$(ratio "$pw" "$ow")" "$(ratio "$pc" "$oc")" "$orss"
  else
    printf '%-38s %9d %9s %9d %9s %7s %7s %8d KiB\n' "$label" "$ow" "-" "$oc" "-" "-" "-" "$orss"
  fi
}

for table in Property Invoice; do
  row "jet export $table (JSON Lines)" "$cli" jet export "$db" "$table" -- mdb-export "$db" "$table"
  row "jet export $table --format csv" "$cli" jet export "$db" "$table" --format csv -- mdb-export "$db" "$table"
done
mdbsql() { printf '%s\ngo\n' "SELECT * FROM Property WHERE City LIKE '%York%'" | mdb-sql -HFP "$db"; }
export -f mdbsql
export db
have mdb-sql && peer=(bash -c mdbsql) || peer=(mdb-sql)
row "jet query UCASE(CITY) LIKE '%YORK%'" "$cli" jet query "$db" "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'" -- "${peer[@]}"
row "jet query ... --format csv" "$cli" jet query "$db" "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'" --format csv -- "${peer[@]}"

# Peak memory of a full export of Property: 142 MB database against the suite's 0.6 MB one.
peak() { /usr/bin/time -f '%M' "$@" 2>&1 >/dev/null | tail -n 1; }
echo
echo "peak memory, jet export Property: bench database $(peak "$cli" jet export "$db" Property) KiB, small database $(peak "$cli" jet export "$small" Property) KiB"
echo "peak memory, jet query LIKE: bench database $(peak "$cli" jet query "$db" "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'") KiB, small database $(peak "$cli" jet query "$small" "SELECT * FROM Property WHERE UCASE(CITY) LIKE '%YORK%'") KiB"
