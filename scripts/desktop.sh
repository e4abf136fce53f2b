#!/usr/bin/env bash
# Sets the machine up, builds the desktop host (tools/desktop) and opens its
# window on your display, with the bundled model and grammar file.
#
#   ./scripts/desktop.sh               opens the window (press Listen, or
#                                      pass --listen, to hear the microphone)
#   ./scripts/desktop.sh ARGS...       passes ARGS to ksr-desktop, e.g.
#                                      --listen, --grammar FILE, --model DIR,
#                                      --screenshot FILE [--after SECONDS], --help
#
# KSR_DEMO_BUILD names the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${KSR_DEMO_BUILD:-build}
say() { echo "[desktop] $*"; }

./scripts/build_program.sh ksr-desktop

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  say "no display: run it in a desktop session, or under Xvfb: xvfb-run -a $0 --screenshot window.png"
  exit 1
fi
say "grammars: tools/demo/grammar.json; model: data/model/en-us-synth"
exec "./$BUILD/tools/desktop/ksr-desktop" "$@" 2> >(grep --line-buffered -v 'VoskAPI' >&2)
