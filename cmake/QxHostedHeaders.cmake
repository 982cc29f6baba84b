# Header-only libraries of the build machine, and single headers of libraries that a program binds when it runs. They
# are linked one by one into the build tree, because a cross compiler that is given the whole system include folder
# takes the wrong C library's headers from it.
#
#   qx_hosted_headers(target CLI toml++ stb nlohmann sqlite3.h)

set(QXUTILS_HOSTED_HEADER_ROOTS /usr/local/include /usr/include
  CACHE STRING "Folders that hold header-only libraries, first match wins")

function(qx_hosted_headers target)
  set(hosted "${CMAKE_BINARY_DIR}/hosted-headers")
  foreach(library IN LISTS ARGN)
    unset(source)
    foreach(root IN LISTS QXUTILS_HOSTED_HEADER_ROOTS)
      if(NOT source AND EXISTS "${root}/${library}")
        set(source "${root}/${library}")
      endif()
    endforeach()
    if(NOT source)
      message(FATAL_ERROR "${library}: no such header or folder in ${QXUTILS_HOSTED_HEADER_ROOTS}; see scripts/setup")
    endif()
    file(MAKE_DIRECTORY "${hosted}")
    if(NOT EXISTS "${hosted}/${library}")
      file(CREATE_LINK "${source}" "${hosted}/${library}" SYMBOLIC)
    endif()
  endforeach()
  target_include_directories(${target} SYSTEM PRIVATE "${hosted}")
endfunction()
