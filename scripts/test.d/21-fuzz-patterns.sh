#!/usr/bin/env bash
# Fuzzes the command-pattern parser and matcher (CommandPattern::parse and
# match, SpokenNumber) with libFuzzer for a bounded time.
# Usage: scripts/test.d/21-fuzz-patterns.sh [SECONDS]   (default 20)
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/fuzz_target.sh
fuzz_target fuzz_patterns "${1:-${KSR_FUZZ_SECONDS:-20}}"
