#!/usr/bin/env bash
# Installs the Windows build into a scratch prefix, checks what the package
# holds, builds the host project tests/package_host_windows against it with
# the mingw toolchain (which searches only its own root for packages, so the
# package is named by KaloSR_DIR) and runs the host under Wine (the caller's
# WINEPREFIX): once as installed, once without libvosk.dll beside it.
# Usage: package_host_test.sh BUILD_DIR SOURCE_DIR MODEL_DIR CLIP
set -euo pipefail
BUILD=$1
SOURCE=$2
MODEL=$3
CLIP=$4
WORK=$(mktemp -d "${TMPDIR:-/tmp}/ksr-windows-package-XXXXXX")
trap 'rm -rf "$WORK"' EXIT
PREFIX=$WORK/prefix

say() { echo "[windows-package] $*"; }
fail() { say "$*"; exit 1; }

say "installing into $PREFIX"
cmake --install "$BUILD" --prefix "$PREFIX" >"$WORK/install.log" 2>&1 || { cat "$WORK/install.log"; exit 1; }
for file in bin/libkalo-sr.dll lib/libkalo-sr.dll.a bin/libvosk.dll bin/libstdc++-6.dll bin/libgcc_s_seh-1.dll \
            bin/libwinpthread-1.dll include/kalo-sr/ksr_vosk_manager.h include/kalo-sr/ksr_sapi_manager.h \
            lib/cmake/KaloSR/KaloSRConfig.cmake lib/cmake/KaloSR/KaloSRTargets.cmake; do
  [ -e "$PREFIX/$file" ] || fail "missing after install: $file"
done
! ls "$PREFIX"/include/kalo-sr/k_*.h >/dev/null 2>&1 || fail "Qt interface headers installed without the Qt interfaces"
! grep -l "// not installed" "$PREFIX"/include/kalo-sr/*.h || fail "test-only lines left in the installed headers"
find "$PREFIX" -type f | sed "s|^$PREFIX/|[windows-package]   |" | sort

# The classes a host uses are exported, and libvosk.dll is delay-loaded, so
# that the module's DLL loads without it.
exports=$(x86_64-w64-mingw32-objdump -p "$PREFIX/bin/libkalo-sr.dll")
for symbol in _ZN15KSR_VoskManagerC2Ev _ZN15KSR_VoskManager10initializeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE \
              _ZN11KSR_ManagerC2Ev _ZN4Vosk6EngineC2Ev _ZN10KSR_Logger5ErrorERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE; do
  grep -q " $symbol\$" <<<"$exports" || fail "libkalo-sr.dll does not export $symbol"
done
load_time_imports=$(sed -n '/^The Import Tables/,/^The Delay Import/p' <<<"$exports" | sed -n 's/^\s*DLL Name: //p')
! grep -qi '^libvosk.dll$' <<<"$load_time_imports" || fail "libvosk.dll is a load-time import of libkalo-sr.dll"

say "configuring and building the host"
cmake -S "$SOURCE/tests/package_host_windows" -B "$WORK/host" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$SOURCE/cmake/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release \
  -DKaloSR_DIR="$PREFIX/lib/cmake/KaloSR" >"$WORK/configure.log" 2>&1 || { cat "$WORK/configure.log"; exit 1; }
cmake --build "$WORK/host" >"$WORK/build.log" 2>&1 || { cat "$WORK/build.log"; exit 1; }
grep -o 'compiling [0-9]* installed headers on their own' "$WORK/configure.log" | sed 's/^/[windows-package] /'

say "running it"
cd "$WORK/host"
# Windows programs end their lines with CR LF.
run_host() {
  status=0
  "$SOURCE/scripts/wine_run.sh" package_host.exe "$MODEL" "$CLIP" >"$WORK/$1.out" 2>"$WORK/$1.err" || status=$?
  sed -i 's/\r$//' "$WORK/$1.out" "$WORK/$1.err"
}
run_host run
cat "$WORK/run.out" "$WORK/run.err"
[ "$status" -eq 0 ] || fail "the host failed (exit code $status)"
grep -qx 'recognized: "save file" grammar [0-9]* rule [0-9]* command 1' "$WORK/run.out" || fail "no \"save file\""
grep -qx 'SAPI recognizer: no' "$WORK/run.out" || fail "the SAPI manager did not report its state"

say "running it without libvosk.dll beside it"
mkdir "$WORK/alone"
cp package_host.exe libkalo-sr.dll "$WORK/alone/"
cd "$WORK/alone"
run_host alone
cat "$WORK/alone.out" "$WORK/alone.err"
[ "$status" -eq 3 ] || fail "exit code $status, not 3 (not initialized)"
expected="KSR Error: Model:  initializeModel: libvosk.dll could not be loaded (Windows error 126): put libvosk.dll and \
the DLLs it needs (libstdc++-6.dll, libgcc_s_seh-1.dll, libwinpthread-1.dll) next to the program"
grep -qxF "$expected" "$WORK/alone.err" || fail "the log does not say that libvosk.dll is missing"
