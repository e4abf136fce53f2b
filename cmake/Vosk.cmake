# libvosk comes prebuilt (scripts/setup.sh puts it into .deps/vosk).
# The project declares the few C functions it calls in src/vosk/vosk_c_api.h,
# so only the binary is needed here.
set(KSR_VOSK_DIR "${PROJECT_SOURCE_DIR}/.deps/vosk" CACHE PATH "Folder holding linux-x86_64/libvosk.so")
set(KSR_VOSK_LIBRARY "${KSR_VOSK_DIR}/linux-x86_64/libvosk.so")
if(NOT EXISTS "${KSR_VOSK_LIBRARY}")
  message(FATAL_ERROR "libvosk not found at ${KSR_VOSK_LIBRARY}: run ./scripts/setup.sh first")
endif()
add_library(Vosk::vosk SHARED IMPORTED GLOBAL)
set_target_properties(Vosk::vosk PROPERTIES
  IMPORTED_LOCATION "${KSR_VOSK_LIBRARY}"
  IMPORTED_NO_SONAME TRUE)
