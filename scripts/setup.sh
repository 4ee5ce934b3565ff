#!/usr/bin/env bash
# Installs what building and testing QX Test needs on Debian 12 (as root, or through sudo).
# Safe to run again: packages already present are not fetched twice.
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES=(
  build-essential cmake ninja-build pkg-config git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev clang-format-14
  qt6-base-dev qt6-base-dev-tools libgl-dev
  mdbtools
  default-jre-headless libcommons-lang3-java libcommons-logging-java time
  xvfb xauth imagemagick
  python3
)

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
# Node.js and npm: any installation will do (some machines carry a Node.js build that bundles its own
# npm and conflicts with Debian's npm package), so only install Debian's when the commands are absent.
command -v node >/dev/null 2>&1 || missing+=(nodejs)
command -v npm >/dev/null 2>&1 || missing+=(npm)
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# The independent reader used by the engine's comparison tests, pinned by its lock file.
if [ ! -d tools/peers/node_modules/mdb-reader ]; then
  (cd tools/peers && npm ci --no-audit --no-fund --loglevel=error)
fi
