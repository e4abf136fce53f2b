target_sources(ksr_qt_obj PRIVATE
  ${PROJECT_SOURCE_DIR}/include/k_sr_interface.h
  ${CMAKE_CURRENT_LIST_DIR}/k_sr_interface.cpp)
