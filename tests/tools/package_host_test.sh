#!/usr/bin/env bash
# Installs the module from a build folder into a scratch prefix, builds the
# host project tests/package_host against the installed package and runs it.
# Usage: package_host_test.sh BUILD_DIR SOURCE_DIR MODEL_DIR
set -euo pipefail
BUILD=$1
SOURCE=$2
MODEL=$3
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ksr-package-host-XXXXXX")
trap 'rm -rf "$WORK"' EXIT

say() { echo "[package-host] $*"; }

say "installing into $WORK/prefix"
cmake --install "$BUILD" --prefix "$WORK/prefix" >"$WORK/install.log" 2>&1 || { cat "$WORK/install.log"; exit 1; }
for file in lib/libkalo-sr.so lib/libvosk.so include/kalo-sr/k_vosk_interface.h \
            lib/cmake/KaloSR/KaloSRConfig.cmake lib/cmake/KaloSR/KaloSRTargets.cmake; do
  [ -e "$WORK/prefix/$file" ] || { say "missing after install: $file"; exit 1; }
done
runpath=$(readelf -d "$WORK/prefix/lib/libkalo-sr.so" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')
[ "$runpath" = '$ORIGIN' ] || { say "libkalo-sr.so has RUNPATH '$runpath', not \$ORIGIN"; exit 1; }

say "configuring and building the host"
cmake -S "$SOURCE/tests/package_host" -B "$WORK/host" -DCMAKE_PREFIX_PATH="$WORK/prefix" \
  >"$WORK/configure.log" 2>&1 || { cat "$WORK/configure.log"; exit 1; }
cmake --build "$WORK/host" >"$WORK/build.log" 2>&1 || { cat "$WORK/build.log"; exit 1; }
grep -o 'compiling [0-9]* installed headers on their own' "$WORK/configure.log" | sed 's/^/[package-host] /'
installed=$(find "$WORK/prefix/include/kalo-sr" -name '*.h' | wc -l)
compiled=$(find "$WORK/host" -name '*_alone.cpp.o' | wc -l)
[ "$installed" -gt 0 ] && [ "$installed" -eq "$compiled" ] || {
  say "$installed headers installed, $compiled compiled on their own"; exit 1; }
for sapi in k_sapi_interface.h ksr_sapi_engine.h ksr_sapi_com.h; do
  [ ! -e "$WORK/prefix/include/kalo-sr/$sapi" ] || { say "$sapi needs the Windows SDK but was installed"; exit 1; }
done

say "running it"
KALO_ACOUSTIC_MODEL_PATH="$MODEL" QT_QPA_PLATFORM=offscreen ALSOFT_DRIVERS=null "$WORK/host/package_host"
