#!/usr/bin/env bash
# Sets the machine up, builds the demo host (tools/demo) and runs it.
#
#   ./scripts/demo.sh              hears the clips in data/clips with the
#                                  model in data/model: commands, a grammar
#                                  switched by its spoken key, dictation with
#                                  spoken punctuation, capitals and spelling
#   ./scripts/demo.sh ARGS...      runs ksr-demo with your arguments instead,
#                                  e.g. --mic, --wav FILE..., --json, --help
#
# KSR_DEMO_BUILD names the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${KSR_DEMO_BUILD:-build}
say() { echo "[demo] $*"; }

./scripts/build_program.sh ksr-demo

if [ $# -gt 0 ]; then
  exec "./$BUILD/tools/ksr-demo" "$@"
fi

CLIPS=(
  cmd_save_file.wav       # a command of the grammar "edit", which is on
  key_north.wav           # the key of "files": "files" on, the other keyed grammars off
  cmd_open_file.wav       # commands of "files"
  cmd_close_window.wav
  key_activate_smith.wav  # the key of dictation: free speech from here on
  dict_hello_world.wav
  fmt_add_comma.wav       # spoken punctuation and layout
  dict_i_think_so.wav
  fmt_new_line.wav
  fmt_capitals_on.wav     # a dictation mode
  dict_what_time.wav
  fmt_start_spelling.wav  # letters
  spell_cat.wav
  fmt_stop_spelling.wav
)
say "grammars: tools/demo/grammar.json; model: data/model/en-us-synth"
say "hearing ${#CLIPS[@]} clips from data/clips (each line is one signal of the module)"
cd data/clips
"../../$BUILD/tools/ksr-demo" --grammar ../../tools/demo/grammar.json --wav "${CLIPS[@]}" 2> >(grep -v 'VoskAPI' >&2)
