# Sourced by the fuzzing scripts in scripts/test.d: fuzz_target NAME SECONDS
# builds fuzz/NAME with clang (libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz and runs it for SECONDS on the
# seeds in fuzz/NAME's corpus folder and its dictionary, when they exist. Any
# crash, sanitizer report, broken property (the target aborts) or input that
# runs longer than the time-out makes it return non-zero, with the reproducer
# in build-fuzz/artifacts/.
. "$(dirname "${BASH_SOURCE[0]}")/quiet_build.sh"

fuzz_target() {
  local name=$1 seconds=$2 build cxx status
  local label="[${name//_/-}]"
  build=$(pwd)/build-fuzz
  cxx=${KSR_FUZZ_CXX:-clang++-14}
  command -v "$cxx" >/dev/null || cxx=clang++
  if ! command -v "$cxx" >/dev/null; then
    echo "$label $cxx not found (scripts/setup.sh installs clang-14 and libclang-rt-14-dev)"
    return 1
  fi
  echo "$label building with $cxx in $build"
  mkdir -p "$build"
  cmake -S fuzz -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" >"$build/configure.log" 2>&1 \
    || { cat "$build/configure.log"; return 1; }
  quiet_build "$build" -j 2 --target "$name" || return 1

  # New inputs go to a scratch corpus; the seeds in fuzz/ stay untouched.
  local seeds=() options=()
  local stem=${name#fuzz_}
  [ -d "fuzz/${stem}_corpus" ] && seeds+=("fuzz/${stem}_corpus")
  [ -f "fuzz/${stem}.dict" ] && options+=("-dict=fuzz/${stem}.dict")
  mkdir -p "$build/${stem}_corpus" "$build/artifacts"
  echo "$label running for $seconds s"
  status=0
  ASAN_OPTIONS=abort_on_error=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$build/$name" "$build/${stem}_corpus" "${seeds[@]}" "${options[@]}" -max_total_time="$seconds" \
    -timeout=10 -max_len=1024 -artifact_prefix="$build/artifacts/" -print_final_stats=1 \
    >"$build/$name.log" 2>&1 || status=$?
  tail -n 25 "$build/$name.log"
  if [ "$status" -ne 0 ]; then
    echo "$label FAILED (exit $status); reproducer in $build/artifacts/"
    return "$status"
  fi
  echo "$label no crash in $seconds s"
}
