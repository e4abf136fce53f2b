#!/usr/bin/env bash
# A virtual microphone for tests and demos, on a private PulseAudio server.
#
#   virtual_mic.sh start       start the server and wait until the microphone
#                              delivers data (no-op when already running)
#   virtual_mic.sh play CLIP   play a sound file into the microphone, in real
#                              time; returns when it has been played
#   virtual_mic.sh stop        stop the processes that `start` started
#   virtual_mic.sh env         print the client environment, for
#                              eval "$(scripts/virtual_mic.sh env)"
#   virtual_mic.sh unplug      remove the source "vmic", as when a USB
#                              microphone is pulled out (the server and the
#                              sink's monitor stay)
#   virtual_mic.sh plug        add "vmic" again and make it the default
#
# Layout: a null sink "vspk" (16000 Hz, mono, s16le) whose monitor is remapped
# to the source "vmic", the server's default source. Whatever is played into
# "vspk" comes out of "vmic", sample for sample at 16000 Hz.
#
# Environment:
#   VIRTUAL_MIC_DIR        directory it creates for the socket, logs and its
#                          own pid files (default /tmp/ksr-virtual-mic-$UID);
#                          the socket is $VIRTUAL_MIC_DIR/native
#   VIRTUAL_MIC_KEEPALIVE  noise (default) or silence, see below
#
# Keep-alive: the monitor of a null sink that nobody plays into delivers
# nothing, so a capture would start only with the first clip and lose its
# beginning. A writer therefore plays into "vspk" all the time. By default it
# plays quiet white noise (sox "whitenoise vol 0.003": about -60 dBFS RMS,
# peaks near 120 of 32767) rather than
# exact zeros: the recognizer turns the jump from digital silence to a clip's
# noise floor into a spurious leading word, and quiet noise avoids that. The
# server mixes the clip and the noise, so a captured clip is the clip plus
# that small noise; VIRTUAL_MIC_KEEPALIVE=silence makes captures at 16000 Hz
# bit-exact instead.
#
# Only the processes recorded in the directory's pid files are ever stopped,
# each by its own id after checking that it is still the one started here.
set -euo pipefail

DIR=${VIRTUAL_MIC_DIR:-${TMPDIR:-/tmp}/ksr-virtual-mic-$(id -u)}
KEEPALIVE=${VIRTUAL_MIC_KEEPALIVE:-noise}
SOCKET=$DIR/native
RATE=16000

say() { echo "[virtual-mic] $*" >&2; }
die() { say "error: $*"; exit 1; }

# Clients and the server find everything in $DIR, never in the user's home.
client_env() {
  export PULSE_SERVER=unix:$SOCKET
  export PULSE_RUNTIME_PATH=$DIR/runtime
  export PULSE_STATE_PATH=$DIR/state
  export PULSE_COOKIE=$DIR/cookie
  export XDG_RUNTIME_DIR=$DIR/runtime
  export XDG_CONFIG_HOME=$DIR/config
}

# True when the pid file names a live process whose command line holds the
# given pattern (protects against a recycled pid).
is_ours() { # pidfile pattern
  local pid
  [ -f "$1" ] || return 1
  pid=$(cat "$1")
  [ -n "$pid" ] && [ -r "/proc/$pid/cmdline" ] || return 1
  tr '\0' ' ' <"/proc/$pid/cmdline" | grep -Eq -- "$2"
}

# A process that has exited but not been reaped yet (a zombie) counts as gone.
is_alive() { # pid
  local state
  state=$(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null | cut -d' ' -f1) || true
  [ -n "$state" ] && [ "$state" != Z ]
}

stop_pid() { # pidfile pattern
  if is_ours "$1" "$2"; then
    local pid
    pid=$(cat "$1")
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 50); do
      is_alive "$pid" || break
      sleep 0.05
    done
    if is_alive "$pid"; then kill -9 "$pid" 2>/dev/null || true; fi
  fi
  rm -f "$1"
}

# True once the microphone delivers at least a few milliseconds of audio.
mic_delivers() {
  local bytes
  bytes=$(timeout 0.5 parec -d vmic --latency-msec=20 --raw --rate=$RATE --channels=1 --format=s16le 2>/dev/null \
            | head -c 3200 | wc -c) || true
  [ "${bytes:-0}" -ge 3200 ]
}

start() {
  [ ${#SOCKET} -lt 100 ] || die "socket path too long for a unix socket: $SOCKET"
  if is_ours "$DIR/pulseaudio.pid" pulseaudio; then
    say "already running in $DIR"
    return 0
  fi
  for tool in pulseaudio pactl pacat parec paplay sox; do
    command -v "$tool" >/dev/null || die "$tool is missing (run scripts/setup.sh)"
  done
  case "$KEEPALIVE" in noise|silence) ;; *) die "VIRTUAL_MIC_KEEPALIVE must be noise or silence" ;; esac
  mkdir -p "$DIR/runtime" "$DIR/state" "$DIR/config"
  chmod 700 "$DIR/runtime"
  rm -f "$SOCKET" "$DIR/keepalive.fifo"
  client_env

  # Detached from the caller's descriptors so that a caller waiting on its
  # output (ctest, a pipe) does not wait for the server.
  setsid pulseaudio --daemonize=no --use-pid-file=no --exit-idle-time=-1 -n \
    --disable-shm=yes --resample-method=soxr-vhq --log-target=stderr \
    -L "module-native-protocol-unix auth-anonymous=1 socket=$SOCKET" \
    -L "module-null-sink sink_name=vspk rate=$RATE channels=1 format=s16le" \
    -L "module-remap-source master=vspk.monitor source_name=vmic" \
    </dev/null >"$DIR/pulseaudio.log" 2>&1 &
  echo $! >"$DIR/pulseaudio.pid"

  local ready=0 pid
  pid=$(cat "$DIR/pulseaudio.pid")
  for _ in $(seq 100); do
    if pactl info >/dev/null 2>&1; then ready=1; break; fi
    is_alive "$pid" || break
    sleep 0.1
  done
  if [ $ready -ne 1 ]; then
    cat "$DIR/pulseaudio.log" >&2 || true
    stop
    die "the server did not come up"
  fi
  pactl set-default-sink vspk
  pactl set-default-source vmic

  # The generator writes into a fifo that the writer plays from, so that
  # each has a pid of its own. It must open the fifo for writing only (the
  # shell's redirection does): once the writer is gone, its next write fails
  # and it ends.
  mkfifo "$DIR/keepalive.fifo"
  if [ "$KEEPALIVE" = noise ]; then
    setsid sox -q -n -t raw -r $RATE -e signed -b 16 -c 1 - synth whitenoise vol 0.003 \
      </dev/null >"$DIR/keepalive.fifo" 2>"$DIR/keepalive.log" &
  else
    setsid dd if=/dev/zero bs=3200 status=none \
      </dev/null >"$DIR/keepalive.fifo" 2>"$DIR/keepalive.log" &
  fi
  echo $! >"$DIR/keepalive-source.pid"
  setsid pacat -p -d vspk --raw --rate=$RATE --channels=1 --format=s16le \
    --client-name=ksr-keepalive --latency-msec=50 "$DIR/keepalive.fifo" \
    </dev/null >/dev/null 2>>"$DIR/keepalive.log" &
  echo $! >"$DIR/keepalive-writer.pid"

  for _ in $(seq 40); do
    if mic_delivers; then
      say "running in $DIR ($KEEPALIVE keep-alive)"
      return 0
    fi
    sleep 0.1
  done
  cat "$DIR/pulseaudio.log" "$DIR/keepalive.log" >&2 || true
  stop
  die "the microphone delivers no data"
}

stop() {
  stop_pid "$DIR/keepalive-writer.pid" pacat
  stop_pid "$DIR/keepalive-source.pid" "whitenoise|if=/dev/zero"
  stop_pid "$DIR/pulseaudio.pid" pulseaudio
  rm -f "$SOCKET" "$DIR/keepalive.fifo"
}

play() { # clip
  [ -f "${1:-}" ] || die "no such clip: ${1:-}"
  is_ours "$DIR/pulseaudio.pid" pulseaudio || die "not running in $DIR"
  client_env
  paplay -d vspk --client-name=ksr-virtual-mic-play "$1"
}

unplug() {
  is_ours "$DIR/pulseaudio.pid" pulseaudio || die "not running in $DIR"
  client_env
  local module
  module=$(pactl list short modules | awk '$2 == "module-remap-source" { print $1 }')
  [ -n "$module" ] || die "vmic is not plugged in"
  pactl unload-module "$module"
}

plug() {
  is_ours "$DIR/pulseaudio.pid" pulseaudio || die "not running in $DIR"
  client_env
  pactl list short modules | grep -q module-remap-source && die "vmic is plugged in already"
  pactl load-module module-remap-source master=vspk.monitor source_name=vmic >/dev/null
  pactl set-default-source vmic
}

print_env() {
  cat <<EOF
export PULSE_SERVER=unix:$SOCKET
export ALSOFT_DRIVERS=pulse
export VIRTUAL_MIC_DIR=$DIR
EOF
}

case "${1:-}" in
  start) start ;;
  stop) stop; say "stopped" ;;
  play) shift; play "${1:-}" ;;
  env) print_env ;;
  unplug) unplug ;;
  plug) plug ;;
  *) echo "usage: $0 start | play CLIP | stop | env | unplug | plug" >&2; exit 2 ;;
esac
