# Settings and helpers for the Windows builds.
enable_language(RC)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(ZN_GENERATED_DIR ${CMAKE_BINARY_DIR}/include)

# Windows 7 is the oldest system that the programs run on.
add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
# The headers that widl writes and those of Debian's header-only libraries are not ours to clean.
include_directories(SYSTEM ${ZN_GENERATED_DIR})
# Programs depend on Windows alone: the compiler's runtime is linked in.
add_link_options(-static -static-libgcc -static-libstdc++)
# COM interfaces have no virtual destructors; objects are deleted by Release only.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-non-virtual-dtor>)

include(${CMAKE_CURRENT_LIST_DIR}/Idl.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Program.cmake)
