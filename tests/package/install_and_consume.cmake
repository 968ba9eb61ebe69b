file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first COMMAND_ERROR_IS_FATAL ANY
                OUTPUT_QUIET)
file(RENAME ${WORK}/first ${WORK}/moved)
if(NOT EXISTS ${WORK}/moved/include/foundation/state/testing.h)
  message(FATAL_ERROR "The fixture for tests is not installed.")
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/build -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER}
          -DCMAKE_PREFIX_PATH=${WORK}/moved COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/build COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
execute_process(COMMAND ${WORK}/build/consumer OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output STREQUAL "asked: 6 x 7\nfound: 42\ndeleted\n")
  message(FATAL_ERROR "The consumer printed: ${output}")
endif()
