#!/usr/bin/env bash
# Sets everything up and runs every test: the suite in a Release build, the same suite in a Debug
# build under AddressSanitizer and UndefinedBehaviorSanitizer, a short fuzz run of the engine, and
# the sources' format. Warnings are errors in every build type; the third one, RelWithDebInfo, is
# what scripts/build.sh makes by default, so every developer's build compiles it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

echo "== build (Release) and test"
bash scripts/build.sh build-release -DCMAKE_BUILD_TYPE=Release
ctest --test-dir build-release --output-on-failure -j "$jobs"

echo "== build and test with AddressSanitizer and UndefinedBehaviorSanitizer"
bash scripts/build.sh build-asan -DQX_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  LSAN_OPTIONS=suppressions=$PWD/scripts/lsan.supp \
  ctest --test-dir build-asan --output-on-failure -j "$jobs"

echo "== short fuzz run"
bash scripts/fuzz.sh 60

echo "== include layers (README.md, Layout)"
bash scripts/check-layers.sh

echo "== format (.clang-format, clang-format 14)"
bash scripts/check-format.sh
