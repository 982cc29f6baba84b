# Files whose bytes are part of a program.
#
#   qx_embed(target FILE NAME)
#
# makes the bytes of FILE a part of target, which must belong to this directory. The target's sources reach them by
#
#   #include "embedded/NAME.h"
#   std::string_view bytes = qx::tool::embeddedNAME();
#
# They are read only, aligned to 16 bytes, and followed by a byte of 0 that is not counted. What uses them is built again
# when the file changes.

function(qx_embed target file name)
  get_filename_component(QX_EMBED_FILE "${file}" ABSOLUTE)
  if(NOT EXISTS "${QX_EMBED_FILE}")
    message(FATAL_ERROR "${QX_EMBED_FILE}: no such file to embed; see scripts/setup")
  endif()
  set(QX_EMBED_NAME ${name})
  set(QX_EMBED_SECTION ".section .rodata")
  if(WIN32)
    set(QX_EMBED_SECTION ".section .rdata,\\\"dr\\\"")
  endif()
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/${target}-embedded")
  set(source "${folder}/embedded/${name}.cpp")
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Embedded.h.in" "${folder}/embedded/${name}.h" @ONLY)
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Embedded.cpp.in" "${source}" @ONLY)
  set_source_files_properties("${source}" PROPERTIES OBJECT_DEPENDS "${QX_EMBED_FILE}")
  target_sources(${target} PRIVATE "${source}")
  target_include_directories(${target} PRIVATE "${folder}")
endfunction()
