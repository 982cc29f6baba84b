# Runs the tool and compares exit code and output:
#   cmake -DTOOL=... -DEMULATOR=... -DEXIT=... -DOUTPUT=regex -DERROR=regex -P RunTool.cmake -- ARGUMENT...
# An empty ERROR demands that the tool says nothing on standard error, any other one exactly one line that matches; what
# the library prints on its own goes there, too. The ARGUMENT <empty> stands for an empty one, which would be lost on the
# way here.

set(arguments "")
set(isArgument FALSE)
foreach(index RANGE ${CMAKE_ARGC})
  if(isArgument AND index LESS CMAKE_ARGC)
    string(REGEX REPLACE "^<empty>$" "" argument "${CMAKE_ARGV${index}}")
    string(APPEND arguments " [==[${argument}]==]")
  elseif("${CMAKE_ARGV${index}}" STREQUAL "--")
    set(isArgument TRUE)
  endif()
endforeach()

# How tables fit a line is told elsewhere: here a row of a table is one line.
set(ENV{COLUMNS} 1000)
cmake_language(EVAL CODE "execute_process(COMMAND \${EMULATOR} \${TOOL} ${arguments}
  RESULT_VARIABLE exit OUTPUT_VARIABLE output ERROR_VARIABLE error)")

if(NOT exit EQUAL EXIT)
  message(SEND_ERROR "exit code ${exit}, expected ${EXIT}")
endif()
if(NOT output MATCHES "${OUTPUT}")
  message(SEND_ERROR "standard output does not match ${OUTPUT}")
endif()
# The first line of the tool's own, and whether there is another one.
set(lines "\n${error}")
string(FIND "${lines}" "\nqxutils: " first)
string(FIND "${lines}" "\nqxutils: " last REVERSE)
string(REGEX REPLACE "^.*\n(qxutils: [^\n]*)\n.*$" "\\1" line "${lines}")
if(ERROR STREQUAL "" AND NOT first EQUAL -1)
  message(SEND_ERROR "the tool complains on standard error")
elseif(NOT ERROR STREQUAL "" AND (first EQUAL -1 OR NOT first EQUAL last OR NOT line MATCHES "(${ERROR})"))
  message(SEND_ERROR "standard error does not hold one line of the tool that matches ${ERROR}")
endif()
message("${output}${error}")
