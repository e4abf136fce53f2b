#!/usr/bin/env bash
# Sets the machine up, builds and runs every test through ctest:
#   1. an AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan
#      (every test, the tools and benchmarks compiled too),
#   2. a ThreadSanitizer build in build-tsan (the test programs labelled
#      "threads", and only those are compiled),
#   3. the extra suites in scripts/test.d/: fuzzing and valgrind side by
#      side (each keeps one core busy), then the others in name order
#      (Qt 5, the Windows build under Wine).
# The sanitized build is the main one: every test runs instrumented, and CI
# stays within its time budget by not compiling everything twice.
# The end-to-end tests on the OpenAL double run in step 1 with every
# listening setting on (.all), which takes them through the paced loop, the
# early end, chaining and the silence gate; the polling loop runs sanitized
# in the real-time tests and the loop's own tests. Their runs polling and
# with one setting each (.fast, .quiet) are the Qt 5 suite's, unsanitized,
# where decoding costs less than half as much.
# The real-time tests run alone (RUN_SERIAL): work beside them, even at idle
# priority, slows a sanitized real-time test until it falls behind the
# microphone and hears a clip seconds late. Two at a time, each on an audio
# server of its own, was tried and lost clips: a lost-microphone test beside
# a demo test missed its command in a fresh run, and in half of the runs
# with one more busy process.
# KSR_TEST_PLAIN=1 also runs every test in a plain build (build/).
# --quick (or KSR_TEST_QUICK=1), for the change-and-test loop: one build of
# the module and its tests in build-quick (no sanitizer, unoptimized, no
# tools or benchmarks), every test that does not play audio in real time
# (label "realtime"), the end-to-end tests on the OpenAL double once (.all,
# every listening setting on, as in the sanitized build), and one real-time
# test, which proves the whole listening path.
# A full run ends with the ten slowest tests.
# Idempotent: build folders are reused.
set -euo pipefail
for arg in "$@"; do
  case "$arg" in
    --quick) export KSR_TEST_QUICK=1 ;;
    *) echo "usage: $0 [--quick]" >&2; exit 2 ;;
  esac
done
cd "$(dirname "$0")/.."
. scripts/lib/quiet_build.sh
. scripts/lib/failed_tests.sh
ROOT=$(pwd)
JOBS=$(nproc)

say() { echo "[test] $*"; }
started=$(date +%s)

./scripts/setup.sh

configure_and_build() { # dir [--target T --] cmake options...
  local dir=$1; shift
  local target=()
  if [ "${1:-}" = "--target" ]; then target=(--target "$2"); shift 3; fi
  say "configuring $dir $*"
  mkdir -p "$dir"
  cmake -S . -B "$dir" -G Ninja "$@" >"$dir/configure.log" 2>&1 || { cat "$dir/configure.log"; exit 1; }
  say "building $dir ${target[*]}"
  local t0=$(date +%s)
  quiet_build "$dir" -j "$JOBS" "${target[@]}" || exit 1
  say "built $dir in $(( $(date +%s) - t0 )) s"
}

PASSED=0
FAILED=0
run_ctest() { # dir, ctest options...
  local dir=$1; shift
  say "running tests in $dir"
  local log=$dir/ctest.log rc=0
  ctest --test-dir "$dir" --output-on-failure -j "$JOBS" "$@" 2>&1 | tee "$log" || rc=1
  local line total failed
  line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -1)
  total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$line")
  failed=$(sed -E 's/.*passed, ([0-9]+) tests failed.*/\1/' <<<"$line")
  PASSED=$(( PASSED + ${total:-0} - ${failed:-0} ))
  FAILED=$(( FAILED + ${failed:-0} ))
  if [ "$rc" -ne 0 ] || [ -z "$line" ]; then
    failed_tests_report "$dir"
    echo "summary: $PASSED passed, $(( FAILED > 0 ? FAILED : 1 )) failed"
    exit 1
  fi
}

# Sanitizer builds: -O1 and line tables only, which compile much faster
# than full debug information and still give file:line in reports. Every
# build links with lld: a build links about a hundred test programs.
SAN_FLAGS=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG"
           "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG" -DKSR_LINKER=lld -DKSR_UNITY_PROGRAMS=ON)

# The runs of the end-to-end tests on the OpenAL double polling and with
# one listening setting each (the Qt 5 suite runs them); the sanitized and
# the quick build run them once with every setting on (.all).
ONE_SETTING_RUNS='^MicEndToEnd\.[A-Za-z]+(\.fast|\.quiet)?$'

if [ "${KSR_TEST_QUICK:-0}" = "1" ]; then
  configure_and_build build-quick -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=OFF -DKSR_LINKER=lld -DKSR_UNITY_PROGRAMS=ON \
    -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DNDEBUG" "-DCMAKE_C_FLAGS_RELEASE=-O0 -DNDEBUG"
  run_ctest build-quick -LE realtime -E "$ONE_SETTING_RUNS"
  mv build-quick/ctest.log build-quick/ctest-unit.log
  run_ctest build-quick -R '^MicEndToEnd\.CommandsArriveOnTheHostThreadWithTheirIds\.realtime$'
  say "all tests passed in $(( $(date +%s) - started )) s"
  echo "summary: $PASSED passed, $FAILED failed"
  exit 0
fi

if [ "${KSR_TEST_PLAIN:-0}" = "1" ]; then
  configure_and_build build
  run_ctest build
fi

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export LSAN_OPTIONS=suppressions=$ROOT/tests/sanitizers/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
configure_and_build build-asan -DKSR_SANITIZE=address,undefined "${SAN_FLAGS[@]}"
run_ctest build-asan -E "$ONE_SETTING_RUNS"
unset ASAN_OPTIONS LSAN_OPTIONS UBSAN_OPTIONS

# The ThreadSanitizer options and suppressions come with the tests (tests/CMakeLists.txt).
configure_and_build build-tsan --target ksr_thread_tests -- -DKSR_SANITIZE=thread \
  -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=OFF "${SAN_FLAGS[@]}"
run_ctest build-tsan -L threads

# The suites that keep one core busy (the fuzzer, valgrind) run side by
# side; their outputs are printed in name order once both have ended.
one_core=(scripts/test.d/20-fuzz-numerals.sh scripts/test.d/30-audio-valgrind.sh)
pids=() status=0
for extra in "${one_core[@]}"; do
  say "running $extra (beside the other one-core suite)"
  bash "$extra" >"build-asan/$(basename "$extra").out" 2>&1 &
  pids+=($!)
done
for i in "${!one_core[@]}"; do
  wait "${pids[$i]}" || { status=1; say "${one_core[$i]} failed"; }
  cat "build-asan/$(basename "${one_core[$i]}").out"
done
[ "$status" -eq 0 ] || exit 1
for extra in scripts/test.d/*.sh; do
  [ -e "$extra" ] || continue
  case " ${one_core[*]} " in *" $extra "*) continue ;; esac
  say "running $extra"
  bash "$extra"
done

say "the ten slowest tests:"
# ctest's lines: "  12/952 Test  #34: Name ......   Passed   12.34 sec".
# awk keeps reading to the end, so no stage of this pipe dies of a closed pipe under pipefail.
for log in build-*/ctest*.log; do
  [ -e "$log" ] || continue
  sed -nE 's/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: ([^ ]+) \.+ +Passed +([0-9.]+) sec$/\2 \1/p' "$log" |
    sed "s|\$| (${log%%/*})|"
done | sort -rn | awk 'NR <= 10 { printf "  %8.2f s  %s %s\n", $1, $2, $3 }'
say "all tests passed in $(( $(date +%s) - started )) s"
# The ctest runs above (the extra suites print their own results).
echo "summary: $PASSED passed, $FAILED failed"
