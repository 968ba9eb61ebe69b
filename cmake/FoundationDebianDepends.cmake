# Read by CPack before it makes packages: asks Debian's tool which packages the libraries depend on.
file(GLOB libraries ${CPACK_FOUNDATION_BUILD}/lib/libfoundation_*.so.*.*.*)
file(WRITE ${CPACK_FOUNDATION_BUILD}/debian/control "")  # the tool insists on one
execute_process(
  COMMAND dpkg-shlibdeps -O --ignore-missing-info -l${CPACK_FOUNDATION_BUILD}/lib ${libraries}
  WORKING_DIRECTORY ${CPACK_FOUNDATION_BUILD} OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET
  COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "shlibs:Depends=" "" CPACK_DEBIAN_FOUNDATION_RUNTIME_PACKAGE_DEPENDS "${depends}")
