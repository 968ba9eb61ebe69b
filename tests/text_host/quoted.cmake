# Fails unless the first C++ block of README reads as the marked lines of EXAMPLE do.
cmake_minimum_required(VERSION 3.25)

# Sets OUT to what stands between the two strings in FILE. The strings are searched for, not matched as expressions, so
# that nothing in the text has a meaning of its own.
function(read_between out file begin end)
  file(READ ${file} text)
  string(FIND "${text}" "${begin}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${file} lacks '${begin}'")
  endif()
  string(LENGTH "${begin}" length)
  math(EXPR at "${at} + ${length}")
  string(SUBSTRING "${text}" ${at} -1 text)
  string(FIND "${text}" "${end}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${file} lacks '${end}' after '${begin}'")
  endif()
  string(SUBSTRING "${text}" 0 ${at} text)
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

read_between(quoted ${README} "```cpp\n" "```")
read_between(example ${EXAMPLE} "// [quick start: begin]\n" "// [quick start: end]")
if(NOT quoted STREQUAL example)
  message(FATAL_ERROR "${README} quotes\n${quoted}\nwhile ${EXAMPLE} has\n${example}")
endif()
