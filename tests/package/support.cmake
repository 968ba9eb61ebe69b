# What the scripts of this folder share. They get WORK, a folder of their own, GENERATOR and COMPILER.
cmake_minimum_required(VERSION 3.25)

unset(ENV{PKG_CONFIG_PATH})  # what is installed elsewhere must not stand in for what is missing here

# run(COMMAND...): runs a command, quietly unless it fails.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message("${command}\nended with ${status}:\n${output}")
    message(FATAL_ERROR "A command failed.")
  endif()
endfunction()

# configure(SOURCE BUILD OPTION...)
function(configure source build)
  run(${CMAKE_COMMAND} -S ${source} -B ${build} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER} ${ARGN})
endfunction()

# expect_text(WHAT TEXT EXPECTED_TEXT): fails unless the texts are the same.
function(expect_text what text expected)
  if(NOT text STREQUAL expected)
    message("${what}:\n${text}and not:\n${expected}")  # as it is; a FATAL_ERROR is wrapped into paragraphs
    message(FATAL_ERROR "Not as expected.")
  endif()
endfunction()

# expect_output(PROGRAM FILE): fails unless the program ends well and writes what the file says.
function(expect_output program file)
  execute_process(COMMAND ${program} OUTPUT_VARIABLE output ERROR_VARIABLE errors COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${file} expected)
  expect_text("${program} wrote" "${errors}${output}" "${expected}")
endfunction()

set(my_program ${CMAKE_CURRENT_LIST_DIR}/my_program.cpp)
set(expected_output ${CMAKE_CURRENT_LIST_DIR}/my_program.txt)

# consume(SOURCE BUILD OPTION...): configures, builds and runs my_program in the project given, and compares its output.
function(consume source build)
  configure(${source} ${build} -DMY_PROGRAM=${my_program} ${ARGN})
  run(${CMAKE_COMMAND} --build ${build})
  expect_output(${build}/my_program ${expected_output})
endfunction()

# consume_by_pkg_config(PKG_CONFIG_FOLDER WORK OPTION...): builds and runs my_program with no build system but pkg-config,
# with its options given.
function(consume_by_pkg_config folder work)
  set(ENV{PKG_CONFIG_LIBDIR} ${folder})
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${ARGN} foundation_log foundation_state OUTPUT_VARIABLE flags
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${PKG_CONFIG} --variable=libdir foundation_state OUTPUT_VARIABLE libdir
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  file(MAKE_DIRECTORY ${work})
  run(${COMPILER} -std=c++20 -o ${work}/my_program ${my_program} ${flags} -Wl,-rpath,${libdir})
  expect_output(${work}/my_program ${expected_output})
endfunction()
