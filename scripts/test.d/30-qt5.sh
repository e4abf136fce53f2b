#!/usr/bin/env bash
# Builds the Qt host interfaces and the desktop host (ksr-desktop) against
# Qt 5.15 (-DKSR_QT_MAJOR=5) in build-qt5 and runs their tests that need no
# real time (ctest label "qt" without "realtime"), and one real-time
# end-to-end test on the virtual microphone. The normal build covers Qt 6.
# Usage: scripts/test.d/30-qt5.sh
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/quiet_build.sh
. scripts/lib/failed_tests.sh
BUILD=build-qt5
JOBS=${KSR_JOBS:-2}

say() { echo "[qt5] $*"; }

say "configuring $BUILD"
mkdir -p "$BUILD"
# Unoptimized and without debug information: built for one run of its
# tests, it compiles in half the time of an optimized build with debug
# information, and recognition itself runs in the prebuilt libvosk.
cmake -S . -B "$BUILD" -G Ninja -DKSR_QT_MAJOR=5 -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=ON -DKSR_LINKER=lld -DKSR_UNITY_PROGRAMS=ON \
  -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DNDEBUG" "-DCMAKE_C_FLAGS_RELEASE=-O0 -DNDEBUG" \
  >"$BUILD/configure.log" 2>&1 || { cat "$BUILD/configure.log"; exit 1; }
grep -q "Qt5Core" "$BUILD/CMakeCache.txt" || { say "Qt 5 was not picked up"; exit 1; }

# Only what the Qt tests below need: the module itself (which the package
# test installs), the desktop host, and the test programs of the Qt layer
# that do not play audio in real time. Programs whose tests run here only
# in part, or not at all, are not built: their tests are left out.
programs='test_sr_interface\|test_vosk_interface\|test_vosk_interface_model\|test_vosk_interface_threads'
programs+='\|test_vosk_interface_mic\|test_vosk_interface_mic_realtime\|test_host_usage\|test_qt_surface\|test_hypothesis_filter'
programs+='\|test_silence_gate\|test_listening_lifecycle\|test_teardown\|teardown_host\|test_capture_run_fake'
programs+='\|test_k_sapi_[a-z_]*\|test_desktop_window\|test_desktop_program'
targets="kalo-sr ksr-desktop $(cmake --build "$BUILD" --target help | sed -n "s/^\($programs\):.*/\1/p")"
say "building $(echo $targets | wc -w) targets"
quiet_build "$BUILD" -j "$JOBS" --target $targets || exit 1

# The Qt layer under Qt 5: every Qt test that runs faster than real time
# (the end-to-end tests on the OpenAL test double with every clip, the host
# usage tests, the interface, lifecycle, teardown, SAPI interface and desktop tests), and one
# real-time end-to-end test proving that commands from the microphone reach
# the host thread. The other real-time tests exercise no Qt code that these
# do not; they run in the main build.
say "running the Qt tests"
# The end-to-end tests on the OpenAL double run polling and with one
# listening setting each (.fast, .quiet): unsanitized, decoding costs less
# than half of what it costs in the sanitized build, which runs them with
# every setting on (.all).
ctest --test-dir "$BUILD" --output-on-failure -j "$JOBS" --no-tests=error -L '^qt$' -LE realtime \
  -E '^MicEndToEnd\..*\.all$' | tee "$BUILD/ctest.log" || { failed_tests_report "$BUILD"; exit 1; }
ctest --test-dir "$BUILD" --output-on-failure --no-tests=error -R '^MicEndToEnd\.CommandsArriveOnTheHostThreadWithTheirIds\.realtime$' \
  | tee "$BUILD/ctest-realtime.log" || { failed_tests_report "$BUILD"; exit 1; }
