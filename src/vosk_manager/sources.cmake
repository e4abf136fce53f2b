target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ksr_numeral_converter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_vosk_grammar.cpp)
