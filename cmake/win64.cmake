# The toolchain file of the 64-bit Windows build.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ZN_TARGET x86_64-w64-mingw32)
set(ZN_ASSEMBLY_ARCHITECTURE amd64)
set(ZN_BITS 64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
