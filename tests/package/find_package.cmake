# A project that finds the package in PREFIX.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
consume(${CMAKE_CURRENT_LIST_DIR}/find_package ${WORK} -DCMAKE_PREFIX_PATH=${PREFIX})
