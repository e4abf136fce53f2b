target_sources(ksr_qt_obj PRIVATE
  ${PROJECT_SOURCE_DIR}/include/k_sr_interface.h
  ${CMAKE_CURRENT_LIST_DIR}/k_sr_interface.cpp
  ${CMAKE_CURRENT_LIST_DIR}/hypothesis_filter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/listener_thread.cpp)
# The Vosk interface needs the microphone layer.
if(TARGET ksr_audio_obj)
  target_sources(ksr_qt_obj PRIVATE
    ${PROJECT_SOURCE_DIR}/include/k_vosk_interface.h
    ${CMAKE_CURRENT_LIST_DIR}/k_vosk_interface.cpp
    ${CMAKE_CURRENT_LIST_DIR}/capture_run.cpp
    ${CMAKE_CURRENT_LIST_DIR}/silence_gate.cpp
    ${CMAKE_CURRENT_LIST_DIR}/k_vosk_interface_loop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/k_vosk_interface_microphone.cpp
    ${CMAKE_CURRENT_LIST_DIR}/k_vosk_interface_model.cpp
    ${CMAKE_CURRENT_LIST_DIR}/k_vosk_interface_resources.cpp)
endif()
# The static layer for tests brings the core it builds on; the audio layer
# (ksr_audio, or ksr_audio_on_fake_openal) and libvosk (real or the test
# double) are the test's choice.
target_link_libraries(ksr_qt PUBLIC ksr_core)
