# What every target of this repository shares. Nothing here reaches those who link to the libraries but the language
# level and, for static builds, the define that turns the export macros off.

# Where <foundation/...> is looked for. Next to a host of the user's own, that has to be a folder without the bundled host,
# whose headers would be found in the place of the user's.
set(foundation_include_root ${PROJECT_SOURCE_DIR})
if(FOUNDATION_HOST STREQUAL "package")
  set(foundation_include_root ${PROJECT_BINARY_DIR}/include)
  file(MAKE_DIRECTORY ${foundation_include_root}/foundation)
  foreach(name IN ITEMS tav state)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/foundation/${name} ${foundation_include_root}/foundation/${name} SYMBOLIC)
  endforeach()
endif()

# Finds the user's own foundation::NAME.
function(foundation_find_host_library name)
  find_package(foundation_${name} REQUIRED)
  if(NOT TARGET foundation::${name})
    message(FATAL_ERROR "The package foundation_${name} in ${foundation_${name}_DIR} defines no target foundation::${name}.")
  endif()
endfunction()

# Settings of everything that is compiled here: libraries, programs and tests.
function(foundation_target_settings target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # Files are named relative to the repository in reports and debug information, whatever folder the build runs in.
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  if(FOUNDATION_DEVELOPER)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
  endif()
  if(FOUNDATION_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${FOUNDATION_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${FOUNDATION_SANITIZE})
  endif()
endfunction()

# foundation_add_library(NAME SOURCES file... HEADERS file... [TEST_HEADERS file...]): the library foundation_NAME with its
# alias foundation::NAME. HEADERS are the public ones: they are installed, and each must compile alone. TEST_HEADERS are
# installed as well; they need GoogleTest, which a plain build does without.
function(foundation_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;TEST_HEADERS")
  set(target foundation_${name})
  add_library(${target} ${arg_SOURCES})
  add_library(foundation::${name} ALIAS ${target})
  list(TRANSFORM arg_HEADERS PREPEND ${foundation_include_root}/foundation/${name}/)
  list(TRANSFORM arg_TEST_HEADERS PREPEND ${foundation_include_root}/foundation/${name}/)
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${foundation_include_root} FILES ${arg_HEADERS})
  if(arg_TEST_HEADERS)
    target_sources(${target} PUBLIC FILE_SET test_headers TYPE HEADERS BASE_DIRS ${foundation_include_root}
                                    FILES ${arg_TEST_HEADERS})
  endif()
  foundation_target_settings(${target})
  set_target_properties(
    ${target}
    PROPERTIES EXPORT_NAME ${name}
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
               VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL}
               INTERFACE_HEADER_SETS_TO_VERIFY HEADERS
               # The libraries lie side by side once installed, wherever that is.
               INSTALL_RPATH $ORIGIN)
  string(TOUPPER ${target} upper)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "STATIC_LIBRARY")
    target_compile_definitions(${target} PUBLIC ${upper}_STATIC)
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  else()
    # A forgotten dependency is an error here, not at the user's link.
    if(NOT FOUNDATION_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
    set_target_properties(${target} PROPERTIES DEFINE_SYMBOL ${upper}_BUILDING)
  endif()
endfunction()
