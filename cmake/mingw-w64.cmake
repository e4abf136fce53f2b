# Cross-compiling for 64-bit Windows with mingw-w64 (Debian's
# g++-mingw-w64-x86-64-posix: the posix thread model, which std::thread and
# std::mutex need). Test programs run under Wine, which CMake uses as the
# emulator for test discovery and ctest.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KSR_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KSR_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KSR_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${KSR_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${KSR_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Static runtime (libstdc++, libgcc, winpthread): Wine and a Windows host
# find no mingw DLLs to load.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

# Through a wrapper that starts the program again when Wine failed to start
# it (see the script).
find_program(KSR_WINE wine)
if(KSR_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine_run.sh)
endif()
