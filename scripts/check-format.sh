#!/usr/bin/env bash
# check-format.sh [--fix]: checks every tracked C++ source against .clang-format with clang-format 14
# (the version CI installs); exits 1 and lists the places that differ. With --fix the files are
# rewritten in place instead.
set -euo pipefail
cd "$(dirname "$0")/.."
fmt=$(command -v clang-format-14 || command -v clang-format || true)
if [ -z "$fmt" ]; then
  echo "check-format: clang-format 14 is not installed (scripts/setup.sh installs it)" >&2
  exit 2
fi
mapfile -t files < <(git ls-files -- '*.cc' '*.h')
if [ "${1:-}" = "--fix" ]; then
  "$fmt" -i -- "${files[@]}"
  exit 0
fi
"$fmt" --dry-run -Werror -- "${files[@]}"
