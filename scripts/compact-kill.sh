#!/usr/bin/env bash
# compact-kill.sh [SECONDS] [BUILD_DIR]: kills `qxtest-cli jet compact` with SIGKILL at random
# moments, on a copy of the 142 MB benchmark database, for about SECONDS (default 40). After
# every kill the source must be byte for byte what it was, and the destination's name must hold
# nothing or a complete database (the same size as an undisturbed run's, readable, and passing
# jet-verify on some of the runs). Exits non-zero at the first violation.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-40}
dir=${2:-build}
shared=${QX_SHARED_DIR:-$PWD/../shared}
cli="$dir/cli/qxtest-cli"
verify="$shared/tools/jet-verify/jet-verify"
[ -x "$cli" ] || { echo "compact-kill: $cli is not built" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/qx-compact-kill.XXXXXX")
trap 'rm -rf "$work"' EXIT
src="$work/Office.mdb"
gzip -dc "$shared/fixtures/bench/Office.mdb.gz" >"$src"
sum=$(sha256sum "$src" | cut -d' ' -f1)

# An undisturbed run: its size and its time set the window the kills fall in.
start=$(date +%s%N)
"$cli" jet compact "$src" "$work/reference.mdb" >/dev/null
ms=$(( ($(date +%s%N) - start) / 1000000 ))
size=$(stat -c %s "$work/reference.mdb")
rm -f "$work/reference.mdb"
echo "compact-kill: undisturbed run ${ms} ms, ${size} bytes"

end=$(( $(date +%s) + seconds ))
runs=0; complete=0; absent=0
while [ "$(date +%s)" -lt "$end" ]; do
  dst="$work/out.mdb"
  "$cli" jet compact "$src" "$dst" >/dev/null 2>&1 &
  pid=$!
  delay=$(( RANDOM % (ms + ms / 4 + 1) ))
  sleep "$(printf '0.%03d' $((delay % 1000)))"
  [ "$delay" -ge 1000 ] && sleep $((delay / 1000))
  kill -9 "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  runs=$((runs + 1))
  if [ "$(sha256sum "$src" | cut -d' ' -f1)" != "$sum" ]; then
    echo "compact-kill: run $runs: the source changed" >&2; exit 1
  fi
  if [ -e "$dst" ]; then
    got=$(stat -c %s "$dst")
    if [ "$got" != "$size" ]; then echo "compact-kill: run $runs: $dst has $got bytes, not $size" >&2; exit 1; fi
    "$cli" jet tables "$dst" >/dev/null || { echo "compact-kill: run $runs: $dst does not read" >&2; exit 1; }
    if [ $((complete % 4)) -eq 0 ] && [ -x "$verify" ]; then
      "$verify" "$dst" >/dev/null || { echo "compact-kill: run $runs: jet-verify finds problems" >&2; exit 1; }
    fi
    complete=$((complete + 1))
    rm -f "$dst"
  else
    absent=$((absent + 1))
  fi
  # A killed run leaves its temporary file (named after the destination); never the destination.
  rm -f "$work"/.out.mdb.*.qxtmp
done
echo "compact-kill: $runs kills, destination absent $absent times, complete $complete times, source unchanged"
