#!/usr/bin/env bash
# Builds the Qt host interfaces and the desktop host (ksr-desktop) against
# Qt 5.15 (-DKSR_QT_MAJOR=5) in build-qt5 and runs their tests (ctest label
# "qt": the interface tests, the package test, the desktop host's tests, and
# those that listen to the virtual microphone, which bring its start and
# stop with them). The normal build covers Qt 6.
# Usage: scripts/test.d/30-qt5.sh
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/quiet_build.sh
BUILD=build-qt5
JOBS=${KSR_JOBS:-2}

say() { echo "[qt5] $*"; }

say "configuring $BUILD"
mkdir -p "$BUILD"
cmake -S . -B "$BUILD" -G Ninja -DKSR_QT_MAJOR=5 -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=ON \
  >"$BUILD/configure.log" 2>&1 || { cat "$BUILD/configure.log"; exit 1; }
grep -q "Qt5Core" "$BUILD/CMakeCache.txt" || { say "Qt 5 was not picked up"; exit 1; }

# Only what the Qt tests need: the test programs of tests/interfaces, those
# of the SAPI interface and of the desktop host, the desktop host, and the
# module itself, which the package test installs.
programs='test_sr_interface\|test_vosk_interface[a-z_]*\|test_qt_surface\|test_hypothesis_filter\|test_listening_lifecycle'
programs+='\|test_host_usage\|test_teardown\|teardown_host\|test_microphone_loss[a-z_]*\|test_capture_run_fake\|test_k_sapi_[a-z_]*'
programs+='\|test_desktop_[a-z_]*'
targets="kalo-sr ksr-desktop $(cmake --build "$BUILD" --target help | sed -n "s/^\($programs\):.*/\1/p")"
say "building $(echo $targets | wc -w) targets"
quiet_build "$BUILD" -j "$JOBS" --target $targets || exit 1

# Every Qt test but the real-time variants with every listening setting
# on and the real-audio microphone-loss runs, which exercise the same code
# under both Qt versions: the end-to-end tests on the OpenAL test double
# (every clip, faster than real time), the real-time ones of the signal
# path (commands reaching the host thread, device and rate restarts), the
# lifecycle, teardown and host usage tests.
say "running the Qt tests"
ctest --test-dir "$BUILD" --output-on-failure -j "$JOBS" -L '^qt$' \
  -E 'MicEndToEnd\..*\.(paced|fast|quiet|all)$|LostMicrophone\.' | tee "$BUILD/ctest.log"
