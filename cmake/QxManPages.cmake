# The tool's pages, written when it is installed.
find_program(QXUTILS_HELP2MAN NAMES help2man DOC "Makes manual pages from the help of a program")
if(QXUTILS_HELP2MAN)
  install(CODE "execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND \"${PROJECT_SOURCE_DIR}/scripts/man-pages\" \"$<TARGET_FILE:qxutils>\" ${PROJECT_VERSION}
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1\")" COMPONENT tools)
endif()
