#!/usr/bin/env bash
# Runs a Windows test program under Wine, for test discovery and ctest.
#
# Now and then (about once in a few thousand starts beside other Wine
# processes) Wine exits non-zero before the program has run at all. Every
# test program prints on standard output as it starts (its test list, or
# GoogleTest's "Running main()"), so a failure with nothing on standard
# output is a failed start, not a failed test, whatever Wine itself said on
# standard error: it is tried again, three starts at most, and what Wine
# said is kept. A program that ran is reported as it is, output and exit
# code unchanged.
set -u
out=$(mktemp) && err=$(mktemp) || exit 1
trap 'rm -f "$out" "$err"' EXIT
for attempt in 1 2 3; do
  wine "$@" >"$out" 2>"$err"
  rc=$?
  if [ "$rc" -eq 0 ] || [ -s "$out" ]; then
    break
  fi
  echo "[wine] $1 did not start (exit code $rc, start $attempt of 3)" >&2
  [ "$attempt" -lt 3 ] && sed 's/^/[wine]   /' "$err" >&2
done
cat "$out"
cat "$err" >&2
exit "$rc"
