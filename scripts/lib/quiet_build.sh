# Sourced by the scripts that build: quiet_build runs `cmake --build` with
# the given arguments, prints its output without ninja's progress lines, and
# returns cmake's own status (a filter in a pipeline would hide it).
quiet_build() {
  local log status=0
  log=$(mktemp)
  cmake --build "$@" >"$log" 2>&1 || status=$?
  grep -vE '^\[[0-9]+/[0-9]+\]' "$log" || true
  rm -f "$log"
  [ "$status" -eq 0 ] || echo "cmake --build $* failed ($status)" >&2
  return "$status"
}
