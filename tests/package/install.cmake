# Installs BUILD, and moves what was installed to WORK/prefix.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
file(RENAME ${WORK}/installed ${WORK}/prefix)
if(NOT EXISTS ${WORK}/prefix/include/foundation/state/testing.h)
  message(FATAL_ERROR "The fixture for tests is not installed.")
endif()
