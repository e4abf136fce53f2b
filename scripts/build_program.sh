#!/usr/bin/env bash
# Sets the machine up (scripts/setup.sh) and builds one program of the
# project in the build folder that scripts/demo.sh and scripts/desktop.sh
# run it from.
#
#   scripts/build_program.sh TARGET       e.g. ksr-demo, ksr-desktop
#
# KSR_DEMO_BUILD names the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib/quiet_build.sh
TARGET=${1:?usage: scripts/build_program.sh TARGET}
BUILD=${KSR_DEMO_BUILD:-build}

./scripts/setup.sh
echo "[build] building $TARGET in $BUILD"
mkdir -p "$BUILD"
cmake -S . -B "$BUILD" -G Ninja >"$BUILD/configure.log" 2>&1 || { cat "$BUILD/configure.log"; exit 1; }
quiet_build "$BUILD" --target "$TARGET" || exit 1
