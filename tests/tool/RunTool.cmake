# Runs the tool and compares exit code and output:
#   cmake -DTOOL=... -DEMULATOR=... -DEXIT=... -DOUTPUT=regex -DERROR=regex -P RunTool.cmake -- ARGUMENT...
# An empty ERROR demands an empty standard error, any other one exactly one line that matches.

set(arguments "")
set(isArgument FALSE)
foreach(index RANGE ${CMAKE_ARGC})
  if(isArgument AND index LESS CMAKE_ARGC)
    list(APPEND arguments "${CMAKE_ARGV${index}}")
  elseif("${CMAKE_ARGV${index}}" STREQUAL "--")
    set(isArgument TRUE)
  endif()
endforeach()

execute_process(COMMAND ${EMULATOR} ${TOOL} ${arguments}
  RESULT_VARIABLE exit OUTPUT_VARIABLE output ERROR_VARIABLE error)

if(NOT exit EQUAL EXIT)
  message(SEND_ERROR "exit code ${exit}, expected ${EXIT}")
endif()
if(NOT output MATCHES "${OUTPUT}")
  message(SEND_ERROR "standard output does not match ${OUTPUT}")
endif()
if(ERROR STREQUAL "" AND NOT error STREQUAL "")
  message(SEND_ERROR "standard error is not empty")
elseif(NOT ERROR STREQUAL "" AND NOT error MATCHES "^qxutils: [^\n]*(${ERROR})[^\n]*\n$")
  message(SEND_ERROR "standard error is not one line that matches ${ERROR}")
endif()
message("${output}${error}")
