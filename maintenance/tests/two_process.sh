#!/usr/bin/env bash
# two_process.sh CLI HOLD SHARED_DIR: a database that another process has open is not compacted
# underneath it. HOLD (hold_database) keeps C:\KELDATA\Office.mdb open, first shared as the suite
# does, then exclusively; meanwhile `qxtest-cli run` compacts it. Shared: the run reports
# "This File Was In Use... No Change." and goes on. Exclusive: the run shows the locked message
# and the program ends. Both times the file stays byte for byte as it was and no scratch file is
# left; once the other process has let go, the same run compacts it.
set -euo pipefail
cli=$(realpath "$1") hold=$(realpath "$2") shared=$(realpath "$3")
work=$(mktemp -d "${TMPDIR:-/tmp}/qx-two-process.XXXXXX")
holder=
cleanup() {
  exec 3>&- 2>/dev/null || true
  [ -n "$holder" ] && wait "$holder" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
cp -R "$shared/fixtures/suite/drive_c" "$work/c"
chmod -R u+w "$work/c"
db="$work/c/KELDATA/Office.mdb"
sum=$(sha256sum "$db" | cut -d' ' -f1)
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
fail() { echo "two_process: $*" >&2; exit 1; }

hold() {  # hold [--exclusive]: starts the other process and waits until it has the file
  rm -f "$work/in" "$work/held"
  mkfifo "$work/in"
  "$hold" "$db" "$@" <"$work/in" >"$work/held" &
  holder=$!
  exec 3>"$work/in"
  for _ in $(seq 1 200); do grep -q . "$work/held" && break; sleep 0.05; done
  [ "$(cat "$work/held")" = held ] || fail "the other process could not open the database: $(cat "$work/held")"
}
release() {
  exec 3>&-
  wait "$holder"
  holder=
}
unchanged() {
  [ "$(sha256sum "$db" | cut -d' ' -f1)" = "$sum" ] || fail "$1: the database changed"
  [ ! -e "$work/c/KELDATA/compress.mdb" ] || fail "$1: a scratch file was left"
}

hold
(cd "$work" && "$cli" --root "$work/c" run run.qxs) >"$work/shared.jsonl"
release
grep -qF '"items":["OFFICE.MDB: This File Was In Use... No Change."]' "$work/shared.jsonl" ||
  fail "shared holder: $(cat "$work/shared.jsonl")"
grep -qF 'Process Complete.' "$work/shared.jsonl" || fail "shared holder: the run did not go on to its end"
unchanged "shared holder"

hold --exclusive
(cd "$work" && "$cli" --root "$work/c" run run.qxs) >"$work/exclusive.jsonl" || true
release
grep -qF 'This database is open/locked.  Please have all users exit from the application (run this program again).' \
  "$work/exclusive.jsonl" || fail "exclusive holder: $(cat "$work/exclusive.jsonl")"
grep -qF '{"exit":true}' "$work/exclusive.jsonl" || fail "exclusive holder: the program did not end"
grep -qF 'lststatus' "$work/exclusive.jsonl" && fail "exclusive holder: the script went on after the end"
unchanged "exclusive holder"

(cd "$work" && "$cli" --root "$work/c" run run.qxs) >"$work/alone.jsonl"
grep -qF '"items":["OFFICE.MDB: Compressed ' "$work/alone.jsonl" || fail "alone: $(cat "$work/alone.jsonl")"
echo "two_process: in use reported, locked ends the program, file unchanged both times; compacted once alone"
