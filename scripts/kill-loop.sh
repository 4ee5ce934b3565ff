#!/usr/bin/env bash
# kill-loop.sh [BUILD_DIR] [ROUNDS]: real processes killed in the middle of a write.
#
# Each round copies the 142 MB benchmark database, starts
# `qxtest-cli jet exec COPY "DROP TABLE [T]"` for a table T taken in turn, sends it SIGKILL after
# a random delay (0-150 ms), opens the copy with our reader (which rolls back a journal left behind)
# and requires the file to be byte for byte the original or the result of the same drop run to its
# end (made once per table beforehand). Those reference results are checked by our reader (the
# table gone, every other table's row count unchanged) and, with KILL_LOOP_VERIFY=1, by jet-verify
# (minutes on this file). Then the same for a DELETE of half of Property, ROUNDS/2 times (at least
# twice), for an UPDATE of half of Property as often, and for a jet import of all of Property into a
# new database as often (it writes pages before its commit). Prints a line per round and a summary;
# exits 1 at the first file that is neither old nor new.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
rounds=${2:-20}
shared=${QX_SHARED_DIR:-$PWD/../shared}
cli="$dir/cli/qxtest-cli"
verify="$shared/tools/jet-verify/jet-verify"
[ -x "$cli" ] || { echo "kill-loop: build $cli first" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/qx-kill-XXXXXX")
trap 'rm -rf "$work"' EXIT
gzip -dc "$shared/fixtures/bench/Office.mdb.gz" >"$work/original.mdb"

# "name attributes records" per table that is not a system table, as our reader lists them.
counts() {
  "$cli" jet tables "$1" | sed -n 's/.*"name":"\([^"]*\)","attributes":\(-\?[0-9]*\),.*"records":\([0-9]*\).*/\1 \2 \3/p' |
    awk '$2 == 0' | sort
}
counts "$work/original.mdb" >"$work/original.counts"
mapfile -t all < <(awk '{print $1}' "$work/original.counts")
# The tables used: Property (the big one) and a few others.
tables=(Property)
for t in "${all[@]}"; do
  [ "$t" != Property ] && [ ${#tables[@]} -lt 4 ] && tables+=("$t")
done

for t in "${tables[@]}"; do
  cp "$work/original.mdb" "$work/ref-$t.mdb"
  "$cli" jet exec "$work/ref-$t.mdb" "DROP TABLE [$t]" >/dev/null
  counts "$work/ref-$t.mdb" >"$work/ref.counts"
  if ! diff <(grep -v "^$t " "$work/original.counts") "$work/ref.counts" >/dev/null; then
    echo "kill-loop: the uninterrupted drop of $t did not give the expected tables" >&2
    exit 1
  fi
  if [ "${KILL_LOOP_VERIFY:-0}" = 1 ]; then
    if ! "$verify" "$work/ref-$t.mdb" 2>/dev/null | grep -q ' 0 problems$'; then
      echo "kill-loop: jet-verify finds problems after dropping $t" >&2
      exit 1
    fi
  fi
done

old=0 new=0 finished=0
for ((i = 0; i < rounds; i++)); do
  t=${tables[$((i % ${#tables[@]}))]}
  cp "$work/original.mdb" "$work/w.mdb"
  delay_ms=$((RANDOM % 150))
  "$cli" jet exec "$work/w.mdb" "DROP TABLE [$t]" >"$work/out" 2>&1 &
  pid=$!
  sleep "$(printf '0.%03d' "$delay_ms")"
  if kill -9 "$pid" 2>/dev/null; then state=killed; else state=finished; fi
  wait "$pid" 2>/dev/null || true
  [ $state = finished ] && finished=$((finished + 1))
  journal=$([ -e "$work/w.mdb-journal" ] && echo "journal left" || echo "no journal")
  counts "$work/w.mdb" >/dev/null  # any open rolls back
  if [ -e "$work/w.mdb-journal" ]; then
    echo "round $i: the journal is still there after reopening" >&2
    exit 1
  fi
  if cmp -s "$work/w.mdb" "$work/original.mdb"; then
    result=old
    old=$((old + 1))
  elif cmp -s "$work/w.mdb" "$work/ref-$t.mdb"; then
    result=new
    new=$((new + 1))
  else
    echo "round $i: DROP TABLE [$t] $state after ${delay_ms} ms: the file is neither old nor new" >&2
    exit 1
  fi
  rm -f "$work/w.ldb" "$work/w.mdb-journal-ignored"
  echo "round $i: DROP TABLE [$t] $state after ${delay_ms} ms ($journal) -> $result"
done
echo "kill-loop: $rounds rounds: $old old, $new new ($finished finished before the kill)"

# Then DELETE of half of Property (100,000 rows with their index entries), killed at random moments
# within the 0-2.5 s it takes.
del="DELETE FROM Property WHERE PropertyID > 100000"
cp "$work/original.mdb" "$work/ref-delete.mdb"
"$cli" jet exec "$work/ref-delete.mdb" "$del" >/dev/null
counts "$work/ref-delete.mdb" >"$work/ref.counts"
if ! diff <(awk '$1 == "Property" {$3 = 100000} {print}' "$work/original.counts") "$work/ref.counts" >/dev/null; then
  echo "kill-loop: the uninterrupted delete did not leave the expected row counts" >&2
  exit 1
fi
if [ "${KILL_LOOP_VERIFY:-0}" = 1 ] && ! "$verify" "$work/ref-delete.mdb" 2>/dev/null | grep -q ' 0 problems$'; then
  echo "kill-loop: jet-verify finds problems after the delete" >&2
  exit 1
fi
del_rounds=$(( rounds / 2 > 2 ? rounds / 2 : 2 ))

# kill_rounds WHAT STATEMENT REFERENCE MAX_MS: del_rounds rounds of STATEMENT on a fresh copy,
# killed after a random 0..MAX_MS ms; each copy must be the original or REFERENCE byte for byte.
kill_rounds() {
  local what=$1 statement=$2 reference=$3 max_ms=$4
  local i delay_ms pid state result n_old=0 n_new=0
  for ((i = 0; i < del_rounds; i++)); do
    cp "$work/original.mdb" "$work/w.mdb"
    delay_ms=$((RANDOM % max_ms))
    "$cli" jet exec "$work/w.mdb" "$statement" >"$work/out" 2>&1 &
    pid=$!
    sleep "$(printf '%d.%03d' $((delay_ms / 1000)) $((delay_ms % 1000)))"
    if kill -9 "$pid" 2>/dev/null; then state=killed; else state=finished; fi
    wait "$pid" 2>/dev/null || true
    counts "$work/w.mdb" >/dev/null  # any open rolls back
    if cmp -s "$work/w.mdb" "$work/original.mdb"; then
      result=old n_old=$((n_old + 1))
    elif cmp -s "$work/w.mdb" "$reference"; then
      result=new n_new=$((n_new + 1))
    else
      echo "$what round $i: $state after ${delay_ms} ms: the file is neither old nor new" >&2
      exit 1
    fi
    rm -f "$work/w.ldb" "$work/w.mdb-journal-ignored"
    echo "$what round $i: $state after ${delay_ms} ms -> $result"
  done
  echo "kill-loop: $del_rounds $what rounds: $n_old old, $n_new new"
}
kill_rounds delete "$del" "$work/ref-delete.mdb" 2500

# Then UPDATE of half of Property (a longer city moves many rows to overflow rows, a changed zip
# replaces index-free columns), killed at random moments within the time it takes.
upd="UPDATE Property SET City = 'A city name long enough to need more roo', Zip = '99999' WHERE PropertyID > 100000"
cp "$work/original.mdb" "$work/ref-update.mdb"
"$cli" jet exec "$work/ref-update.mdb" "$upd" >/dev/null
counts "$work/ref-update.mdb" >"$work/ref.counts"
if ! diff "$work/original.counts" "$work/ref.counts" >/dev/null; then
  echo "kill-loop: the uninterrupted update changed row counts" >&2
  exit 1
fi
if [ "${KILL_LOOP_VERIFY:-0}" = 1 ] && ! "$verify" "$work/ref-update.mdb" 2>/dev/null | grep -q ' 0 problems$'; then
  echo "kill-loop: jet-verify finds problems after the update" >&2
  exit 1
fi
kill_rounds update "$upd" "$work/ref-update.mdb" 3000
# Then jet import of all of Property into a new database (JSON Lines of jet export), killed at
# random moments within the time it takes. The import holds more changed pages than a write keeps
# in memory, so it writes its new pages into the file before its commit: after the kill the file
# must still be the empty table or the whole import, and both are checked by jet-verify.
"$cli" jet create "$work/import-empty.mdb" >/dev/null
"$cli" jet schema "$work/original.mdb" Property | while IFS= read -r statement; do
  "$cli" jet exec "$work/import-empty.mdb" "$statement" >/dev/null
done
"$cli" jet export "$work/original.mdb" Property >"$work/property.jsonl"
cp "$work/import-empty.mdb" "$work/ref-import.mdb"
"$cli" jet import "$work/ref-import.mdb" Property <"$work/property.jsonl" >/dev/null
for f in import-empty ref-import; do
  if ! "$verify" "$work/$f.mdb" 2>/dev/null | grep -q ' 0 problems$'; then
    echo "kill-loop: jet-verify finds problems in $f.mdb" >&2
    exit 1
  fi
done
iold=0 inew=0
for ((i = 0; i < del_rounds; i++)); do
  cp "$work/import-empty.mdb" "$work/w.mdb"
  delay_ms=$((RANDOM % 2500))
  "$cli" jet import "$work/w.mdb" Property <"$work/property.jsonl" >"$work/out" 2>&1 &
  pid=$!
  sleep "$(printf '%d.%03d' $((delay_ms / 1000)) $((delay_ms % 1000)))"
  if kill -9 "$pid" 2>/dev/null; then state=killed; else state=finished; fi
  wait "$pid" 2>/dev/null || true
  journal=$([ -e "$work/w.mdb-journal" ] && echo "journal left" || echo "no journal")
  counts "$work/w.mdb" >/dev/null  # any open rolls back
  if [ -e "$work/w.mdb-journal" ]; then
    echo "import round $i: the journal is still there after reopening" >&2
    exit 1
  fi
  if cmp -s "$work/w.mdb" "$work/import-empty.mdb"; then
    result=old iold=$((iold + 1))
  elif cmp -s "$work/w.mdb" "$work/ref-import.mdb"; then
    result=new inew=$((inew + 1))
  else
    echo "import round $i: $state after ${delay_ms} ms: the file is neither old nor new" >&2
    exit 1
  fi
  rm -f "$work/w.ldb" "$work/w.mdb-journal-ignored" "$work/w.mdb-journal-partial"
  echo "import round $i: $state after ${delay_ms} ms ($journal) -> $result"
done
echo "kill-loop: $del_rounds import rounds: $iold old, $inew new"
