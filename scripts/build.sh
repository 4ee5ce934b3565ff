#!/usr/bin/env bash
# build.sh DIR [cmake options...]: configures (once) and builds the project into DIR.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}; shift || true
jobs=$(nproc 2>/dev/null || echo 2)
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -G Ninja "$@"
fi
cmake --build "$dir" -j "$jobs"
