# failed_tests_report <build dir>: prints, once more and together, what
# every failed test of the last ctest run in that folder printed (its last
# 60 lines, with its command and exit status), so the reason for a red run
# stands at its end instead of somewhere in thousands of lines.
failed_tests_report() {
  local dir=$1
  local failed=$dir/Testing/Temporary/LastTestsFailed.log
  local log=$dir/Testing/Temporary/LastTest.log
  [ -s "$failed" ] && [ -s "$log" ] || return 0
  echo "==== what the failed tests of $dir printed ===="
  local name
  while IFS=: read -r _ name; do
    echo "---- $name"
    # One test's record runs from its "Testing: <name>" line to its "end time" line.
    awk -v name="$name" '
      $0 ~ "^[0-9]+/[0-9]+ Testing: " && $3 == name { keep = 1; n = 0 }
      keep { lines[n++] = $0 }
      keep && index($0, "\"" name "\" end time:") == 1 {
        first = (n > 60) ? n - 60 : 0
        for (i = 0; i < n; i++) if (i < 4 || i >= first) print lines[i]
        keep = 0
      }' "$log"
  done <"$failed"
  echo "==== end of the failed tests' output ===="
}
