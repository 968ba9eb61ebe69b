# Builds a host, the library on that host and a program on both, and compares what the host records of the program's run.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
set(here ${CMAKE_CURRENT_LIST_DIR}/own_host)

# build_and_install(NAME SOURCE OPTION...)
function(build_and_install name source)
  configure(${source} ${WORK}/${name} -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_INSTALL_PREFIX=${WORK}/prefix
            -DCMAKE_INSTALL_LIBDIR=lib ${OPTIONS} ${ARGN})
  run(${CMAKE_COMMAND} --build ${WORK}/${name} --target install)
endfunction()

build_and_install(host ${here})
build_and_install(library ${SOURCE} -DFOUNDATION_HOST=package -DFOUNDATION_BUILD_TESTS=OFF -DFOUNDATION_BUILD_EXAMPLES=OFF)
configure(${here}/program ${WORK}/program -DCMAKE_PREFIX_PATH=${WORK}/prefix)
run(${CMAKE_COMMAND} --build ${WORK}/program)
expect_output(${WORK}/program/recorded ${here}/recorded.txt)
