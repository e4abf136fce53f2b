#!/usr/bin/env bash
# Installs everything the project needs on a fresh Debian 12 machine:
# the Debian packages (skipped when present) and libvosk from the npm
# package vosk@0.3.39 into .deps/vosk (checked against its sha256).
# Safe to run again: it only does what is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

say() { echo "[setup] $*"; }

PACKAGES=(
  build-essential cmake pkg-config ninja-build
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  rapidjson-dev
  libopenal-dev libswresample-dev libavutil-dev
  qt6-base-dev qtbase5-dev
  libsndfile1-dev
  pulseaudio pulseaudio-utils sox
  espeak-ng
  xvfb xauth fonts-dejavu-core
  clang libclang-rt-14-dev lld valgrind
)
# npm fetches libvosk; machines that already have Node.js keep theirs.
command -v npm >/dev/null 2>&1 || PACKAGES+=(npm)
if [ "${KSR_WITH_WINDOWS:-1}" = "1" ]; then
  PACKAGES+=(g++-mingw-w64-x86-64-posix wine wine64)
fi

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  say "installing Debian packages: ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
else
  say "Debian packages present"
fi

VOSK_DIR=.deps/vosk
VOSK_SO_SHA256=9f94ef218c32e271ae8ac84065ab25191af48832c06c6e624984b1c80f0b0920
if [ -f "$VOSK_DIR/linux-x86_64/libvosk.so" ] && \
   echo "$VOSK_SO_SHA256  $VOSK_DIR/linux-x86_64/libvosk.so" | sha256sum -c --status; then
  say "libvosk present in $VOSK_DIR"
else
  say "fetching libvosk from npm package vosk@0.3.39"
  tmp=$(mktemp -d)
  trap 'rm -rf "$tmp"' EXIT
  (cd "$tmp" && npm pack --silent vosk@0.3.39 >/dev/null && tar xzf vosk-0.3.39.tgz)
  echo "$VOSK_SO_SHA256  $tmp/package/lib/linux-x86_64/libvosk.so" | sha256sum -c --status || {
    echo "[setup] libvosk.so checksum mismatch" >&2; exit 1; }
  rm -rf "$VOSK_DIR"
  mkdir -p "$VOSK_DIR"
  cp -r "$tmp/package/lib/linux-x86_64" "$tmp/package/lib/win-x86_64" "$VOSK_DIR/"
  say "libvosk installed in $VOSK_DIR (sha256 verified)"
fi
