# What all targets of the project have in common: include paths, definitions, warnings.

option(ZN_WARNINGS_AS_ERRORS "Warnings end the build" OFF)

add_library(zn_settings INTERFACE)
target_compile_features(zn_settings INTERFACE cxx_std_20)
target_include_directories(zn_settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zn_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ZN_WARNINGS_AS_ERRORS}>:-Werror>)
if(WIN32)
  # Windows 7 is the oldest system that the programs run on.
  target_compile_definitions(zn_settings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  # COM interfaces have no virtual destructors; objects are deleted by Release only.
  target_compile_options(zn_settings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-non-virtual-dtor>)
  # Programs depend on Windows alone: the compiler's runtime is linked in.
  target_link_options(zn_settings INTERFACE -static -static-libgcc -static-libstdc++)
endif()

# zn_add_library(NAME source...): a part of the programs, with what users of its headers need
function(zn_add_library NAME)
  add_library(${NAME} STATIC ${ARGN})
  target_link_libraries(${NAME} PUBLIC zn_settings)
endfunction()
