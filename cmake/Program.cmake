# What DLLs and programs share: headers from Debian, version and manifest resources.

# Debian's header-only libraries lie in /usr/include, beside headers of the build machine that must not
# reach a cross compiler: links show the compiler these libraries alone.
function(zn_use_system_headers TARGET)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/system_headers)
  file(MAKE_DIRECTORY ${folder})
  foreach(name ${ARGN})
    if(NOT EXISTS /usr/include/${name})
      message(FATAL_ERROR "/usr/include/${name} is missing: run tools/setup")
    endif()
    file(CREATE_LINK /usr/include/${name} ${folder}/${name} SYMBOLIC)
  endforeach()
  target_include_directories(${TARGET} SYSTEM PRIVATE ${folder})
endfunction()

# zn_add_version(TARGET DESCRIPTION)
function(zn_add_version TARGET DESCRIPTION)
  set(NAME ${TARGET})
  get_target_property(type ${TARGET} TYPE)
  set(SUFFIX .exe)
  set(FILE_TYPE VFT_APP)
  if(NOT type STREQUAL EXECUTABLE)
    set(SUFFIX .dll)
    set(FILE_TYPE VFT_DLL)
  endif()
  configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_version.rc @ONLY)
  target_sources(${TARGET} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_version.rc)
endfunction()

# Embeds a manifest as resource NUMBER. Number 1 is in force while the program runs; a program that names
# ASSEMBLIES there creates their classes without registration, and does not start without them. Under another
# number the program activates the manifest itself.
# zn_add_program_manifest(TARGET NUMBER [ASSEMBLY...])
function(zn_add_program_manifest TARGET NUMBER)
  set(PROGRAM ${TARGET})
  set(PROGRAM_ASSEMBLIES "")
  foreach(assembly ${ARGN})
    string(APPEND PROGRAM_ASSEMBLIES "  <dependency>\n    <dependentAssembly>\n"
           "      <assemblyIdentity type=\"win32\" name=\"${assembly}\" version=\"${PROJECT_VERSION}.0\""
           " processorArchitecture=\"${ZN_ASSEMBLY_ARCHITECTURE}\"/>\n"
           "    </dependentAssembly>\n  </dependency>\n")
  endforeach()
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_${NUMBER}.manifest)
  set(rc ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_manifest_${NUMBER}.rc)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/program.manifest.in ${manifest} @ONLY)
  file(WRITE ${rc} "#include <winuser.h>\n${NUMBER} RT_MANIFEST \"${manifest}\"\n")
  target_sources(${TARGET} PRIVATE ${rc})
  set_source_files_properties(${rc} PROPERTIES OBJECT_DEPENDS ${manifest})
endfunction()

# A DLL that serves COM classes: com's entry points, its type libraries, its manifest.
# zn_add_com_module(TARGET DESCRIPTION IDL IDL... SOURCES source...)
function(zn_add_com_module TARGET DESCRIPTION)
  cmake_parse_arguments(PARSE_ARGV 2 MODULE "" "" "IDL;SOURCES")
  set(resources "")
  set(libraries "")
  set(number 0)
  foreach(idl ${MODULE_IDL})
    math(EXPR number "${number} + 1")
    string(APPEND resources "${number} TYPELIB \"${ZN_GENERATED_DIR}/${idl}.tlb\"\n")
    list(APPEND libraries ${ZN_GENERATED_DIR}/${idl}.tlb)
  endforeach()
  set(rc ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_typelib.rc)
  file(WRITE ${rc} "${resources}")
  set_source_files_properties(${rc} PROPERTIES OBJECT_DEPENDS "${libraries}")
  add_library(${TARGET} SHARED ${MODULE_SOURCES} ${PROJECT_SOURCE_DIR}/com/server/Exports.cpp
              ${PROJECT_SOURCE_DIR}/com/server/Exports.def ${rc})
  set_target_properties(${TARGET} PROPERTIES PREFIX "")
  target_link_options(${TARGET} PRIVATE -Wl,--enable-stdcall-fixup)
  target_link_libraries(${TARGET} PRIVATE com_server contracts)
  zn_add_version(${TARGET} ${DESCRIPTION})
  zn_write_assembly_manifest(${TARGET} ${MODULE_IDL})
endfunction()
