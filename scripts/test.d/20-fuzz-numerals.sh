#!/usr/bin/env bash
# Fuzzes the spoken-number converter (KSR_NumeralConverter::convertText) with
# libFuzzer under AddressSanitizer and UndefinedBehaviorSanitizer for a
# bounded time. Any crash, sanitizer report, broken property (the target
# aborts) or input that runs longer than the time-out makes it exit non-zero.
# Usage: scripts/test.d/20-fuzz-numerals.sh [SECONDS]   (default 30)
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib/fuzz_target.sh
fuzz_target fuzz_numerals "${1:-${KSR_FUZZ_SECONDS:-30}}"
