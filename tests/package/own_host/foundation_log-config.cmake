include(CMakeFindDependencyMacro)
find_dependency(Boost COMPONENTS log)
find_dependency(foundation_core)
include(${CMAKE_CURRENT_LIST_DIR}/foundation_log-targets.cmake)
