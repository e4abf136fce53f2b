target_sources(ksr_core_obj PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ksr_types.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_console.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ksr_logger.cpp
  ${CMAKE_CURRENT_LIST_DIR}/spoken_number.cpp
  ${CMAKE_CURRENT_LIST_DIR}/command_pattern.cpp
  ${CMAKE_CURRENT_LIST_DIR}/command_pattern_set.cpp)
