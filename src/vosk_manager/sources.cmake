target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ksr_numeral_converter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_grammar.cpp)
target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_manager.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_manager_registry.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_manager_routing.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_manager_patterns.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_manager_dictation.cpp)
