#!/usr/bin/env bash
# Makes the picture of ksr-desktop at work (docs/ksr-desktop.png): the window
# runs on a private X server (Xvfb) and listens to a private virtual
# microphone (scripts/virtual_mic.sh) while clips are played into it: two
# commands with arguments (tests/clips), then the bundled clips of
# data/clips: a grammar's key, one of its commands, the dictation key,
# dictated text with spoken punctuation and a mode. The grammar is the bundled one
# with the early end of commands on, so that a formatting phrase said right
# after dictated text is not dictated as well. The program takes the picture
# itself (--screenshot) once the clips have been heard.
#
#   scripts/desktop_picture.sh [OUT.png]      default: docs/ksr-desktop.png
#
# KSR_DEMO_BUILD names the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${KSR_DEMO_BUILD:-build}
OUT=${1:-docs/ksr-desktop.png}
PROGRAM=$BUILD/tools/desktop/ksr-desktop
say() { echo "[desktop-picture] $*"; }

./scripts/build_program.sh ksr-desktop
command -v xvfb-run >/dev/null || { say "xvfb-run missing: run scripts/setup.sh"; exit 1; }

export VIRTUAL_MIC_DIR=$PWD/$BUILD/desktop-picture-mic
scripts/virtual_mic.sh start
trap 'scripts/virtual_mic.sh stop' EXIT
eval "$(scripts/virtual_mic.sh env)"

GRAMMAR=$BUILD/desktop-picture-grammar.json
sed 's/^  "thresholds": {/  "settings": { "fastCommands": 250 },\n  "thresholds": {/' tools/demo/grammar.json >"$GRAMMAR"
grep -q fastCommands "$GRAMMAR" || { say "could not add the settings to $GRAMMAR"; exit 1; }

CLIPS=(tests/clips/pat_volume_100.wav tests/clips/pat_turn_dark_red.wav)
for clip in key_north.wav cmd_open_file.wav key_activate_smith.wav dict_hello_world.wav fmt_add_comma.wav \
            dict_i_think_so.wav fmt_new_line.wav fmt_capitals_on.wav dict_what_time.wav; do
  CLIPS+=("data/clips/$clip")
done
# 3 s for the window to start listening, then each clip and a pause of
# 1.5 s after it, and 3 s for the last words to arrive.
audio=$(soxi -D "${CLIPS[@]}" | awk '{ total += $1 } END { printf "%d", total + 0.999 }')
SECONDS_NEEDED=$(( 3 + audio + ${#CLIPS[@]} * 3 / 2 + 3 ))
say "window listening for ${SECONDS_NEEDED} s while ${#CLIPS[@]} clips are played"
xvfb-run -a -s "-screen 0 1280x1024x24" env QT_QPA_PLATFORM=xcb "$PROGRAM" --grammar "$GRAMMAR" --listen \
  --screenshot "$OUT" --after "$SECONDS_NEEDED" 2> >(grep -v 'VoskAPI' >&2) &
window=$!
sleep 3
for clip in "${CLIPS[@]}"; do
  scripts/virtual_mic.sh play "$clip"
  sleep 1.5
done
wait "$window"
say "wrote $OUT"
