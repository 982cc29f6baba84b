# What is made from the tool's own description of its commands when it is installed: its manual pages ...
find_program(QXUTILS_HELP2MAN NAMES help2man DOC "Makes manual pages from the help of a program")
if(QXUTILS_HELP2MAN)
  install(CODE "set(folder \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1\")
    execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND \"${PROJECT_SOURCE_DIR}/scripts/man-pages\"
      \"$<TARGET_FILE:qxutils>\" ${PROJECT_VERSION} \"\$ENV{DESTDIR}\${folder}\")
    file(GLOB pages RELATIVE \"\$ENV{DESTDIR}\${folder}\" \"\$ENV{DESTDIR}\${folder}/qxutils*\")
    list(TRANSFORM pages PREPEND \"\${folder}/\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \${pages})" COMPONENT tools)
endif()

# ... and the scripts by which shells complete its commands, where each of them looks.
if(QXUTILS_DEBIAN)
  set(zsh_folder zsh/vendor-completions)
else()
  set(zsh_folder zsh/site-functions)
endif()
foreach(shell_and_file IN ITEMS bash:bash-completion/completions/qxutils zsh:${zsh_folder}/_qxutils
    fish:fish/vendor_completions.d/qxutils.fish)
  string(REGEX MATCH "([^:]+):(.+)/([^/]+)" matched "${shell_and_file}")
  set(folder "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/${CMAKE_MATCH_2}")
  install(CODE "file(MAKE_DIRECTORY \"\$ENV{DESTDIR}${folder}\")
    execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} \"$<TARGET_FILE:qxutils>\"
      completion ${CMAKE_MATCH_1} OUTPUT_FILE \"\$ENV{DESTDIR}${folder}/${CMAKE_MATCH_3}\")
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"${folder}/${CMAKE_MATCH_3}\")" COMPONENT tools)
endforeach()
