# `cmake --install` puts the module where a host finds it:
#   lib/libkalo-sr.so*          the module (RPATH $ORIGIN)
#   lib/libvosk.so              the recognizer library, beside it
#   include/kalo-sr/*.h         the exported headers
#   lib/cmake/KaloSR/           the CMake package: find_package(KaloSR) gives
#                               the target KaloSR::kalo-sr, which brings the
#                               include folder and, for the Qt interfaces, Qt
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# A host that uses the Qt interfaces compiles against Qt headers through
# ours and links Qt itself.
set(KSR_PACKAGE_QT_MAJOR "")
if(TARGET ksr_qt_obj)
  set(KSR_PACKAGE_QT_MAJOR ${KSR_QT_MAJOR})
  target_link_libraries(kalo-sr INTERFACE
    Qt${KSR_QT_MAJOR}::Core Qt${KSR_QT_MAJOR}::Gui Qt${KSR_QT_MAJOR}::Widgets)
endif()

install(TARGETS kalo-sr EXPORT KaloSRTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The SAPI back end's headers need the Windows SDK (sapi.h): they are
# installed only where it exists, so that every installed header compiles.
set(KSR_WINDOWS_ONLY_HEADERS)
if(NOT WIN32)
  set(KSR_WINDOWS_ONLY_HEADERS
    PATTERN "k_sapi_interface.h" EXCLUDE PATTERN "ksr_sapi_*.h" EXCLUDE PATTERN "ksr_com_ptr.h" EXCLUDE)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kalo-sr
  FILES_MATCHING PATTERN "*.h" ${KSR_WINDOWS_ONLY_HEADERS})
# Lines that only the module's own tests need (marked "// not installed",
# such as a friend declaration giving tests access) are left out of the
# headers a host gets.
install(CODE "
  file(GLOB headers \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/kalo-sr/*.h\")
  foreach(header IN LISTS headers)
    file(READ \"\${header}\" text)
    string(REGEX REPLACE \"[^\n]*// not installed[^\n]*\n\" \"\" stripped \"\${text}\")
    if(NOT stripped STREQUAL text)
      file(WRITE \"\${header}\" \"\${stripped}\")
    endif()
  endforeach()
")
# libvosk has no soname: the module records it as "libvosk.so" and finds it
# through its RPATH.
install(FILES ${KSR_VOSK_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(KSR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KaloSR)
install(EXPORT KaloSRTargets NAMESPACE KaloSR:: DESTINATION ${KSR_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KaloSRConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfig.cmake
  INSTALL_DESTINATION ${KSR_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfigVersion.cmake
  DESTINATION ${KSR_PACKAGE_DIR})
