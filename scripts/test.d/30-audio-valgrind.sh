#!/usr/bin/env bash
# The audio input under valgrind's memcheck, against a real audio server (a
# private virtual microphone): the resampler, the no-server failures, the
# null OpenAL back end, and 200 capture start/stop cycles plus 100 device
# constructions. Any invalid access or definitely/indirectly lost block
# fails it. Uses a plain (uninstrumented) build: build/ when it has the
# audio tests, else KSR_BUILD_DIR, else it builds just those four programs in
# build-valgrind.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/quiet_build.sh
ROOT=$(pwd)
PROGRAMS=(test_audio_resampler test_audio_no_server test_audio_device_offline test_audio_capture)

say() { echo "[audio-valgrind] $*"; }

BUILD=${KSR_BUILD_DIR:-$ROOT/build}
if [ ! -x "$BUILD/tests/audio/test_audio_capture" ]; then
  BUILD=$ROOT/build-valgrind
  say "building ${PROGRAMS[*]} in $BUILD"
  mkdir -p "$BUILD"
  cmake -S "$ROOT" -B "$BUILD" -G Ninja -DKSR_WITH_QT=OFF -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=OFF -DKSR_LINKER=lld -DKSR_UNITY_PROGRAMS=ON \
    >"$BUILD/configure.log" 2>&1 || { cat "$BUILD/configure.log"; exit 1; }
  quiet_build "$BUILD" -j "$(nproc)" --target "${PROGRAMS[@]}" || exit 1
fi
TESTS=$BUILD/tests/audio
command -v valgrind >/dev/null || { say "valgrind missing (scripts/setup.sh installs it)"; exit 1; }

export VIRTUAL_MIC_DIR
VIRTUAL_MIC_DIR=$(mktemp -d /tmp/ksr-audio-valgrind.XXXXXX)
LOG=$VIRTUAL_MIC_DIR/valgrind.log
cleanup() {
  "$ROOT/scripts/virtual_mic.sh" stop >/dev/null 2>&1 || true
  rm -rf "$VIRTUAL_MIC_DIR"
}
trap cleanup EXIT
"$ROOT/scripts/virtual_mic.sh" start

check() { # program [gtest filter]
  local program=$1 filter=${2:-*}
  say "$(basename "$program") $filter"
  if ! valgrind -q --leak-check=full --errors-for-leak-kinds=definite,indirect --error-exitcode=9 \
       "$program" --gtest_filter="$filter" >"$LOG" 2>&1; then
    cat "$LOG"
    say "FAILED: $(basename "$program") $filter"
    exit 1
  fi
}

check "$TESTS/test_audio_resampler"
check "$TESTS/test_audio_no_server"
check "$TESTS/test_audio_device_offline"
check "$TESTS/test_audio_capture" "AudioCaptureCycles.*"
say "clean"
