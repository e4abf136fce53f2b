#!/usr/bin/env bash
# Sets the machine up, builds and runs every test through ctest:
#   1. the normal build (all tests),
#   2. an AddressSanitizer + UndefinedBehaviorSanitizer build (all tests),
#   3. a ThreadSanitizer build (the tests labelled "threads"),
# plus the extra suites in scripts/test.d/ (each a script run in name order).
# Idempotent: build folders are reused. KSR_TEST_QUICK=1 runs only step 1.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
JOBS=$(nproc)

say() { echo "[test] $*"; }
started=$(date +%s)

./scripts/setup.sh

configure_and_build() { # dir, cmake options...
  local dir=$1; shift
  say "configuring $dir $*"
  cmake -S . -B "$dir" -G Ninja "$@" >"$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; exit 1; }
  say "building $dir"
  cmake --build "$dir" -j "$JOBS" 2>&1 | grep -vE '^\[[0-9]+/[0-9]+\]' || true
  test "${PIPESTATUS[0]}" -eq 0
}

run_ctest() { # dir, ctest options...
  local dir=$1; shift
  say "running tests in $dir"
  ctest --test-dir "$dir" --output-on-failure -j "$JOBS" "$@"
}

configure_and_build build
run_ctest build

if [ "${KSR_TEST_QUICK:-0}" != "1" ]; then
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export LSAN_OPTIONS=suppressions=$ROOT/tests/sanitizers/lsan.supp:print_suppressions=0
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  configure_and_build build-asan -DKSR_SANITIZE=address,undefined -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=OFF
  run_ctest build-asan

  export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
  configure_and_build build-tsan -DKSR_SANITIZE=thread -DKSR_BUILD_BENCH=OFF -DKSR_BUILD_TOOLS=OFF
  if ctest --test-dir build-tsan -N -L threads | grep -q "Total Tests: [1-9]"; then
    run_ctest build-tsan -L threads
  else
    say "no thread tests yet"
  fi

  for extra in scripts/test.d/*.sh; do
    [ -e "$extra" ] || continue
    say "running $extra"
    bash "$extra"
  done
fi

say "all tests passed in $(( $(date +%s) - started )) s"
