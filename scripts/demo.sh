#!/usr/bin/env bash
# Sets the machine up, builds and runs the main job on the shared model.
set -euo pipefail
cd "$(dirname "$0")/.."
say() { echo "[demo] $*"; }
./scripts/setup.sh
say "building"
cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target ksr-model-check | grep -vE '^\[[0-9]+/[0-9]+\]' || true
MODEL=${KSR_TEST_MODEL:-../shared/models/en-us-synth}
say "checking the vocabulary of $MODEL"
./build/tools/ksr-model-check "$MODEL" "$@"
