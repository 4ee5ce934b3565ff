#!/usr/bin/env bash
# demo_install.sh CLI SHARED: the demo installation as the README's first command lays it out.
# Its databases are made by the engine alone; each must pass the independent checker with no
# problem and list its tables in mdbtools; the demo's script must show tests 1 to 8 passed, a
# table listing, a table in the viewer, a search with rows and a cleanup.
set -euo pipefail
cli=$1
shared=$2
here=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/drive_c
fail() { echo "FAIL: $*" >&2; exit 1; }

QXTEST_CLI=$cli bash "$here/scripts/make-demo-install.sh" "$root"
for db in KELDATA/Office.mdb KELDATA/KelCom.mdb KELUSER/Report.mdb KELUSER/KelCom.mdb KEL/KelRet.mdb; do
  [ -f "$root/$db" ] || fail "$db was not made"
  verdict=$("$shared/tools/jet-verify/jet-verify" "$root/$db" 2>&1 | tail -1)
  echo "$db: $verdict"
  [[ $verdict == *", 0 problems" ]] || fail "$db: $verdict"
  [ -n "$(mdb-tables -1 "$root/$db")" ] || fail "$db: mdbtools lists no table"
done
# The category tables the search reads are all in the office database.
tables=$(mdb-tables -1 "$root/KELDATA/Office.mdb")
for t in Appraiser AppraiserFee Assigned Client ClientContact ClientFee Company FormTypes Invoice Property Users; do
  grep -qx "$t" <<<"$tables" || fail "Office.mdb lacks $t"
done

out=$("$cli" --root "$root" run "$here/scripts/demo.qxs")
passed=$(grep -c '"caption":"Passed"' <<<"$out" || true)
[ "$passed" = 8 ] || fail "tests passed: $passed of 8"$'\n'"$out"
grep -q '"control":"frmMain.lstTableListing","items":\["Database Tables within Office.mdb"' <<<"$out" ||
  fail "no table listing"
grep -q '"caption":"Table Name = Appraiser"' <<<"$out" || fail "the viewer did not open Appraiser"
grep -q '"control":"frmMain.grdData".*"rows":\[\["' <<<"$out" || fail "the search showed no row"
grep -q '"control":"frmMain.grdData".*"York"' <<<"$out" || fail "the search by city showed no York row"
grep -q '"control":"frmMain.lstDetails","items":\["This utility deletes temporary"' <<<"$out" ||
  fail "no cleanup"
# The cleanup left the report database's own tables and removed its temporary ones.
left=$(mdb-tables -1 "$root/KELUSER/Report.mdb" | sort | tr '\n' ' ')
[ "$left" = "PrintLog ReportSettings " ] || fail "Report.mdb after the cleanup: $left"
verdict=$("$shared/tools/jet-verify/jet-verify" "$root/KELUSER/Report.mdb" 2>&1 | tail -1)
[[ $verdict == *", 0 problems" ]] || fail "Report.mdb after the cleanup: $verdict"
echo "demo installation: 5 databases, 8 tests passed, listing, viewer, search and cleanup shown"
