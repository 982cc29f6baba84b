# Runs the tool and compares exit code and output:
#   cmake -DTOOL=... -DEMULATOR=... -DEXIT=... -DOUTPUT=regex -DERROR=regex -P RunTool.cmake -- ARGUMENT...
# An empty ERROR demands an empty standard error, any other one exactly one line that matches. The ARGUMENT
# <empty> stands for an empty one, which would be lost on the way here.

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
if(ERROR STREQUAL "" AND NOT error STREQUAL "")
  message(SEND_ERROR "standard error is not empty")
elseif(NOT ERROR STREQUAL "")
  string(REGEX REPLACE "\n$" "" line "${error}")
  if(line STREQUAL error OR line MATCHES "\n" OR NOT line MATCHES "^qxutils: .*(${ERROR})")
    message(SEND_ERROR "standard error is not one line that matches ${ERROR}")
  endif()
endif()
message("${output}${error}")
