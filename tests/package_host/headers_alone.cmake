# ksr_compile_headers_alone(<target> <include dir> <package target>)
# Compiles every header of an installed kalo-sr on its own, as a host
# includes it, into the object library <target>: a header that leans on
# another being included first fails here.
function(ksr_compile_headers_alone target include_dir package_target)
  file(GLOB headers RELATIVE ${include_dir} ${include_dir}/*.h)
  set(sources)
  foreach(header IN LISTS headers)
    string(REPLACE ".h" "_alone.cpp" source ${header})
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${source} "#include \"${header}\"\n")
    list(APPEND sources ${CMAKE_CURRENT_BINARY_DIR}/${source})
  endforeach()
  list(LENGTH sources count)
  message(STATUS "compiling ${count} installed headers on their own")
  add_library(${target} OBJECT ${sources})
  target_link_libraries(${target} PRIVATE ${package_target})
endfunction()
