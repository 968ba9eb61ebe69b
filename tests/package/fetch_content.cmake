# A project that fetches an archive of the library. The archive holds no more than the library is built of.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cz ${WORK}/foundation_tav.tar.gz CMakeLists.txt cmake foundation
                WORKING_DIRECTORY ${SOURCE} COMMAND_ERROR_IS_FATAL ANY)
consume(${CMAKE_CURRENT_LIST_DIR}/fetch_content ${WORK}/build -DFOUNDATION_ARCHIVE=${WORK}/foundation_tav.tar.gz)
