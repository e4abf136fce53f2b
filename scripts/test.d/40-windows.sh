#!/usr/bin/env bash
# Windows build: the recognition core and the SAPI back end cross-compiled
# with mingw-w64 against the real sapi.h (cmake/mingw-w64.cmake,
# tests/sapi/windows), and their tests run under Wine. The SAPI tests run
# twice over: with test doubles registered as the SAPI classes, and on
# Wine's own COM, which has no speech recognizer. The recognition core's
# tests on the real libvosk.dll (the engine's and the manager's tests of the
# shared clips, compiled from the Linux sources, and model folders named
# with spaces and letters outside ASCII) run here too, and the Windows
# package is installed and used by a host project built outside the tree.
#
# Wine runs headless (WINEDEBUG=-all, no Mono/Gecko) in a prefix of its own
# under the build folder, made afresh on every run; one persistent
# wineserver serves all test processes and is stopped at the end.
# KSR_WITH_WINDOWS=0 skips this suite.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/quiet_build.sh
. scripts/lib/failed_tests.sh
ROOT=$(pwd)
BUILD=$ROOT/build-win
JOBS=$(nproc)

say() { echo "[windows] $*"; }

if [ "${KSR_WITH_WINDOWS:-1}" != "1" ]; then
  say "skipped (KSR_WITH_WINDOWS=${KSR_WITH_WINDOWS})"
  exit 0
fi
for tool in x86_64-w64-mingw32-g++-posix wine wineserver wineboot; do
  command -v "$tool" >/dev/null || { echo "[windows] $tool is missing: run ./scripts/setup.sh" >&2; exit 1; }
done

mkdir -p "$BUILD"
say "configuring $BUILD"
# -O1 without debug information and a unity build: these programs only run
# once, under Wine, and this keeps the cross build short. (A fixture in an
# anonymous namespace, seen from a merged file, would be reported for every
# test of it.)
cmake -S tests/sapi/windows -B "$BUILD" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/mingw-w64.cmake" -DCMAKE_UNITY_BUILD=ON \
  -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG -Wno-subobject-linkage" \
  "-DCMAKE_C_FLAGS_RELEASE=-O1 -DNDEBUG" \
  >"$BUILD/configure.log" 2>&1 \
  || { cat "$BUILD/configure.log"; exit 1; }
say "building $BUILD"
quiet_build "$BUILD" -j "$JOBS" || exit 1

export WINEPREFIX=$BUILD/wineprefix
export WINEARCH=win64
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
stop_wine() { wineserver -k 2>/dev/null || true; }
trap stop_wine EXIT

# A fresh prefix. Its services are started here, with their output going to
# a log: started by a test instead, they would inherit ctest's pipes and
# hold them open.
stop_wine
rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
started=$(date +%s%N)
wineserver -p
wineboot --init >"$BUILD/wineboot.log" 2>&1
# Then a session of its own: once the new prefix is set up, Wine starts its
# services a second time in the first session, and the device services'
# second start times out twice (10 s each) while holding the service
# database, so the first COM activation of a test (which starts the RPC
# service) waited up to 20 s. A new session starts them once.
stop_wine
wineserver -w
wineserver -p
wine cmd /c exit >>"$BUILD/wineboot.log" 2>&1
boot_ms=$(( ($(date +%s%N) - started) / 1000000 ))
say "Wine's first start (new prefix): ${boot_ms} ms"

started=$(date +%s%N)
ctest --test-dir "$BUILD" --output-on-failure -j "$JOBS" | tee "$BUILD/ctest.log" \
  || { failed_tests_report "$BUILD"; exit 1; }
tests_ms=$(( ($(date +%s%N) - started) / 1000000 ))
say "tests under Wine: ${tests_ms} ms"
