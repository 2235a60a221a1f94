# What DLLs and programs share: version and manifest resources, and what makes them a part of the product.

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
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_version.rc @ONLY)
  target_sources(${TARGET} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_version.rc)
endfunction()

# zn_embed_manifest(TARGET NUMBER FILE): FILE becomes the manifest with that number among the resources.
function(zn_embed_manifest TARGET NUMBER FILE)
  set(rc ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_manifest_${NUMBER}.rc)
  file(WRITE ${rc} "#include <winuser.h>\n${NUMBER} RT_MANIFEST \"${FILE}\"\n")
  target_sources(${TARGET} PRIVATE ${rc})
  set_source_files_properties(${rc} PROPERTIES OBJECT_DEPENDS ${FILE})
endfunction()

# Embeds a program's manifest as resource NUMBER. Number 1 is in force while the program runs; a program that names
# ASSEMBLIES there creates their classes without registration, and does not start without them. Under another
# number the program activates the manifest itself.
# zn_add_program_manifest(TARGET NUMBER [ASSEMBLY...])
function(zn_add_program_manifest TARGET NUMBER)
  set(PROGRAM ${TARGET})
  set(PROGRAM_ASSEMBLIES "")
  foreach(assembly ${ARGN})
    string(APPEND PROGRAM_ASSEMBLIES "  <dependency>\n    <dependentAssembly>\n"
           "      <assemblyIdentity type=\"win32\" name=\"${assembly}\" version=\"${ZN_ASSEMBLY_VERSION}\""
           " processorArchitecture=\"${ZN_ASSEMBLY_ARCHITECTURE}\"/>\n"
           "    </dependentAssembly>\n  </dependency>\n")
  endforeach()
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}_${NUMBER}.manifest)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/program.manifest.in ${manifest} @ONLY)
  zn_embed_manifest(${TARGET} ${NUMBER} ${manifest})
endfunction()

# Makes a program or DLL a file of the product.
# zn_add_to_product(TARGET DESCRIPTION)
function(zn_add_to_product TARGET DESCRIPTION)
  zn_add_to_release(${TARGET} ${DESCRIPTION} product ${ZN_BIN_DIR})
endfunction()

# Makes a program or DLL a file of a component: its place, its version, its symbols, its link map, its installation.
# zn_add_to_release(TARGET DESCRIPTION COMPONENT FOLDER)
function(zn_add_to_release TARGET DESCRIPTION COMPONENT FOLDER)
  zn_add_version(${TARGET} ${DESCRIPTION})
  get_target_property(type ${TARGET} TYPE)
  if(type STREQUAL EXECUTABLE)
    set(file ${TARGET}${CMAKE_EXECUTABLE_SUFFIX})
  else()
    set(file ${TARGET}${CMAKE_SHARED_LIBRARY_SUFFIX})
  endif()
  set_target_properties(${TARGET} PROPERTIES PREFIX "" RUNTIME_OUTPUT_DIRECTORY ${FOLDER})
  # What is tested is what is shipped: the symbols leave the file as soon as it is linked. objcopy would put the time into
  # the header again.
  set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
  set(symbols ${ZN_SYMBOLS_DIR}/${file}.debug)
  file(MAKE_DIRECTORY ${ZN_SYMBOLS_DIR} ${ZN_RELEASE_DIR})
  target_link_options(${TARGET} PRIVATE LINKER:-Map=${ZN_RELEASE_DIR}/${file}.map)
  add_custom_command(
    TARGET ${TARGET} POST_BUILD
    COMMAND ${objcopy} --only-keep-debug $<TARGET_FILE:${TARGET}> ${symbols}
    COMMAND ${objcopy} --strip-all --add-gnu-debuglink=${symbols} $<TARGET_FILE:${TARGET}>
    BYPRODUCTS ${symbols}
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY ZN_RELEASE_TARGETS ${TARGET})
  install(TARGETS ${TARGET} RUNTIME DESTINATION bin COMPONENT ${COMPONENT})
  install(FILES ${symbols} DESTINATION bin COMPONENT symbols)
endfunction()

# A DLL that serves COM classes: com's entry points, its type libraries, its class table and manifest.
# zn_add_com_module(TARGET DESCRIPTION IDL idl... SOURCES source... [EVENT_SOURCES name...])
function(zn_add_com_module TARGET DESCRIPTION)
  cmake_parse_arguments(PARSE_ARGV 2 MODULE "" "" "IDL;SOURCES;EVENT_SOURCES")
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
  add_library(${TARGET} SHARED ${MODULE_SOURCES} ${rc})
  target_link_libraries(${TARGET} PRIVATE com_exports contracts)
  zn_add_classes(${TARGET} IDL ${MODULE_IDL} EVENT_SOURCES ${MODULE_EVENT_SOURCES})
  zn_add_to_product(${TARGET} ${DESCRIPTION})
endfunction()
