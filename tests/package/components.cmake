# Each component brings what it is built on and no more; what there is not is refused by name.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
file(REMOVE_RECURSE ${WORK})
configure(${CMAKE_CURRENT_LIST_DIR}/components ${WORK} -DCMAKE_PREFIX_PATH=${PREFIX})

# expect_found(ARGUMENTS TARGETS): which targets find_package makes.
function(expect_found arguments)
  execute_process(COMMAND ${CMAKE_COMMAND} "-DARGUMENTS=${arguments}" ${WORK} OUTPUT_QUIET ERROR_VARIABLE found
                  COMMAND_ERROR_IS_FATAL ANY)
  list(TRANSFORM ARGN PREPEND "target " OUTPUT_VARIABLE expected)
  list(JOIN expected "\n" expected)
  expect_text("With '${arguments}' there are" "${found}" "${expected}\n")
endfunction()

set(all foundation::core foundation::log foundation::tav foundation::state Boost::headers Boost::log)
expect_found("REQUIRED" ${all})
expect_found("REQUIRED;COMPONENTS;core" foundation::core Boost::headers)
expect_found("REQUIRED;COMPONENTS;log;core" foundation::core foundation::log Boost::headers Boost::log)
expect_found("REQUIRED;COMPONENTS;tav" foundation::core foundation::log foundation::tav Boost::headers Boost::log)
expect_found("REQUIRED;COMPONENTS;state" ${all})
expect_found("REQUIRED;COMPONENTS;core;OPTIONAL_COMPONENTS;colour" foundation::core Boost::headers)
expect_found("0.1;REQUIRED;COMPONENTS;core" foundation::core Boost::headers)

# expect_refused(ARGUMENTS REASON): find_package fails, with the reason among what it says.
function(expect_refused arguments reason)
  execute_process(COMMAND ${CMAKE_COMMAND} "-DARGUMENTS=${arguments}" ${WORK} RESULT_VARIABLE status OUTPUT_QUIET
                  ERROR_VARIABLE message)
  string(REGEX REPLACE "[ \n]+" " " message "${message}")
  string(FIND "${message}" "${reason}" at)
  if(status EQUAL 0 OR at EQUAL -1)
    message(FATAL_ERROR "With '${arguments}' CMake ended with ${status}:\n${message}\nwithout: ${reason}")
  endif()
endfunction()

expect_refused("REQUIRED;COMPONENTS;tav;colour"
               "foundation_tav has no component 'colour'; it has core, log, tav and state.")
expect_refused("0.2;REQUIRED" "compatible with requested version \"0.2\"")
expect_refused("0.0.9;REQUIRED" "compatible with requested version \"0.0.9\"")
