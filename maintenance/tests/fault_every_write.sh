#!/usr/bin/env bash
# fault_every_write.sh CLI SHARED_DIR: the compaction run of C:\KELDATA\Office.mdb through
# `qxtest-cli run`, with `fault write N 61` (disk full) at every write of the run in turn, answered
# Abort, Ignore and Retry; then `fault vanish` of the folder and `fault readonly` on it. After each
# run Office.mdb must be byte for byte the original or the compacted database an undisturbed run
# makes, and a scratch file left behind must be that compacted database. The compacted database is
# checked once: mdbtools sees every table with the original's rows and jet-verify finds no problem.
set -euo pipefail
cli=$(realpath "$1") shared=$(realpath "$2")
work=$(mktemp -d "${TMPDIR:-/tmp}/qx-fault-writes.XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() { echo "fault_every_write: $*" >&2; exit 1; }
drive="$work/c" db="$work/c/KELDATA/Office.mdb" scratch="$work/c/KELDATA/compress.mdb"
source="$shared/fixtures/suite/drive_c/KELDATA/Office.mdb"

fresh() {
  rm -rf "$drive"
  cp -R "$shared/fixtures/suite/drive_c" "$drive"
  chmod -R u+w "$drive"
}
run() {  # run FAULT-LINE ANSWER: the run with the fault set just before Compress
  printf 'start\ntab 3\nclick frmMain.cmdFix(2)\nclick frmWarning.cmdProceed\nselected frmCompress.lstdatabases 1 1\n%s\nanswer %s\nanswer OK\nclick frmCompress.cmdCompress\nprint frmCompress.lststatus\n' \
    "$1" "$2" >"$work/run.qxs"
  (cd "$work" && "$cli" --root "$drive" run run.qxs) >"$work/out.jsonl" 2>"$work/err.txt" || true
}
exports() { for t in $(mdb-tables -1 "$1" | sort); do echo "== $t"; mdb-export "$1" "$t" | sort; done; }

fresh
run "" OK
grep -qF '"OFFICE.MDB: Compressed ' "$work/out.jsonl" || fail "undisturbed run: $(cat "$work/out.jsonl")"
cp "$db" "$work/reference.mdb"
exports "$work/reference.mdb" >"$work/reference.txt"
exports "$source" >"$work/source.txt"
cmp -s "$work/reference.txt" "$work/source.txt" || fail "mdb-export sees other rows in the compacted database"
"$shared/tools/jet-verify/jet-verify" "$work/reference.mdb" | tail -1 | grep -q ', 0 problems$' ||
  fail "jet-verify finds problems in the compacted database"
old=$(sha256sum "$source" | cut -d' ' -f1)
new=$(sha256sum "$work/reference.mdb" | cut -d' ' -f1)

check() {  # check WHAT
  local got
  got=$(sha256sum "$db" | cut -d' ' -f1)
  [ "$got" = "$old" ] || [ "$got" = "$new" ] || fail "$1: Office.mdb is neither its old nor its compacted self"
  if [ -e "$scratch" ]; then
    [ "$(sha256sum "$scratch" | cut -d' ' -f1)" = "$new" ] || fail "$1: the scratch file is not a whole compacted copy"
  fi
  [ "$got" = "$new" ] && echo compacted || echo old
}

summary=""
for answer in Abort Ignore Retry; do
  n=1
  while :; do
    fresh
    run "fault write $n 61" "$answer"
    # A run whose writes all came before the nth has nothing to report: every write was tried.
    grep -qF 'Disk full.' "$work/out.jsonl" || break
    summary="$summary $answer/$n:$(check "write $n, $answer")"
    n=$((n + 1))
    [ "$n" -le 20 ] || fail "more than 20 writes in one run"
  done
  [ "$n" -ge 4 ] || fail "$answer: only $((n - 1)) writes faulted"
done

fresh
run 'fault vanish "C:\\KELDATA"' OK
summary="$summary vanish:$(check vanish)"
grep -qF '"items":[]' "$work/out.jsonl" || fail "vanish: $(cat "$work/out.jsonl")"
fresh
run 'fault readonly "C:\\KELDATA"' OK
summary="$summary readonly:$(check readonly)"
grep -qF '"number":75' "$work/out.jsonl" || fail "readonly: $(cat "$work/out.jsonl")"
echo "fault_every_write:$summary"
