# `cmake --install` puts the module where a host finds it:
#   lib/libkalo-sr.so*          the module (RPATH $ORIGIN)
#   lib/libvosk.so              the recognizer library, beside it
#   include/kalo-sr/*.h         the exported headers
#   lib/cmake/KaloSR/           the CMake package: find_package(KaloSR) gives
#                               the target KaloSR::kalo-sr, which brings the
#                               include folder and, for the Qt interfaces, Qt
# On Windows (the cross build in tests/sapi/windows) the module is
# bin/libkalo-sr.dll with lib/libkalo-sr.dll.a, and bin/ also holds
# libvosk.dll and its runtime DLLs (KSR_PACKAGE_VOSK_FILES).
#
# Used by both builds: the module's target is kalo-sr.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
get_filename_component(KSR_PACKAGE_SOURCE "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

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
# Nor do the Qt interfaces' headers (k_*.h) ship in a build without them.
set(KSR_LEFT_OUT_HEADERS)
if(NOT WIN32)
  list(APPEND KSR_LEFT_OUT_HEADERS
    PATTERN "k_sapi_interface.h" EXCLUDE PATTERN "ksr_sapi_*.h" EXCLUDE PATTERN "ksr_com_ptr.h" EXCLUDE)
endif()
if(NOT TARGET ksr_qt_obj)
  list(APPEND KSR_LEFT_OUT_HEADERS PATTERN "k_*.h" EXCLUDE)
endif()
install(DIRECTORY ${KSR_PACKAGE_SOURCE}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kalo-sr
  FILES_MATCHING PATTERN "*.h" ${KSR_LEFT_OUT_HEADERS})
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
# through its RPATH. Windows looks for DLLs beside the program, so a host
# copies bin/*.dll there (KaloSR_RUNTIME_DLLS).
if(WIN32)
  install(FILES ${KSR_PACKAGE_VOSK_FILES} DESTINATION ${CMAKE_INSTALL_BINDIR})
else()
  install(FILES ${KSR_VOSK_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(KSR_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KaloSR)
install(EXPORT KaloSRTargets NAMESPACE KaloSR:: DESTINATION ${KSR_PACKAGE_DIR})
configure_package_config_file(${KSR_PACKAGE_SOURCE}/cmake/KaloSRConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfig.cmake
  INSTALL_DESTINATION ${KSR_PACKAGE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KaloSRConfigVersion.cmake
  DESTINATION ${KSR_PACKAGE_DIR})
