# A project that has the library's sources in a folder of its own, with the OPTIONS given.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK}/build)
consume(${CMAKE_CURRENT_LIST_DIR}/add_subdirectory ${WORK}/build -DFOUNDATION_SOURCE=${SOURCE} ${OPTIONS})
