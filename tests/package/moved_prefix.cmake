# What was installed names neither the folder that it was INSTALLED to, nor where it lies since, in PREFIX, nor where it was
# made from; and it serves from elsewhere.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
file(COPY ${PREFIX}/ DESTINATION ${WORK}/moved/elsewhere)

file(GLOB_RECURSE files ${WORK}/moved/*)
# What is not stripped names the folder that it was built in, in debug information alone.
list(FILTER files EXCLUDE REGEX "/lib/libfoundation_|/bin/")
foreach(folder IN ITEMS ${INSTALLED} ${PREFIX} ${SOURCE})
  execute_process(COMMAND grep --fixed-strings --files-with-matches ${folder} ${files} OUTPUT_VARIABLE named)
  expect_text("Files that name ${folder}" "${named}" "")
endforeach()

consume(${CMAKE_CURRENT_LIST_DIR}/find_package ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/moved/elsewhere)
