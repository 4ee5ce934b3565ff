#!/usr/bin/env bash
# run_script.sh CLI SHARED_DIR SCRIPT [--update]
#
# Runs one driver script against a fresh copy of the demo installation and compares what it prints
# with the transcript beside it (SCRIPT with .expected in place of .qxs). With --update the
# transcript is written instead (for a reviewed change of behaviour only).
#
# The script may prepare its copy of drive C: with directive lines, which the driver itself reads
# as comments:
#   #! fixture empty        start from an empty drive instead of the demo installation
#   #! remove PATH          delete a file or folder (PATH below C:, "\" or "/" separated)
#   #! mkdir PATH           create a folder
#   #! write PATH TEXT      write a file; TEXT takes printf %b escapes (\r\n, \t, \\)
#   #! copy FIXTURE PATH    copy a file of the shared fixtures folder (FIXTURE "/" separated) to PATH
#   #! status N             the exit status the driver must end with (0 unless given)
set -euo pipefail
cli=$(realpath "$1") shared=$(realpath "$2") script=$(realpath "$3") mode=${4:-}
expected="${script%.qxs}.expected"

work=$(mktemp -d)
trap 'chmod -R u+w "$work" 2>/dev/null; rm -rf "$work"' EXIT
drive="$work/drive_c"

fixture=suite status=0
while IFS= read -r line; do
  case "$line" in
    "#! fixture "*) fixture=${line#\#! fixture } ;;
    "#! status "*) status=${line#\#! status } ;;
  esac
done < "$script"

if [ "$fixture" = empty ]; then
  mkdir -p "$drive"
else
  cp -R "$shared/fixtures/suite/drive_c" "$drive"
  chmod -R u+w "$drive"
fi

hostpath() { local p=${1//\\//}; printf '%s/%s' "$drive" "$p"; }
while IFS= read -r line; do
  case "$line" in
    "#! remove "*) rm -rf "$(hostpath "${line#\#! remove }")" ;;
    "#! mkdir "*) mkdir -p "$(hostpath "${line#\#! mkdir }")" ;;
    "#! write "*)
      rest=${line#\#! write }
      target=$(hostpath "${rest%% *}")
      mkdir -p "$(dirname "$target")"
      printf '%b' "${rest#* }" > "$target" ;;
    "#! copy "*)
      rest=${line#\#! copy }
      target=$(hostpath "${rest#* }")
      mkdir -p "$(dirname "$target")"
      cp "$shared/fixtures/${rest%% *}" "$target"
      chmod u+w "$target" ;;
  esac
done < "$script"

actual="$work/actual.jsonl"
set +e
(cd "$work" && "$cli" --root "$drive" run "$script") > "$actual" 2> "$work/stderr.txt"
rc=$?
set -e

if [ "$mode" = --update ]; then
  cp "$actual" "$expected"
  echo "updated $expected"
  exit 0
fi

fail=0
if [ "$rc" -ne "$status" ]; then
  echo "exit status $rc, expected $status"; cat "$work/stderr.txt"; fail=1
fi
if ! diff -u "$expected" "$actual"; then
  fail=1
fi
exit $fail
