# Runs PROGRAM and compares all that it prints with the file EXPECTED, and how it ends with END.

file(READ ${EXPECTED} expected)
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE end OUTPUT_VARIABLE printed ERROR_VARIABLE printed TIMEOUT 60)
string(REGEX REPLACE "\n  line: [1-9][0-9]*\n" "\n  line: LINE\n" printed "${printed}")
if(NOT "${printed}" STREQUAL "${expected}" OR NOT "${end}" STREQUAL "${END}")
  message(FATAL_ERROR "Expected (${END}):\n${expected}\nFound (${end}):\n${printed}")
endif()
