#!/usr/bin/env bash
# fuzz.sh SECONDS: builds the engine's libFuzzer target with clang (own build dir build-fuzz) and
# runs it for SECONDS over a corpus seeded from copies of the fixture databases. Fails on any
# crash, sanitizer report, leak, timeout or out-of-memory finding.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
dir=build-fuzz
jobs=$(nproc 2>/dev/null || echo 2)

if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQX_FUZZ=ON -DQX_BUILD_UI=OFF >/dev/null
fi
cmake --build "$dir" --target jet_fuzz -j "$jobs"

# Seeds: copies of the smaller fixture databases (the fuzzer mutates its own copies in memory).
corpus="$dir/fuzz-corpus"
findings="$dir/fuzz-findings"
mkdir -p "$corpus" "$findings"
shared=${QX_SHARED_DIR:-$PWD/../shared}
find "$shared/fixtures/access-corpus" "$shared/fixtures/suite" -name '*.mdb' -size -700k -print0 |
  while IFS= read -r -d '' f; do cp -f "$f" "$corpus/seed-$(basename "$f")"; done

status=0
"$dir/jet/fuzz/jet_fuzz" "$corpus" -max_total_time="$seconds" -max_len=720896 -timeout=20 \
  -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/" >"$dir/fuzz.log" 2>&1 || status=$?
tail -n 30 "$dir/fuzz.log"
if [ "$status" -ne 0 ]; then
  echo "fuzz.sh: the fuzzer found a problem (exit $status); inputs in $findings" >&2
  exit 1
fi
echo "fuzz.sh: no findings in $seconds s"
