# Settings and helpers for the Windows builds.
enable_language(RC)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(ZN_GENERATED_DIR ${CMAKE_BINARY_DIR}/include)

include(${CMAKE_CURRENT_LIST_DIR}/Idl.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Program.cmake)
