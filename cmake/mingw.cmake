# Cross compilers for Windows; the toolchain files beside this one name the target.
set(CMAKE_SYSTEM_NAME Windows)

# Of the two variants that Debian has, the one with POSIX threads.
foreach(language_and_program C/gcc CXX/g++)
  string(REGEX MATCH "(.+)/(.+)" found ${language_and_program})
  set(language ${CMAKE_MATCH_1})
  set(program ${ZN_TARGET}-${CMAKE_MATCH_2})
  find_program(CMAKE_${language}_COMPILER NAMES ${program}-posix ${program})
  if(NOT CMAKE_${language}_COMPILER)
    message(FATAL_ERROR "The MinGW-w64 compiler ${program} is missing: on Debian 12 run tools/setup")
  endif()
endforeach()
find_program(CMAKE_RC_COMPILER NAMES ${ZN_TARGET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${ZN_TARGET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/wine-test)
