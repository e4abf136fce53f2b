#!/usr/bin/env bash
# Makes the clips the early end of a command is measured on: every phrase
# below, in two voices, clean and under white, pink, brown and babble noise
# 15 dB below the speech, with half a second of the noise before the speech
# and a second and a half after it (a room stays noisy when the speaker
# stops). Babble is four talkers of the shared dictation clips, talking on
# and on, before, during and after the speech.
#
#   scripts/make_noise_set.sh DIR
#
# writes DIR/<name>.wav and DIR/clips.tsv: name, words said, the command it
# must give (empty: none), noise, voice, and where the speech starts and
# ends in the clip (ms). The same run makes the same files (sox -R); the
# benchmarks make the set in their build folder when it is missing.
# Needs espeak-ng and sox (scripts/setup.sh installs them) and ../shared.
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
. "$ROOT/scripts/lib/speak.sh"
OUT=${1:?usage: $0 DIR}
AUDIO=${KSR_TEST_AUDIO_DIR:-$ROOT/../shared/audio}
mkdir -p "$OUT"
SPEAK_TMP=$(mktemp -d)
trap 'rm -rf "$SPEAK_TMP"' EXIT
SNR=15

# Babble: four talkers, each at another point of their words.
babble=$OUT/babble_source.wav
make_room_talk "$babble" "$AUDIO"

# words|pause ms|words   the command it must give (empty: none)
phrases=(
  "open file=open file"
  "close window=close window"
  "save file=save file"
  "go back=go back"
  "select all=select all"
  "page down=page down"
  "zoom in=zoom in"
  "page=page"
  "zoom=zoom"
  "new line=new line"
  "page|200|down=page down"
  "page|350|down=page down"
  "zoom|350|in=zoom in"
  "new|200|line=new line"
  "new|350|line=new line"
  "good morning to you="
  "the people are in the house="
)
voices=("en-us+f3 160 40" "en+quincy 150 45")
noises=(clean white pink brown babble)

tsv=$OUT/clips.tsv.part
: >"$tsv"
for entry in "${phrases[@]}"; do
  words=${entry%%=*}
  command=${entry#*=}
  slug=$(tr ' |' '__' <<<"$words")
  for v in "${!voices[@]}"; do
    read -r voice speed pitch <<<"${voices[$v]}"
    for noise in "${noises[@]}"; do
      name="${noise}_v$((v + 1))_$slug"
      case $noise in
        clean) source=white snr=60 ;;
        babble) source=$babble snr=$SNR ;;
        *) source=$noise snr=$SNR ;;
      esac
      read -r start end < <(speak_clip "$OUT/$name.wav" "$voice" "$speed" "$pitch" "$source" "$snr" 0.5 1.5 "$words")
      printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$name" "${words//|/ }" "$command" "$noise" "$voice" "$start" "$end" >>"$tsv"
    done
  done
done
mv "$tsv" "$OUT/clips.tsv"
echo "made $(wc -l <"$OUT/clips.tsv") clips in $OUT"
