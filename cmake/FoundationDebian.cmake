# The Debian packages: CPack makes one of each install component. packaging/debian holds what they need besides.
# Their files go where Debian's own go if the build is configured for /usr, as the preset deb does.

set(soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(runtime_package libfoundation-tav${soversion})
set(development_package libfoundation-tav-dev)
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)

file(STRINGS ${debian}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^foundation-tav \\(${PROJECT_VERSION}\\) ")
  message(FATAL_ERROR "packaging/debian/changelog begins with '${newest}', and the version is ${PROJECT_VERSION}.")
endif()

# These belong to the packages alone: a plain installation leaves them out.
foreach(part IN ITEMS runtime development)
  set(doc share/doc/${${part}_package})
  install(FILES ${debian}/copyright DESTINATION ${doc} COMPONENT foundation_${part} EXCLUDE_FROM_ALL)
  install(
    CODE "execute_process(COMMAND gzip -9nc ${debian}/changelog
                          OUTPUT_FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${doc}/changelog.gz\"
                          COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT foundation_${part} EXCLUDE_FROM_ALL)
endforeach()

# What a program that links to a library depends on, for dpkg-shlibdeps.
set(shlibs "")
foreach(name IN LISTS bundled_components)
  string(APPEND shlibs "libfoundation_${name} ${soversion} ${runtime_package} (>= ${PROJECT_VERSION})\n")
endforeach()
file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs "${shlibs}")

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL foundation_runtime foundation_development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE foundation-tav)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "Foundation developers <foundation@tav.foundation.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FOUNDATION_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_FOUNDATION_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_FOUNDATION_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/shlibs ${debian}/triggers)
file(READ ${debian}/runtime.description CPACK_DEBIAN_FOUNDATION_RUNTIME_DESCRIPTION)

# The headers need the very Boost that the libraries were built with.
string(REGEX MATCH "^[0-9]+\\.[0-9]+" boost ${Boost_VERSION_STRING})
set(CPACK_DEBIAN_FOUNDATION_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}), libboost${boost}-dev, libboost-log${boost}-dev")
set(CPACK_DEBIAN_FOUNDATION_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_FOUNDATION_DEVELOPMENT_PACKAGE_SECTION libdevel)
file(READ ${debian}/development.description CPACK_DEBIAN_FOUNDATION_DEVELOPMENT_DESCRIPTION)

# CPack's own search for what the libraries depend on would come with maintainer scripts that call ldconfig; Debian's
# packages have a trigger for that.
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/FoundationDebianDepends.cmake)
set(CPACK_FOUNDATION_BUILD ${PROJECT_BINARY_DIR})
include(CPack)
