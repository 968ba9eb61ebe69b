# Compiles SOURCE, which must succeed without a warning, and compiles it with MISUSE defined, which must fail: the first
# error has to be the one that the source expects of this compiler.

file(STRINGS ${SOURCE} lines)
set(expected "")
foreach(line IN LISTS lines)
  string(FIND "${line}" "// ${KIND}: " position)
  if(position EQUAL 0)
    string(LENGTH "// ${KIND}: " length)
    string(SUBSTRING "${line}" ${length} -1 expected)
  endif()
endforeach()
if(expected STREQUAL "")
  message(FATAL_ERROR "${SOURCE} doesn't say what it expects of ${KIND}.")
endif()

set(ENV{LC_ALL} C) # plain quotes, English text
set(command ${COMPILER} ${STANDARD} -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
foreach(directory IN LISTS INCLUDES)
  list(APPEND command -I ${directory})
endforeach()
foreach(directory IN LISTS SYSTEM_INCLUDES)
  list(APPEND command -isystem ${directory})
endforeach()

execute_process(COMMAND ${command} ${SOURCE} RESULT_VARIABLE result ERROR_VARIABLE diagnostics)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "The twin without the misuse must compile, and doesn't:\n${diagnostics}")
endif()

execute_process(COMMAND ${command} -DMISUSE ${SOURCE} RESULT_VARIABLE result ERROR_VARIABLE diagnostics)
if(result EQUAL 0)
  message(FATAL_ERROR "The misuse must not compile, and does.")
endif()
string(REGEX MATCH " error: [^\n]*" first "${diagnostics}")
# What one version of a compiler writes and the next leaves out: namespaces, and the quotes of a static_assert's text.
string(REGEX REPLACE "foundation::([a-z]+::)*|\"" "" first "${first}")
string(REGEX REPLACE "foundation::([a-z]+::)*|\"" "" bare "${expected}")
string(FIND "${first}" "${bare}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "The first error must contain\n  ${expected}\nThe compiler said\n${diagnostics}")
endif()
