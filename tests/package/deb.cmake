# The Debian packages: lintian has nothing to say, they install into an empty root, and programs are built, linked and run
# with what is in that root alone.
include(${CMAKE_CURRENT_LIST_DIR}/support.cmake)
set(ENV{LC_ALL} C.UTF-8)
set(ENV{PATH} "$ENV{PATH}:/usr/sbin:/sbin")  # where dpkg looks for ldconfig, which not every user has there
file(REMOVE_RECURSE ${WORK})

run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build --preset deb)
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CPACK} --config ${WORK}/build/CPackConfig.cmake -B ${WORK}/packages)
file(GLOB packages RELATIVE ${WORK}/packages ${WORK}/packages/*.deb)
execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE architecture OUTPUT_STRIP_TRAILING_WHITESPACE)
set(development libfoundation-tav-dev_${VERSION}_${architecture}.deb)
set(runtime libfoundation-tav${SOVERSION}_${VERSION}_${architecture}.deb)
expect_text("The packages are" "${packages}" "${development};${runtime}")
list(TRANSFORM packages PREPEND ${WORK}/packages/)

execute_process(COMMAND lintian --allow-root ${packages} OUTPUT_VARIABLE tags ERROR_VARIABLE tags)
expect_text("lintian says" "${tags}" "")

# The machine's own packages are known in the root, as far as ours depend on them, so that dpkg can check that.
set(dependencies "")
foreach(package IN LISTS packages)
  execute_process(COMMAND dpkg-deb --field ${package} Depends OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(REGEX REPLACE " *\\([^)]*\\)" "" depends "${depends}")
  string(REPLACE ", " ";" depends "${depends}")
  list(APPEND dependencies ${depends})
endforeach()
list(FILTER dependencies EXCLUDE REGEX "^libfoundation")
set(root ${WORK}/root)
file(MAKE_DIRECTORY ${root}/var/lib/dpkg/info ${root}/var/lib/dpkg/updates)
execute_process(COMMAND dpkg-query --status ${dependencies} OUTPUT_FILE ${root}/var/lib/dpkg/status
                COMMAND_ERROR_IS_FATAL ANY)
run(fakeroot dpkg --root=${root} --log=${WORK}/dpkg.log --install ${packages})

execute_process(COMMAND dpkg-architecture --query DEB_HOST_MULTIARCH OUTPUT_VARIABLE multiarch
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
consume(${CMAKE_CURRENT_LIST_DIR}/find_package ${WORK}/find_package -DCMAKE_PREFIX_PATH=${root}/usr)
consume_by_pkg_config(${root}/usr/lib/${multiarch}/pkgconfig ${WORK}/pkg_config)

set(expected "")
foreach(name IN ITEMS core log state tav)
  set(library libfoundation_${name}.so.${SOVERSION})
  list(APPEND expected "${library} => ${root}/usr/lib/${multiarch}/${library}")
endforeach()
foreach(program IN ITEMS find_package pkg_config)
  execute_process(COMMAND ldd ${WORK}/${program}/my_program OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "libfoundation_[^ ]* => [^ ]*" libraries "${text}")
  list(TRANSFORM libraries REPLACE "pkgconfig/../../../lib/${multiarch}/" "")
  list(SORT libraries)
  expect_text("${program} runs with" "${libraries}" "${expected}")
endforeach()
