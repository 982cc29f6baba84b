# Compiler settings shared by every target: results must not depend on the machine or the optimisation level, and
# warnings are errors.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported()
# Everything runs from one folder, as a Windows program finds its DLLs.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
# A file's bytes do not depend on the folder that it was built in.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_library(qx_settings INTERFACE)
# -Wrestrict and -Wmaybe-uninitialized warn about the compiler's own headers (std::string, AVX-512 intrinsics).
target_compile_options(qx_settings INTERFACE
  -Wall -Wextra -Wshadow -Wundef -Wnon-virtual-dtor -Wformat=2 $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> -Werror
  -ffp-contract=off -fno-strict-aliasing)
if(QXUTILS_SANITIZE)
  target_compile_options(qx_settings INTERFACE -fsanitize=${QXUTILS_SANITIZE} -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(qx_settings INTERFACE -fsanitize=${QXUTILS_SANITIZE})
endif()
if(QXUTILS_COVERAGE)
  target_link_options(qx_settings INTERFACE --coverage)
endif()
# What a release file brings against its own faults; tests/exports looks for it in the files. Instrumented code has
# none of it, and MinGW's compiler knows no control-flow guard. The system's start files are not ready for indirect
# branch tracking, so that no linked file may say it is; the code itself is, and shadow stacks the whole file is.
add_library(qx_protection INTERFACE)
target_link_libraries(qx_settings INTERFACE qx_protection)
if(NOT QXUTILS_SANITIZE AND NOT QXUTILS_COVERAGE)
  if(WIN32)
    set(protected_link -Wl,--dynamicbase,--high-entropy-va,--nxcompat)
  else()
    set(protected_code -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    set(protected_link -Wl,-z,relro,-z,now,-z,noexecstack)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
      list(APPEND protected_code -fcf-protection=full)
      list(APPEND protected_link -Wl,-z,shstk)
    endif()
  endif()
  target_compile_options(qx_protection INTERFACE "$<$<CONFIG:Release>:${protected_code}>")
  target_link_options(qx_protection INTERFACE "$<$<CONFIG:Release>:${protected_link}>")
endif()
# Nor do its bytes depend on the folder of the sources, which coverage has to find.
if(NOT QXUTILS_COVERAGE)
  target_compile_options(qx_settings INTERFACE
    "$<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build;-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
endif()

if(WIN32)
  enable_language(RC)
  target_compile_definitions(qx_settings INTERFACE _WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
  # A DLL's bytes depend on its sources alone.
  target_link_options(qx_settings INTERFACE -Wl,--no-insert-timestamp)
  # The compiler may spill 32-byte and wider vectors to a stack that is aligned to 16.
  target_compile_options(qx_settings INTERFACE -Wa,-muse-unaligned-vector-move)
elseif(NOT QXUTILS_SANITIZE)
  # clang's sanitizers are defined in the program alone.
  target_link_options(qx_settings INTERFACE -Wl,--no-undefined)
endif()

# Stricter for the library itself, whose arithmetic is single precision unless a step asks for double. clang's warning
# of that takes a float that is stored as a double for a fault.
add_library(qx_library_settings INTERFACE)
target_link_libraries(qx_library_settings INTERFACE qx_settings)
target_compile_options(qx_library_settings INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wdouble-promotion> -Wfloat-conversion -Wold-style-cast)
# The library alone is counted, and as it is written; the tests around it may be quick.
if(QXUTILS_COVERAGE)
  target_compile_options(qx_library_settings INTERFACE -O0 --coverage -fprofile-update=atomic)
endif()

# What Windows shows of a file's origin; kind is DLL or EXE. A program may bring a manifest. The object is made apart, because the resource compiler
# does not know the options of the C++ compiler.
function(qx_version_resource target kind)
  string(TOLOWER "${kind}" suffix)
  set(QX_FILE_NAME "${target}.${suffix}")
  set(QX_FILE_TYPE 2)
  set(QX_MANIFEST "")
  if(kind STREQUAL EXE)
    set(QX_FILE_TYPE 1)
  endif()
  if(ARGN)
    set(QX_MANIFEST "1 RT_MANIFEST \"${ARGN}\"")
  endif()
  set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc")
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Version.rc.in" "${resource}" @ONLY)
  add_library(${target}_version OBJECT "${resource}")
  set_target_properties(${target}_version PROPERTIES LINKER_LANGUAGE CXX)
  set_property(SOURCE "${resource}" PROPERTY OBJECT_DEPENDS "${ARGN}")
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_version>)
endfunction()

# A shared library with the name the kit expects: QxUtils.dll, libQxUtils.so. Exports.map, or the one that follows MAP,
# bounds what the latter exports; a DLL exports what is marked and nothing else.
function(qx_shared_library name)
  cmake_parse_arguments(LIBRARY "" "MAP" "" ${ARGN})
  add_library(${name} SHARED ${LIBRARY_UNPARSED_ARGUMENTS})
  add_library(QxUtils::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "" VERSION "" SOVERSION "")
    qx_version_resource(${name} DLL)
  else()
    set(map "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Exports.map")
    if(LIBRARY_MAP)
      set(map "${CMAKE_CURRENT_SOURCE_DIR}/${LIBRARY_MAP}")
    endif()
    # With -z now, a kit that lacks a function fails when it is loaded, not when the function is called.
    target_link_options(${name} PRIVATE "-Wl,--version-script=${map}" -Wl,-z,now)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${map}")
  endif()
endfunction()
