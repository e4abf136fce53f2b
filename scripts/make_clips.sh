#!/usr/bin/env bash
# Makes the test clips of tests/clips that the shared clips do not cover:
# phrases said in one breath, phrases with short pauses between them, and
# speech outside the command grammar. 16 kHz mono 16-bit WAV, espeak-ng
# voices with white or pink noise mixed in at 25 dB SNR like the shared clips.
# The clips are committed; this script only documents how they were made
# (espeak-ng and sox: Debian packages, installed by scripts/setup.sh).
#
#   scripts/make_clips.sh            makes every clip
#   scripts/make_clips.sh NAME...    makes only the named ones (no ".wav")
#
# sox runs with -R, which seeds its dither, so a clip made now comes out
# the same every time. The eight clips below were made before that: a re-run
# makes them with the same words and levels but other lowest bits, so name
# the clips you mean to make. The clips up to pause_new_350_line measured the
# speech level with its 0.1 s of quiet before and after, which put their
# noise about 1 dB lower than a re-run does (the level is now the speech's
# alone, as for the noise set of scripts/make_noise_set.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
OUT=tests/clips
mkdir -p "$OUT"
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT
ONLY=("$@")
. scripts/lib/speak.sh
export SPEAK_TMP=$TMP

# True when NAME is to be made this time.
wanted() {
  [ ${#ONLY[@]} -eq 0 ] && return 0
  local name
  for name in "${ONLY[@]}"; do
    [ "$name" = "$1" ] && return 0
  done
  return 1
}

# speak NAME VOICE SPEED PITCH NOISE TEXT: TEXT may hold pauses written as
# "|PAUSE_MS|" between phrases; 0.1 s of quiet before and after, noise 25 dB
# below the speech (scripts/lib/speak.sh).
speak() {
  local name=$1 voice=$2 speed=$3 pitch=$4 noise=$5 text=$6
  wanted "$name" || return 0
  speak_clip "$OUT/$name.wav" "$voice" "$speed" "$pitch" "$noise" 25 0.1 0.1 "$text" >/dev/null
}

# Phrases in one breath.
speak chain_north_open_file      en-us+f3     160 40 pink  "north open file"
speak chain_new_line_new_line    en+quincy    150 45 white "new line new line"
speak chain_add_comma_add_space  en-us+f3     160 55 pink  "add comma add space"
speak chain_with_unknown_word    en+quincy    150 45 white "open file house close window"
# A phrase, a short pause, more speech.
speak pause_open_file_close_window en-us+f3   160 40 pink  "open file|450|close window"
speak pause_open_file_hello_world  en+quincy  150 45 white "open file|450|hello world"
# Speech outside any command grammar.
speak oog_people_house           en-us+f3     160 40 pink  "the people are in the house"
speak oog_good_morning           en+quincy    150 45 white "good morning to you"
# Prefix pairs: a phrase that a longer one begins with, alone and with a
# pause inside the longer one.
speak prefix_page                en-us+f3     160 40 pink  "page"
speak prefix_zoom                en+quincy    150 45 white "zoom"
speak pause_page_350_down        en-us+f3     160 40 pink  "page|350|down"
speak pause_zoom_200_in          en+quincy    150 45 white "zoom|200|in"
speak pause_new_350_line         en-us+f3     160 40 pink  "new|350|line"
