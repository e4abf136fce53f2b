target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/vosk_library.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_model.cpp
  ${CMAKE_CURRENT_LIST_DIR}/model_path.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_recognizer.cpp
  ${CMAKE_CURRENT_LIST_DIR}/json_phrase.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine_results.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine_text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine_alternatives.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine_audio.cpp
  ${CMAKE_CURRENT_LIST_DIR}/vosk_engine_fast.cpp
  ${CMAKE_CURRENT_LIST_DIR}/voice_activity.cpp
  ${CMAKE_CURRENT_LIST_DIR}/trailing_talk.cpp
  ${CMAKE_CURRENT_LIST_DIR}/phrase_index.cpp
  ${CMAKE_CURRENT_LIST_DIR}/held_dictation.cpp)
