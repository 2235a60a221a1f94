# What the build takes from the machine. Each is found by name or ends the configuration with a way out.

# zn_require(VARIABLE WHAT): VARIABLE is what a find_... command has left
function(zn_require VARIABLE WHAT)
  if(NOT ${VARIABLE})
    message(FATAL_ERROR "${WHAT}: not found. On Debian 12 run tools/setup; elsewhere install it, and where it lies "
                        "in a place of its own, name that: cmake -D${VARIABLE}=...")
  endif()
endfunction()

# zn_add_header_library(NAME HEADER): a library of headers alone as the target NAME
function(zn_add_header_library NAME HEADER)
  find_path(ZN_${NAME}_INCLUDE ${HEADER} PATHS /usr/local/include /usr/include NO_CMAKE_FIND_ROOT_PATH)
  zn_require(ZN_${NAME}_INCLUDE "The header ${HEADER}")
  # Such a folder holds headers of the build machine, too, which must not reach a cross compiler: a link shows it this
  # library alone.
  set(folder ${PROJECT_BINARY_DIR}/headers/${NAME})
  string(REGEX REPLACE "/.*" "" entry ${HEADER})
  file(MAKE_DIRECTORY ${folder})
  file(CREATE_LINK ${ZN_${NAME}_INCLUDE}/${entry} ${folder}/${entry} SYMBOLIC)
  add_library(${NAME} INTERFACE)
  target_include_directories(${NAME} SYSTEM INTERFACE ${folder})
endfunction()

set(ZLIB_USE_STATIC_LIBS ON)
find_package(ZLIB)
zn_require(ZLIB_LIBRARY "zlib for ${CMAKE_SYSTEM_NAME} (libz-mingw-w64-dev, zlib1g-dev)")

zn_add_header_library(CLI11 CLI/CLI.hpp)
zn_add_header_library(xxHash xxhash.h)

find_package(Python3 COMPONENTS Interpreter)
zn_require(Python3_EXECUTABLE "Python 3")

if(WIN32)
  # As cross tools the programs are of the build machine, and so are Wine's interface definitions and type libraries.
  find_program(ZN_WIDL NAMES ${ZN_TARGET}-widl widl)
  zn_require(ZN_WIDL "The IDL compiler widl (mingw-w64-tools)")
  find_program(ZN_WINDMC NAMES ${ZN_TARGET}-windmc windmc)
  zn_require(ZN_WINDMC "The message compiler windmc (binutils-mingw-w64-x86-64, binutils-mingw-w64-i686)")
  find_path(ZN_SYSTEM_IDL oaidl.idl PATHS /usr/local/include /usr/include /opt/wine-stable/include
            PATH_SUFFIXES wine/wine/windows wine/windows NO_CMAKE_FIND_ROOT_PATH)
  zn_require(ZN_SYSTEM_IDL "The system's interface definitions, with oaidl.idl (libwine-dev)")
  find_path(ZN_SYSTEM_TYPE_LIBRARIES stdole2.tlb
            PATHS /usr/lib/x86_64-linux-gnu /usr/lib64 /usr/lib /usr/local/lib /opt/wine-stable/lib64
            PATH_SUFFIXES wine/x86_64-windows wine NO_CMAKE_FIND_ROOT_PATH)
  zn_require(ZN_SYSTEM_TYPE_LIBRARIES "The system's type library stdole2.tlb (wine64)")
  zn_add_header_library(SimpleIni SimpleIni.h)
  zn_add_header_library(Json nlohmann/json.hpp)
elseif(NOT ZN_FUZZ)
  # Another implementation of the same cipher, to compare with.
  find_library(ZN_MCRYPT mcrypt)
  zn_require(ZN_MCRYPT "libmcrypt (libmcrypt-dev)")
endif()

if(BUILD_TESTING AND NOT ZN_FUZZ)
  find_path(ZN_GOOGLETEST googletest/include/gtest/gtest.h PATHS /usr/src /usr/local/src
            PATH_SUFFIXES googletest NO_CMAKE_FIND_ROOT_PATH)
  zn_require(ZN_GOOGLETEST "The sources of GoogleTest (googletest)")
endif()
