#!/usr/bin/env bash
# cleanup_peers.sh CLI SHARED_DIR: "Clear Temporary Files" on a copy of the suite's Report.mdb, run
# through `qxtest-cli run`, checked by readers that are not ours: mdbtools lists only the
# database's own tables (ReportLayout, Settings), mdb-export and mdb-reader see their rows exactly
# as before, and jet-verify finds no problem (the source has none).
set -euo pipefail
cli=$(realpath "$1") shared=$(realpath "$2")
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/qx-cleanup.XXXXXX")
trap 'rm -rf "$work"' EXIT
cp -R "$shared/fixtures/suite/drive_c" "$work/c"
chmod -R u+w "$work/c"
db="$work/c/KELUSER/Report.mdb"
cp "$db" "$work/before.mdb"
fail() { echo "cleanup_peers: $*" >&2; exit 1; }

printf 'start\ntab 3\nclick frmMain.cmdFix(3)\n' >"$work/run.qxs"
(cd "$work" && "$cli" --root "$work/c" run run.qxs) >"$work/run.jsonl"
[ ! -s "$work/run.jsonl" ] || fail "the cleanup printed: $(cat "$work/run.jsonl")"

tables=$(mdb-tables -1 "$db" | sort | tr '\n' ' ')
[ "$tables" = "ReportLayout Settings " ] || fail "mdb-tables lists: $tables"
for t in ReportLayout Settings; do
  cmp -s <(mdb-export "$work/before.mdb" "$t") <(mdb-export "$db" "$t") || fail "mdb-export: $t differs"
done

section() {  # the lines of one table in mdb_reader_export's output
  awk -v t="{\"table\":\"$2\"}" '/^\{"table":/ { on = ($0 == t) } on' "$1"
}
node "$root/jet/tests/peers/mdb_reader_export.mjs" "$work/before.mdb" >"$work/before.jsonl"
node "$root/jet/tests/peers/mdb_reader_export.mjs" "$db" >"$work/after.jsonl"
[ "$(grep -c '^{"table":' "$work/after.jsonl")" -ge 2 ] || fail "mdb-reader: $(head -c 300 "$work/after.jsonl")"
for t in ReportLayout Settings; do
  [ -n "$(section "$work/after.jsonl" "$t")" ] || fail "mdb-reader: no $t"
  cmp -s <(section "$work/before.jsonl" "$t") <(section "$work/after.jsonl" "$t") || fail "mdb-reader: $t differs"
done
if grep -v '^{"table":"MSys' "$work/after.jsonl" | grep '^{"table":' | grep -qv -e ReportLayout -e Settings; then
  fail "mdb-reader still sees: $(grep '^{"table":' "$work/after.jsonl" | tr '\n' ' ')"
fi

verify="$shared/tools/jet-verify/jet-verify"
out=$("$verify" "$db") || fail "jet-verify: $out"
echo "$out" | tail -1 | grep -q ', 0 problems$' || fail "jet-verify: $(echo "$out" | tail -3)"
echo "cleanup_peers: only ReportLayout and Settings remain, rows unchanged for mdb-export and mdb-reader; $(echo "$out" | tail -1)"
