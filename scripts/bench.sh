#!/usr/bin/env bash
# Builds the project in release mode and runs every benchmark (bench/), each
# printing its figures against a baseline measured in the same run.
# ksr-bench-soak, a working day of eight hours of audio, three minutes on a
# virtual microphone and an hour of recordings through ksr-demo, takes over
# an hour of one core;
# `scripts/bench.sh soak` runs it alone, and a filter that does not match it
# leaves it out.
# Usage: scripts/bench.sh [NAME-FILTER]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib/quiet_build.sh
say() { echo "[bench] $*"; }
./scripts/setup.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKSR_BUILD_TESTS=OFF >/dev/null
say "building"
quiet_build build-release || exit 1
filter=${1:-}
for bench in $(find build-release/bench -maxdepth 3 -type f -name 'ksr-bench-*' -perm -u+x | sort); do
  case "$(basename "$bench")" in *"$filter"*) ;; *) continue ;; esac
  say "running $(basename "$bench")"
  "$bench"
done
