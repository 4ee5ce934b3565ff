#!/usr/bin/env bash
# compact_kill_run.sh CLI SHARED_DIR [ROUNDS] [BIG_ROUNDS]: the compaction form's run, in a real
# `qxtest-cli run` process, killed with SIGKILL at a random moment: ROUNDS times (default 12) on the
# suite's Office.mdb and BIG_ROUNDS times (default 2) on the 142 MB benchmark database in its place.
# After every kill C:\KELDATA\Office.mdb must be byte for byte the original or the compacted
# database an undisturbed run makes (compaction is deterministic), and a scratch file left behind
# must be that same compacted database. The compacted database itself is checked once per source:
# mdbtools and mdb-reader see every table with the original's row count, and jet-verify finds no
# problem in it. Exits 1 at the first violation.
set -euo pipefail
cli=$(realpath "$1") shared=$(realpath "$2") rounds=${3:-12} bigRounds=${4:-2}
root=$(cd "$(dirname "$0")/../.." && pwd)
verify="$shared/tools/jet-verify/jet-verify"
work=$(mktemp -d "${TMPDIR:-/tmp}/qx-compact-run-kill.XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() { echo "compact_kill_run: $*" >&2; exit 1; }
cat >"$work/run.qxs" <<'SCRIPT'
start
tab 3
click frmMain.cmdFix(2)
click frmWarning.cmdProceed
selected frmCompress.lstdatabases 1 1
answer OK
click frmCompress.cmdCompress
print frmCompress.lststatus
SCRIPT

# "table rows" per user table, by mdb-tables and mdb-export (header line off).
peerCounts() {
  for t in $(mdb-tables -1 "$1" | sort); do
    echo "$t $(mdb-export -H "$1" "$t" | wc -l)"
  done
}
readerCounts() {  # the same by mdb-reader
  node "$root/jet/tests/peers/mdb_reader_export.mjs" "$1" |
    awk '/^\{"table":/ { if (t != "") print t, n; t = $0; n = -1; next } { n++ } END { if (t != "") print t, n }' |
    grep -v '"MSys' | sort
}
problems() { "$verify" "$1" | tail -1 | sed -n 's/.*, \([0-9]*\) problems$/\1/p'; }

# One source: its reference result, then the kills.
series() {  # series NAME SOURCE ROUNDS
  local name=$1 source=$2 n=$3
  local drive="$work/c" db="$work/c/KELDATA/Office.mdb" scratch="$work/c/KELDATA/compress.mdb"
  rm -rf "$drive"
  cp -R "$shared/fixtures/suite/drive_c" "$drive"
  chmod -R u+w "$drive"
  cp "$source" "$db"
  local start ms
  start=$(date +%s%N)
  (cd "$work" && "$cli" --root "$drive" run run.qxs) >"$work/reference.jsonl"
  ms=$(( ($(date +%s%N) - start) / 1000000 ))
  grep -qF '"OFFICE.MDB: Compressed ' "$work/reference.jsonl" || fail "$name: $(cat "$work/reference.jsonl")"
  cp "$db" "$work/reference.mdb"
  [ "$(peerCounts "$work/reference.mdb")" = "$(peerCounts "$source")" ] || fail "$name: mdbtools counts differ"
  # mdb-reader takes a minute over the benchmark database: there only with QX_KILL_READER_BIG=1.
  if [ "$name" != bench ] || [ "${QX_KILL_READER_BIG:-0}" = 1 ]; then
    [ "$(readerCounts "$work/reference.mdb")" = "$(readerCounts "$source")" ] || fail "$name: mdb-reader counts differ"
  fi
  # A database the engine wrote whole must have no problem at all.
  local found
  found=$(problems "$work/reference.mdb")
  [ "$found" = 0 ] || fail "$name: jet-verify finds ${found:-?} problems in the compacted database"
  local old new
  old=$(sha256sum "$source" | cut -d' ' -f1)
  new=$(sha256sum "$work/reference.mdb" | cut -d' ' -f1)
  local kept=0 replaced=0 spare=0
  for i in $(seq 1 "$n"); do
    cp "$source" "$db"
    rm -f "$scratch"
    (cd "$work" && exec "$cli" --root "$drive" run run.qxs) >/dev/null 2>&1 &
    local pid=$! delay=$(( RANDOM % (ms + 1) ))
    sleep "$(printf '%d.%03d' $((delay / 1000)) $((delay % 1000)))"
    kill -9 "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    local got
    got=$(sha256sum "$db" | cut -d' ' -f1)
    if [ "$got" = "$old" ]; then kept=$((kept + 1))
    elif [ "$got" = "$new" ]; then replaced=$((replaced + 1))
    else fail "$name: round $i (after ${delay} ms): Office.mdb is neither its old nor its compacted self"; fi
    if [ -e "$scratch" ]; then
      [ "$(sha256sum "$scratch" | cut -d' ' -f1)" = "$new" ] || fail "$name: round $i: the scratch file is not a whole compacted copy"
      spare=$((spare + 1))
    fi
  done
  echo "compact_kill_run: $name: undisturbed ${ms} ms; $n kills: old $kept, compacted $replaced, scratch left $spare"
}

series suite "$shared/fixtures/suite/drive_c/KELDATA/Office.mdb" "$rounds"
if [ "$bigRounds" -gt 0 ]; then
  gzip -dc "$shared/fixtures/bench/Office.mdb.gz" >"$work/bench.mdb"
  series bench "$work/bench.mdb" "$bigRounds"
fi
