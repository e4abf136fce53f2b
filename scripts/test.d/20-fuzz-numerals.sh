#!/usr/bin/env bash
# Fuzzes the spoken-number converter (KSR_NumeralConverter::convertText) with
# libFuzzer under AddressSanitizer and UndefinedBehaviorSanitizer for a
# bounded time. Any crash, sanitizer report, broken property (the target
# aborts) or input that runs longer than the time-out makes it exit non-zero.
# Usage: scripts/test.d/20-fuzz-numerals.sh [SECONDS]   (default 30)
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/quiet_build.sh
ROOT=$(pwd)
SECONDS_TO_RUN=${1:-${KSR_FUZZ_SECONDS:-30}}
BUILD=$ROOT/build-fuzz

say() { echo "[fuzz-numerals] $*"; }

CXX_FUZZ=${KSR_FUZZ_CXX:-clang++-14}
command -v "$CXX_FUZZ" >/dev/null || CXX_FUZZ=clang++
if ! command -v "$CXX_FUZZ" >/dev/null; then
  say "$CXX_FUZZ not found (scripts/setup.sh installs clang-14 and libclang-rt-14-dev)"
  exit 1
fi

say "building with $CXX_FUZZ in $BUILD"
mkdir -p "$BUILD"
cmake -S fuzz -B "$BUILD" -G Ninja -DCMAKE_CXX_COMPILER="$CXX_FUZZ" >"$BUILD/configure.log" 2>&1 \
  || { cat "$BUILD/configure.log"; exit 1; }
quiet_build "$BUILD" -j 2 --target fuzz_numerals || exit 1

# New inputs go to a scratch corpus; the seeds in fuzz/ stay untouched.
WORK=$BUILD/numerals_corpus
mkdir -p "$WORK" "$BUILD/artifacts"
say "running for $SECONDS_TO_RUN s"
export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
set +e
"$BUILD/fuzz_numerals" "$WORK" fuzz/numerals_corpus \
  -dict=fuzz/numerals.dict -max_total_time="$SECONDS_TO_RUN" -timeout=10 -max_len=1024 \
  -artifact_prefix="$BUILD/artifacts/" -print_final_stats=1 >"$BUILD/fuzz_numerals.log" 2>&1
status=$?
set -e
tail -n 25 "$BUILD/fuzz_numerals.log"
if [ $status -ne 0 ]; then
  say "FAILED (exit $status); reproducer in $BUILD/artifacts/"
  exit $status
fi
say "no crash in $SECONDS_TO_RUN s"
