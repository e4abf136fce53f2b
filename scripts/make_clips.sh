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
# the clips you mean to make.
set -euo pipefail
cd "$(dirname "$0")/.."
OUT=tests/clips
mkdir -p "$OUT"
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT
ONLY=("$@")

# True when NAME is to be made this time.
wanted() {
  [ ${#ONLY[@]} -eq 0 ] && return 0
  local name
  for name in "${ONLY[@]}"; do
    [ "$name" = "$1" ] && return 0
  done
  return 1
}

# speak NAME VOICE SPEED PITCH NOISE TEXT: TEXT may hold [[_:]] style pauses
# written as "|PAUSE_MS|" between phrases.
speak() {
  local name=$1 voice=$2 speed=$3 pitch=$4 noise=$5 text=$6
  wanted "$name" || return 0
  local parts=() i=0
  IFS='|' read -r -a parts <<<"$text"
  local pieces=()
  for part in "${parts[@]}"; do
    if [[ $part =~ ^[0-9]+$ ]]; then
      sox -R -n -r 16000 -c 1 -b 16 "$TMP/p$i.wav" trim 0 "0.$(printf '%03d' "$part")"
    else
      espeak-ng -v "$voice" -s "$speed" -p "$pitch" -w "$TMP/r$i.wav" "$part"
      sox -R "$TMP/r$i.wav" -r 16000 -c 1 -b 16 "$TMP/p$i.wav" silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse
    fi
    pieces+=("$TMP/p$i.wav")
    i=$((i + 1))
  done
  sox -R "${pieces[@]}" "$TMP/speech.wav" pad 0.1 0.1
  local rms noise_rms length
  rms=$(sox "$TMP/speech.wav" -n stat 2>&1 | awk '/RMS +amplitude/ {print $3}')
  length=$(soxi -D "$TMP/speech.wav")
  # 25 dB below the speech's RMS level.
  noise_rms=$(awk -v r="$rms" 'BEGIN { printf "%.6f", r / 17.78 }')
  sox -R -n -r 16000 -c 1 -b 16 "$TMP/noise.wav" synth "$length" "${noise}noise" vol 1.0 \
    remix - 2>/dev/null || true
  local noise_now
  noise_now=$(sox "$TMP/noise.wav" -n stat 2>&1 | awk '/RMS +amplitude/ {print $3}')
  sox -R -m "$TMP/speech.wav" -v "$(awk -v a="$noise_rms" -v b="$noise_now" 'BEGIN { printf "%.6f", a / b }')" \
    "$TMP/noise.wav" -r 16000 -c 1 -b 16 "$OUT/$name.wav"
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
