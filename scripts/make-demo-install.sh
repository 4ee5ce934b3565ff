#!/usr/bin/env bash
# make-demo-install.sh DIR: lays out a small installation of the suite in DIR, which stands for drive
# C: (configuration file, program, data and user folders, Windows folders). An existing DIR is
# replaced. Needs nothing outside the repository.
set -euo pipefail
root=${1:?usage: make-demo-install.sh DIR}
rm -rf "$root"
mkdir -p "$root/APPRAISE" "$root/KEL" "$root/KELDATA" "$root/KELUSER" "$root/WINDOWS/SYSTEM32"
# kel.ini as the suite writes it: CRLF line ends.
printf '[directories]\r\nappdir=C:\\KEL\r\ndatadir=C:\\KELDATA\r\nuserdir=C:\\KELUSER\r\n\r\n[PROGRAM ALIAS]\r\nCORVID Office Plus=Corvid Office Plus\r\n' \
  > "$root/APPRAISE/kel.ini"
printf '[boot]\r\nshell=explorer.exe\r\n' > "$root/WINDOWS/system.ini"
printf '[windows]\r\nload=\r\nrun=\r\n' > "$root/WINDOWS/win.ini"
printf 'files=40\r\n' > "$root/WINDOWS/SYSTEM32/config.nt"
# The suite's databases, made by the tool's own engine (never copied from elsewhere): the office
# database and the comments database (shared copy) in the data folder, the report database and the
# local comments copy in the user folder, the transfer database in the application folder. Without
# an engine that can make files, only the folders and the configuration are laid out and tests 6 to
# 8 report the databases as missing.
cli=${QXTEST_CLI:-build/cli/qxtest-cli}
usage=$([ -x "$cli" ] && "$cli" jet 2>&1 || true)
if [[ $usage == *"jet create"* ]]; then
  for db in KELDATA/Office.mdb KELDATA/KelCom.mdb KELUSER/Report.mdb KELUSER/KelCom.mdb KEL/KelRet.mdb; do
    "$cli" jet create "$root/$db" >/dev/null
  done
fi
