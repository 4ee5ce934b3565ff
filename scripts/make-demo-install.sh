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
# Databases built by the tool's own engine land here once it can create them; until then the demo
# makes the folders and the configuration, so tests 6 to 8 report the databases as missing.
if [ -x "${QXTEST_CLI:-build/cli/qxtest-cli}" ] && "${QXTEST_CLI:-build/cli/qxtest-cli}" --help 2>/dev/null | grep -q 'jet create'; then
  "${QXTEST_CLI:-build/cli/qxtest-cli}" jet create-demo "$root" || true
fi
