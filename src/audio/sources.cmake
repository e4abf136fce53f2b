target_sources(ksr_audio_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/audio_capture.cpp
  ${CMAKE_CURRENT_LIST_DIR}/audio_device.cpp
  ${CMAKE_CURRENT_LIST_DIR}/audio_formats.cpp
  ${CMAKE_CURRENT_LIST_DIR}/audio_log.cpp
  ${CMAKE_CURRENT_LIST_DIR}/audio_module_state.cpp
  ${CMAKE_CURRENT_LIST_DIR}/audio_resampler.cpp)
