execute_process(
  COMMAND ${NM} --dynamic --demangle --defined-only ${LIBRARY}
  OUTPUT_VARIABLE table
  COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE ";" "," table "${table}")
string(REGEX MATCHALL "[^\n]+" lines "${table}")
# Of a base class of the exceptions some compilers leave the table out, which users instantiate for themselves.
list(FILTER lines EXCLUDE REGEX " vtable for foundation::core::except::Exception<")
set(symbols "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^[0-9a-f]+ [A-Za-z] " "" symbol "${line}")
  if(NOT symbol MATCHES "^(guard variable for |typeinfo for |typeinfo name for |vtable for |[a-z ]+ )?(std::|boost::)")
    list(APPEND symbols "${symbol}")
  endif()
endforeach()
list(REMOVE_DUPLICATES symbols)  # constructors and destructors have several entry points
list(SORT symbols COMPARE STRING)
list(JOIN symbols "\n" found)

file(READ ${EXPECTED} expected)
if(NOT "${found}\n" STREQUAL expected)
  cmake_path(GET EXPECTED FILENAME expected_name)
  set(found_file ${CMAKE_CURRENT_BINARY_DIR}/found-${expected_name})
  file(WRITE ${found_file} "${found}\n")
  message(FATAL_ERROR "The exported symbols differ from ${EXPECTED}. Found: ${found_file}\n"
                      "If the change of the public interface is meant, put the file found in the place of the other.")
endif()
list(LENGTH symbols count)
message(STATUS "${count} exported symbols, all as documented")
