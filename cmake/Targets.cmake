# What the targets of the project have in common. A target takes it by linking; nothing is set for whole folders.

option(ZN_WARNINGS_AS_ERRORS "Warnings end the build" OFF)
option(ZN_SANITIZE "Build with address and undefined-behaviour sanitizers" OFF)
option(ZN_FUZZ "Build the fuzzers, which needs clang" OFF)

add_library(zn_sanitizers INTERFACE)
if(ZN_SANITIZE)
  target_compile_options(zn_sanitizers INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
    $<$<BOOL:${ZN_FUZZ}>:-fsanitize=fuzzer-no-link>)
  target_link_options(zn_sanitizers INTERFACE -fsanitize=address,undefined)
endif()

add_library(zn_settings INTERFACE)
target_link_libraries(zn_settings INTERFACE zn_sanitizers)
target_compile_features(zn_settings INTERFACE cxx_std_20)
target_include_directories(zn_settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zn_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ZN_WARNINGS_AS_ERRORS}>:-Werror>)
if(WIN32)
  # Windows 7 is the oldest system that the programs run on.
  target_compile_definitions(zn_settings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  # COM interfaces have no virtual destructors; objects are deleted by Release only.
  target_compile_options(zn_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-non-virtual-dtor>)
  # A function that writes beyond its buffers ends the process before its caller is reached.
  target_compile_options(zn_settings INTERFACE -fstack-protector-strong)
  target_link_libraries(zn_settings INTERFACE stack_guard)
  # Failures carry their place in the sources, named from the root: where the build ran is nobody's business.
  foreach(option macro debug)
    target_compile_options(zn_settings INTERFACE -f${option}-prefix-map=${PROJECT_SOURCE_DIR}/=
                                                 -f${option}-prefix-map=${PROJECT_BINARY_DIR}/=)
  endforeach()
  # Programs depend on Windows alone: the compiler's runtime is linked in.
  target_link_options(zn_settings INTERFACE -static -static-libgcc -static-libstdc++)
  # What Windows may take for granted: not before Windows 7, at any address, no code in data, no need of the
  # compatibility layer of remote desktops.
  target_link_options(zn_settings INTERFACE
    LINKER:--major-os-version=6,--minor-os-version=1,--major-subsystem-version=6,--minor-subsystem-version=1
    LINKER:--dynamicbase,--nxcompat $<$<EQUAL:${ZN_BITS},64>:LINKER:--high-entropy-va>
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:LINKER:--tsaware>)
  # The same sources make the same files.
  target_link_options(zn_settings INTERFACE LINKER:--no-insert-timestamp)
endif()

# zn_add_library(NAME source...): a part of the programs, with what users of its headers need
function(zn_add_library NAME)
  add_library(${NAME} STATIC ${ARGN})
  target_link_libraries(${NAME} PUBLIC zn_settings)
endfunction()

# zn_read_command_lines(source...): those that use CLI11. Its templates take twice the time to compile when optimized for
# speed, of which reading a command line needs none.
function(zn_read_command_lines)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O1)
endfunction()

# zn_share_precompiled_headers(TARGET...): those of com. In what comes from them this compiler takes copies of short
# literals for ones out of bounds.
function(zn_share_precompiled_headers)
  foreach(target ${ARGN})
    if(NOT target STREQUAL com)
      target_precompile_headers(${target} REUSE_FROM com)
    endif()
    target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overread)
  endforeach()
endfunction()
