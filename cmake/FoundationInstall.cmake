# The package foundation_tav: libraries, public headers, and what find_package(foundation_tav) reads.

include(CMakePackageConfigHelpers)

set(installed_targets foundation_state foundation_tav)
if(FOUNDATION_HOST STREQUAL "bundled")
  list(APPEND installed_targets foundation_core foundation_log)
endif()

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/foundation_tav)
install(TARGETS ${installed_targets} EXPORT foundation_tav-targets FILE_SET HEADERS
        FILE_SET test_headers)
install(EXPORT foundation_tav-targets NAMESPACE foundation:: DESTINATION ${config_dir})
configure_package_config_file(cmake/foundation_tav-config.cmake.in foundation_tav-config.cmake
                              INSTALL_DESTINATION ${config_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(foundation_tav-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/foundation_tav-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/foundation_tav-config-version.cmake DESTINATION ${config_dir})
