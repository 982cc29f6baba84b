# What only the Windows tree holds: the compiler's runtime, the Microsoft linker's import library, the kit in C.

# Exceptions and vectors cross the C++ DLLs' boundaries, so every module shares one runtime. It comes with its debug
# symbols, which are ten times the code.
function(qx_install_runtime runtime)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE "${file}")
    message(FATAL_ERROR "The compiler's runtime library ${runtime} is missing")
  endif()
  file(REAL_PATH "${file}" file)
  set(stripped "${PROJECT_BINARY_DIR}/runtime/${runtime}")
  execute_process(COMMAND ${CMAKE_STRIP} --strip-all -o "${stripped}" "${file}" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${stripped}" DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endfunction()

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/runtime")
foreach(runtime libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  qx_install_runtime(${runtime})
endforeach()
set(QXUTILS_GPL "/usr/share/common-licenses/GPL-3" CACHE FILEPATH "Text of the licence of the compiler's runtime")
install(FILES "${QXUTILS_GPL}" DESTINATION . RENAME GPL-3.txt COMPONENT documentation)

install(FILES "${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/qxutils_c.lib" DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT development)
install(FILES kit/c/qxkit_c.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qxkit COMPONENT development)
install(DIRECTORY kit/c/ DESTINATION ${CMAKE_INSTALL_DATADIR}/qxutils/kit_in_c COMPONENT development
  FILES_MATCHING PATTERN "*.def")
