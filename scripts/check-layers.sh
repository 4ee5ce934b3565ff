#!/usr/bin/env bash
# check-layers.sh: every #include of the product code (tests, benchmarks and fuzz targets aside)
# goes from a folder to one below it in this order (README.md, Layout). Folders on the same line
# do not include each other. Prints each include that goes the wrong way and exits 1 if any does.
set -euo pipefail
cd "$(dirname "$0")/.."
layers=(
  "base"
  "jet"
  "jet/sql"
  "output platform"
  "common"
  "ado os"
  "config"
  "shell"
  "diagnostics search dbinspect maintenance"
  "assembly"
  "driver"
  "cli ui"
)
declare -A rank
for i in "${!layers[@]}"; do
  for folder in ${layers[$i]}; do rank[$folder]=$i; done
done
folder_of() {  # jet/sql/x.h -> jet/sql, shell/x.h -> shell
  case "$1" in
    jet/sql/*) echo jet/sql ;;
    */*) echo "${1%%/*}" ;;
    *) echo "" ;;
  esac
}
bad=0
while IFS= read -r file; do
  case "$file" in */tests/* | */bench/* | */fuzz/* | */testing/*) continue ;; esac
  from=$(folder_of "$file")
  [ -n "$from" ] && [ -n "${rank[$from]+x}" ] || continue
  while IFS= read -r inc; do
    to=$(folder_of "$inc")
    [ -n "$to" ] && [ -n "${rank[$to]+x}" ] || continue
    [ "$to" = "$from" ] && continue
    if [ "${rank[$to]}" -ge "${rank[$from]}" ]; then
      echo "$file includes $inc: $from may not include $to"
      bad=1
    fi
  done < <(sed -n 's/^#include "\([^"]*\)".*/\1/p' "$file")
done < <(git ls-files -- '*.cc' '*.h')
exit $bad
