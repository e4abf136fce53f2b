# speak_clip OUT_WAV VOICE SPEED PITCH NOISE SNR LEAD TAIL TEXT
#
# Says TEXT with espeak-ng and mixes noise under it: 16 kHz mono 16-bit WAV.
# TEXT may hold pauses written as "|MS|" between its phrases. Every phrase
# is trimmed of the voice's own leading and trailing silence, so the pauses
# are exactly as written. LEAD and TAIL (seconds) of silence go before and
# after the speech, and the noise runs under all of it, SNR dB below the
# speech's RMS level. NOISE is white, pink or brown (sox's generators) or a
# WAV file to take it from (babble), looped and cut to length.
# Prints "START END" of the speech in the clip, in milliseconds.
# Needs a scratch folder in $SPEAK_TMP; sox -R makes every run the same.
speak_clip() {
  local out=$1 voice=$2 speed=$3 pitch=$4 noise=$5 snr=$6 lead=$7 tail=$8 text=$9
  local tmp=$SPEAK_TMP parts=() pieces=() i=0 part
  IFS='|' read -r -a parts <<<"$text"
  for part in "${parts[@]}"; do
    if [[ $part =~ ^[0-9]+$ ]]; then
      sox -R -n -r 16000 -c 1 -b 16 "$tmp/p$i.wav" trim 0 "0.$(printf '%03d' "$part")"
    else
      espeak-ng -v "$voice" -s "$speed" -p "$pitch" -w "$tmp/r$i.wav" "$part"
      sox -R "$tmp/r$i.wav" -r 16000 -c 1 -b 16 "$tmp/p$i.wav" silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse
    fi
    pieces+=("$tmp/p$i.wav")
    i=$((i + 1))
  done
  sox -R "${pieces[@]}" "$tmp/said.wav"
  local said_s
  said_s=$(soxi -D "$tmp/said.wav")
  sox -R "$tmp/said.wav" "$tmp/speech.wav" pad "$lead" "$tail"
  local rms noise_rms length
  rms=$(sox "$tmp/said.wav" -n stat 2>&1 | awk '/RMS +amplitude/ {print $3}')
  length=$(soxi -D "$tmp/speech.wav")
  noise_rms=$(awk -v r="$rms" -v db="$snr" 'BEGIN { printf "%.6f", r / 10 ^ (db / 20) }')
  if [ -f "$noise" ]; then
    sox -R "$noise" "$tmp/noise.wav" repeat 20 trim 0 "$length"
  else
    sox -R -n -r 16000 -c 1 -b 16 "$tmp/noise.wav" synth "$length" "${noise}noise" vol 1.0 remix - 2>/dev/null || true
  fi
  local noise_now
  noise_now=$(sox "$tmp/noise.wav" -n stat 2>&1 | awk '/RMS +amplitude/ {print $3}')
  sox -R -m "$tmp/speech.wav" -v "$(awk -v a="$noise_rms" -v b="$noise_now" 'BEGIN { printf "%.6f", a / b }')" \
    "$tmp/noise.wav" -r 16000 -c 1 -b 16 "$out"
  awk -v l="$lead" -v s="$said_s" 'BEGIN { printf "%d %d\n", l * 1000 + 0.5, (l + s) * 1000 + 0.5 }'
}

BABBLE_TALKERS=(dict_hello_world dict_what_time dict_dogs_happy dict_this_is_the_cat)

# make_babble OUT_WAV AUDIO_DIR
#
# Talk around a speaker: four of the shared dictation clips said at once,
# each talker starting 0.35 s after the one before, three times over. Each
# round begins with half a second of the clips' own silence and ends in
# about a second of it.
make_babble() {
  local out=$1 audio=$2 t=("${BABBLE_TALKERS[@]}")
  sox -R -m "$audio/${t[0]}.wav" "|sox -R $audio/${t[1]}.wav -p pad 0.35" \
    "|sox -R $audio/${t[2]}.wav -p pad 0.7" "|sox -R $audio/${t[3]}.wav -p pad 1.05" \
    -r 16000 -c 1 -b 16 "$out" repeat 3
}

# make_room_talk OUT_WAV AUDIO_DIR
#
# Talk that goes on around a speaker, as in an office: the same four
# talkers, each saying their clip over and over with 150 ms between, each
# from another point of it, so that someone is always talking. 15 s.
# Needs a scratch folder in $SPEAK_TMP.
make_room_talk() {
  local out=$1 audio=$2 k=0 talker loops=()
  for talker in "${BABBLE_TALKERS[@]}"; do
    sox -R "$audio/$talker.wav" -r 16000 -c 1 -b 16 "$SPEAK_TMP/talker$k.wav" \
      silence 1 0.01 0.5% reverse silence 1 0.01 0.5% reverse pad 0 0.15 repeat 19 trim "0.$((k * 6))"
    loops+=("$SPEAK_TMP/talker$k.wav")
    k=$((k + 1))
  done
  sox -R -m "${loops[@]}" -r 16000 -c 1 -b 16 "$out" trim 0 15
}
