# The package foundation_tav: libraries, public headers, and what find_package(foundation_tav) and pkg-config read. There
# are two install components: what programs need to run, and what building programs takes besides. The tools are a third.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
include(${CMAKE_CURRENT_LIST_DIR}/FoundationPkgConfig.cmake)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/foundation_tav)
set(bundled_components tav state)
if(FOUNDATION_HOST STREQUAL "bundled")
  list(PREPEND bundled_components core log)
endif()

foreach(name IN LISTS bundled_components)
  install(
    TARGETS foundation_${name}
    EXPORT foundation_${name}-targets
    RUNTIME COMPONENT foundation_runtime
    LIBRARY COMPONENT foundation_runtime NAMELINK_COMPONENT foundation_development
    ARCHIVE COMPONENT foundation_development
    FILE_SET HEADERS COMPONENT foundation_development
    FILE_SET test_headers COMPONENT foundation_development)
  # A file for each library: who asks for one component needs the dependencies of no other.
  install(EXPORT foundation_${name}-targets NAMESPACE foundation:: DESTINATION ${config_dir}
          COMPONENT foundation_development)
  foundation_install_pkg_config(${name})
endforeach()

if(FOUNDATION_BUILD_TOOLS)
  install(TARGETS tav-timeline RUNTIME COMPONENT foundation_tools)
endif()

list(JOIN bundled_components " " bundled_component_list)
configure_package_config_file(cmake/foundation_tav-config.cmake.in foundation_tav-config.cmake
                              INSTALL_DESTINATION ${config_dir})
# Before 1.0 a minor version may change the interface; see docs/packaging.md.
write_basic_package_version_file(foundation_tav-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/foundation_tav-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/foundation_tav-config-version.cmake DESTINATION ${config_dir}
        COMPONENT foundation_development)
