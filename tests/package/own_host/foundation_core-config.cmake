include(${CMAKE_CURRENT_LIST_DIR}/foundation_core-targets.cmake)
