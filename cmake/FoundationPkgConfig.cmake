# pkg-config files, made of what the CMake targets say, so that both say the same.

set(description_core "Diagnostics and exceptions of the stand-alone host")
set(description_log "Diagnostic logger of the stand-alone host, on Boost.Log")
set(description_tav "State of host applications, kept in contexts of three nested scopes")
set(description_state "State found by its type, plugins that can be unloaded, hand-off to threads")

# Adds to the lists boost_libs and boost_definitions what linking to a target of Boost's takes. Boost has no pkg-config
# files.
function(foundation_append_boost target)
  string(REPLACE "Boost::" "-lboost_" lib ${target})
  if(NOT TARGET ${target} OR NOT target MATCHES "^Boost::" OR target STREQUAL "Boost::headers" OR lib IN_LIST boost_libs)
    return()
  endif()
  list(APPEND boost_libs ${lib})
  get_target_property(definitions ${target} INTERFACE_COMPILE_DEFINITIONS)
  list(APPEND boost_definitions ${definitions})
  get_target_property(dependencies ${target} INTERFACE_LINK_LIBRARIES)
  foreach(dependency IN LISTS dependencies)
    foundation_append_boost("${dependency}")
  endforeach()
  set(boost_libs ${boost_libs} PARENT_SCOPE)
  set(boost_definitions ${boost_definitions} PARENT_SCOPE)
endfunction()

# Sets LIBS and DEFINITIONS to what linking to those of the targets that are Boost's takes.
function(foundation_boost_flags libs definitions)
  set(boost_libs "")
  set(boost_definitions "")
  foreach(target IN LISTS ARGN)
    foundation_append_boost(${target})
  endforeach()
  list(FILTER boost_definitions INCLUDE REGEX "^[A-Z_]+$")
  list(REMOVE_DUPLICATES boost_definitions)
  set(${libs} ${boost_libs} PARENT_SCOPE)
  set(${definitions} ${boost_definitions} PARENT_SCOPE)
endfunction()

# Sets OUT to the modules of a list of targets that are this package's, in the notation of Requires.
function(foundation_required_modules out)
  set(targets ${ARGN})
  list(FILTER targets INCLUDE REGEX "^foundation::")
  list(TRANSFORM targets REPLACE "^foundation::(.*)$" "foundation_\\1")
  list(JOIN targets ", " modules)
  set(${out} ${modules} PARENT_SCOPE)
endfunction()

# foundation_install_pkg_config(NAME): foundation_NAME.pc, which finds the libraries wherever the prefix is moved to.
function(foundation_install_pkg_config name)
  set(target foundation_${name})
  get_target_property(public ${target} INTERFACE_LINK_LIBRARIES)
  list(FILTER public EXCLUDE REGEX LINK_ONLY)
  get_target_property(private ${target} LINK_LIBRARIES)
  list(REMOVE_ITEM private ${public})
  foundation_required_modules(requires ${public})
  foundation_required_modules(private_requires ${private})

  foundation_boost_flags(boost_libs definitions ${public})
  foundation_boost_flags(private_libs unused ${private})
  # Of shared libraries, the first brings the others along.
  list(POP_FRONT boost_libs boost_lib)
  set(libs -L\${libdir} -l${target} ${boost_lib})
  list(APPEND private_libs ${boost_libs})

  get_target_property(type ${target} TYPE)
  if(type STREQUAL "STATIC_LIBRARY")
    string(TOUPPER ${target}_STATIC static)
    list(APPEND definitions ${static})
  endif()
  list(TRANSFORM definitions PREPEND -D)
  set(cflags -I\${includedir} ${definitions})
  foreach(flags IN ITEMS libs private_libs cflags)
    list(JOIN ${flags} " " ${flags})
  endforeach()

  set(description ${description_${name}})
  file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
  configure_file(cmake/foundation.pc.in ${target}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT foundation_development)
endfunction()
