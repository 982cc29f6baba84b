# Writes the names of the status codes from the header that declares them, one {code, "name"} a line:
#   cmake -DHEADER=StatusCode.h -DOUTPUT=StatusNames.inc -P MakeStatusNames.cmake
file(STRINGS "${HEADER}" lines REGEX "^ +Status[A-Za-z]+ = [0-9]+,$")
list(TRANSFORM lines REPLACE "^ +([A-Za-z]+) = .*" "{\\1, \"\\1\"},")
if(NOT lines)
  message(FATAL_ERROR "${HEADER}: no status code is declared there")
endif()
string(JOIN "\n" text ${lines})
file(WRITE "${OUTPUT}" "${text}\n")
