#!/usr/bin/env bash
# Sets everything up and runs every test: the normal build, the same suite under AddressSanitizer
# and UndefinedBehaviorSanitizer, and a short fuzz run of the engine.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

echo "== build and test"
bash scripts/build.sh build
ctest --test-dir build --output-on-failure -j "$jobs"

echo "== build and test with AddressSanitizer and UndefinedBehaviorSanitizer"
bash scripts/build.sh build-asan -DQX_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  LSAN_OPTIONS=suppressions=$PWD/scripts/lsan.supp \
  ctest --test-dir build-asan --output-on-failure -j "$jobs"

if [ -x scripts/fuzz.sh ]; then
  echo "== short fuzz run"
  bash scripts/fuzz.sh 60
fi
