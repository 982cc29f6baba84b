# The installed tree, the CMake package, the pkg-config files and the archives.
#
#   bin/                   the tool; on Windows also the DLLs and the compiler's runtime DLLs
#   lib/                   the libraries (import libraries on Windows), lib/cmake/QxUtils, lib/pkgconfig
#   include/               the headers of the library and of its C interface
#   include/qxkit/         the contracts of the kit libraries
#   share/qxutils/         an example of the virtual detector's settings; on Windows what a kit in C is linked with
#   share/doc/qxutils/     README, licences, docs, examples, qxutils.spdx.json; on Windows these lie at the top
#   share/man/man1/        the tool's pages, where help2man is installed
#   share/*/               its completion in bash, zsh and fish, on Linux
#
# The tree can be moved as a whole: everything refers to its own place. The Debian layout (QXUTILS_DEBIAN) belongs to
# the system instead: its folders are on the loader's path. Components are what Debian's packages are split by.

option(QXUTILS_INSTALL "Install the library, the kit's substitutes and the tool" ${PROJECT_IS_TOP_LEVEL})
option(QXUTILS_DEBIAN "Lay the installed tree out for Debian packages" OFF)
if(NOT QXUTILS_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)

set(QX_KIT_LIBRARIES QxSysMgt QxCodec QxCorrection)
set(QX_INSTALLED_LIBRARIES QxUtils ${QX_KIT_LIBRARIES} qxutils_c)
set(QX_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/QxUtils")
if(WIN32)
  set(QX_DOC_DIR ".")
else()
  set(QX_DOC_DIR "${CMAKE_INSTALL_DATADIR}/doc/qxutils")
endif()

function(qx_search_path)
  file(RELATIVE_PATH bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  # LD_LIBRARY_PATH goes before a RUNPATH, not before an RPATH: so a host's own kit library can take a substitute's
  # place. Files that are built as they are installed need no room for another path.
  foreach(target IN LISTS ARGN)
    set_target_properties(${target} PROPERTIES
      INSTALL_RPATH "\$ORIGIN;\$ORIGIN/${bin_to_lib}" BUILD_WITH_INSTALL_RPATH ON)
    target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
  endforeach()
endfunction()

if(NOT WIN32 AND NOT QXUTILS_DEBIAN)
  qx_search_path(${QX_INSTALLED_LIBRARIES})
  if(TARGET qxutils)
    qx_search_path(qxutils)
  endif()
endif()

install(TARGETS ${QX_INSTALLED_LIBRARIES} EXPORT QxUtilsTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
# Builds what is installed, without the tests.
add_custom_target(qx_installed DEPENDS ${QX_INSTALLED_LIBRARIES})
if(TARGET qx_python_package)
  add_dependencies(qx_installed qx_python_package)
endif()
if(TARGET qxutils)
  add_dependencies(qx_installed qxutils)
  install(TARGETS qxutils RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()
install(FILES include/QxUtils.h include/qxutils_c.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY include/QxUtils DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY kit/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxkit COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(FILES kit/virtual/VirtualDetector.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxkit COMPONENT development)
install(FILES kit/virtual/example.toml DESTINATION ${CMAKE_INSTALL_DATADIR}/qxutils COMPONENT tools)

install(EXPORT QxUtilsTargets NAMESPACE QxUtils:: DESTINATION ${QX_PACKAGE_DIR} COMPONENT development)
configure_package_config_file(cmake/QxUtilsConfig.cmake.in "${PROJECT_BINARY_DIR}/QxUtilsConfig.cmake"
  INSTALL_DESTINATION ${QX_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QxUtilsConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/QxUtilsConfig.cmake" "${PROJECT_BINARY_DIR}/QxUtilsConfigVersion.cmake"
  DESTINATION ${QX_PACKAGE_DIR} COMPONENT development)

set(QX_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH QX_PKGCONFIG_TO_PREFIX "/${QX_PKGCONFIG_DIR}" "/")
string(REGEX REPLACE "/$" "" QX_PKGCONFIG_TO_PREFIX "${QX_PKGCONFIG_TO_PREFIX}")
foreach(package qxutils qxutils_c qxsysmgt)
  configure_file(cmake/${package}.pc.in ${package}.pc @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION ${QX_PKGCONFIG_DIR} COMPONENT development)
endforeach()

install(FILES README.md LICENSE THIRD-PARTY.txt DESTINATION ${QX_DOC_DIR} COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${QX_DOC_DIR} COMPONENT documentation PATTERN docs/site EXCLUDE)
# A kit in C is for Windows alone.
set(QX_LEFT_OUT PATTERN __pycache__ EXCLUDE)
if(NOT WIN32)
  list(APPEND QX_LEFT_OUT PATTERN kit_in_c EXCLUDE)
endif()
install(DIRECTORY examples DESTINATION ${QX_DOC_DIR} COMPONENT documentation ${QX_LEFT_OUT})

if(WIN32)
  include(QxInstallWindows)
elseif(TARGET qxutils)
  include(QxManPages)
endif()

# What the tree is made of goes in last, when its files are known.
find_program(QXUTILS_PYTHON3 NAMES python3 DOC "Writes what the installed tree is made of")
if(QXUTILS_PYTHON3)
  set(QX_LISTED_FILES "\${CMAKE_INSTALL_MANIFEST_FILES}")
  if(QXUTILS_DEBIAN)
    set(QX_LISTED_FILES "")
  endif()
  set(QX_ROOMS_INSTALLED library kit)
  if(TARGET qxutils)
    list(APPEND QX_ROOMS_INSTALLED tool)
  endif()
  if(TARGET qx_python_package)
    list(APPEND QX_ROOMS_INSTALLED python)
  endif()
  configure_file(cmake/InstallSbom.cmake.in InstallSbom.cmake @ONLY)
  install(SCRIPT "${PROJECT_BINARY_DIR}/InstallSbom.cmake" COMPONENT documentation)
else()
  message(STATUS "Python is missing: no qxutils.spdx.json is installed")
endif()
if(PROJECT_IS_TOP_LEVEL)
  include(QxPackages)
endif()
