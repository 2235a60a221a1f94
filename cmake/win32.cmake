# The toolchain file of the 32-bit Windows build.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(ZN_TARGET i686-w64-mingw32)
set(ZN_ASSEMBLY_ARCHITECTURE x86)
set(ZN_BITS 32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
