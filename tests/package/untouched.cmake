# A project's variables and flags are after add_subdirectory what they were before, and no GoogleTest is needed: the library
# is of the TYPE that its OPTIONS ask for, and has no tests.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/untouched -B ${WORK} -G ${GENERATOR}
          -DCMAKE_CXX_COMPILER=${COMPILER} -DFOUNDATION_SOURCE=${SOURCE} -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON ${OPTIONS}
  OUTPUT_QUIET ERROR_VARIABLE changes COMMAND_ERROR_IS_FATAL ANY)
expect_text("add_subdirectory changes" "${changes}" "${TYPE}, tests: ''\n")
