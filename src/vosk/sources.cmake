target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/vosk_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_recognizer.cpp)
