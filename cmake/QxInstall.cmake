# The installed tree, the CMake package, the pkg-config files and the archives.
#
#   bin/                   the tool; on Windows also the DLLs and the compiler's runtime DLLs
#   lib/                   the libraries (import libraries on Windows), lib/cmake/QxUtils, lib/pkgconfig
#   include/QxUtils*       the library's headers
#   include/qxkit/         the contracts of the kit libraries
#   share/qxutils/         an example of the virtual detector's settings
#
# The tree can be moved as a whole: everything refers to its own place.

option(QXUTILS_INSTALL "Install the library, the kit's substitutes and the tool" ${PROJECT_IS_TOP_LEVEL})
if(NOT QXUTILS_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)

set(QX_KIT_LIBRARIES QxSysMgt QxCodec QxCorrection)
set(QX_INSTALLED_TARGETS QxUtils ${QX_KIT_LIBRARIES})
if(TARGET qxutils)
  list(APPEND QX_INSTALLED_TARGETS qxutils)
endif()
set(QX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/QxUtils")

if(NOT WIN32)
  file(RELATIVE_PATH QX_BIN_TO_LIB "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(${QX_INSTALLED_TARGETS} PROPERTIES INSTALL_RPATH "\$ORIGIN;\$ORIGIN/${QX_BIN_TO_LIB}")
  # LD_LIBRARY_PATH goes before a RUNPATH, not before an RPATH: so a host's own kit library can take a substitute's
  # place.
  foreach(target IN LISTS QX_INSTALLED_TARGETS)
    target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
  endforeach()
endif()

install(TARGETS ${QX_INSTALLED_TARGETS} EXPORT QxUtilsTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/QxUtils.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/QxUtils DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY kit/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxkit FILES_MATCHING PATTERN "*.h")
install(FILES kit/virtual/VirtualDetector.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxkit)
install(FILES kit/virtual/example.toml DESTINATION ${CMAKE_INSTALL_DATADIR}/qxutils)

install(EXPORT QxUtilsTargets NAMESPACE QxUtils:: DESTINATION ${QX_PACKAGE_DIR})
configure_package_config_file(cmake/QxUtilsConfig.cmake.in "${PROJECT_BINARY_DIR}/QxUtilsConfig.cmake"
  INSTALL_DESTINATION ${QX_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QxUtilsConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QxUtilsConfig.cmake" "${PROJECT_BINARY_DIR}/QxUtilsConfigVersion.cmake"
  DESTINATION ${QX_PACKAGE_DIR})

set(QX_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH QX_PKGCONFIG_TO_PREFIX "/${QX_PKGCONFIG_DIR}" "/")
string(REGEX REPLACE "/$" "" QX_PKGCONFIG_TO_PREFIX "${QX_PKGCONFIG_TO_PREFIX}")
foreach(package qxutils qxsysmgt)
  configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION ${QX_PKGCONFIG_DIR})
endforeach()

# Exceptions and vectors cross the DLLs' boundaries, so every module shares one runtime.
if(MINGW)
  foreach(runtime libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
      OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_ABSOLUTE "${file}")
      message(FATAL_ERROR "The compiler's runtime library ${runtime} is missing")
    endif()
    file(REAL_PATH "${file}" file)
    install(FILES "${file}" DESTINATION ${CMAKE_INSTALL_BINDIR})
  endforeach()
endif()

if(PROJECT_IS_TOP_LEVEL)
  set(CPACK_PACKAGE_VENDOR "QxUtils")
  set(CPACK_PACKAGE_CONTACT "QxUtils maintainers <maintainers@users.noreply.example>")
  set(CPACK_PACKAGE_FILE_NAME "QxUtils-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
  set(CPACK_STRIP_FILES ON)
  if(WIN32)
    set(CPACK_GENERATOR ZIP)
  else()
    set(CPACK_GENERATOR TGZ DEB)
    set(CPACK_DEBIAN_PACKAGE_NAME qxutils)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  endif()
  include(CPack)
endif()
