# A program that finds the libraries in PREFIX through pkg-config, with its OPTIONS.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
consume_by_pkg_config(${PREFIX}/lib/pkgconfig ${WORK} ${OPTIONS})
