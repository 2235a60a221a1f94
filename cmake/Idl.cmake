# Interface definitions: headers, interface identifiers, type libraries and class lists are made from them.

# zn_add_idl(NAME [imported NAME...])
function(zn_add_idl NAME)
  list(TRANSFORM ARGN PREPEND ${ZN_GENERATED_DIR}/ OUTPUT_VARIABLE imports)
  list(TRANSFORM imports APPEND .tlb)
  set(out ${ZN_GENERATED_DIR}/${NAME})
  file(MAKE_DIRECTORY ${ZN_GENERATED_DIR})
  add_custom_command(
    OUTPUT ${out}.h ${out}_i.c ${out}.tlb
    COMMAND ${ZN_WIDL} -I ${ZN_SYSTEM_IDL} -I ${CMAKE_CURRENT_SOURCE_DIR}
            -L ${ZN_SYSTEM_TYPE_LIBRARIES} -L ${ZN_GENERATED_DIR}
            -h -H ${out}.h -u -U ${out}_i.c -t -T ${out}.tlb ${NAME}.idl
    COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/cmake/undate.py ${out}.tlb
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${NAME}.idl ${imports} ${PROJECT_SOURCE_DIR}/cmake/undate.py
    # The headers name the file as it is given here.
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    COMMENT "Generating ${NAME}.h and ${NAME}.tlb"
    VERBATIM)
  add_custom_target(${NAME}_idl DEPENDS ${out}.h ${out}_i.c ${out}.tlb)
endfunction()

# The coclasses of a DLL's type libraries become its class table, <DLL>_classes.inc, its side-by-side manifest, and the
# list of its registration, which the installer reads. The manifest is a resource: of an assembly that is called like its
# DLL, Windows does not look for a manifest in a file.
# zn_add_classes(DLL IDL idl... [EVENT_SOURCES name...])
function(zn_add_classes DLL)
  cmake_parse_arguments(PARSE_ARGV 1 CLASSES "" "" "IDL;EVENT_SOURCES")
  set(script ${PROJECT_SOURCE_DIR}/cmake/classes.py)
  set(template ${PROJECT_SOURCE_DIR}/cmake/assembly.manifest.in)
  set(table ${CMAKE_CURRENT_BINARY_DIR}/classes/${DLL}_classes.inc)
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/classes/${DLL}.manifest)
  set(registration ${ZN_RELEASE_DIR}/${DLL}.registration.json)
  list(TRANSFORM CLASSES_IDL REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/contracts/\\1.idl" OUTPUT_VARIABLE idl)
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/classes ${ZN_RELEASE_DIR})
  add_custom_command(
    OUTPUT ${table} ${manifest} ${registration}
    COMMAND Python3::Interpreter ${script} --name ${DLL} --version ${ZN_ASSEMBLY_VERSION}
            --architecture ${ZN_ASSEMBLY_ARCHITECTURE} --table ${table} --template ${template}
            --manifest ${manifest} --registration ${registration} --event-source ${CLASSES_EVENT_SOURCES} -- ${idl}
    DEPENDS ${script} ${template} ${idl}
    COMMENT "Listing the classes of ${DLL}"
    VERBATIM)
  target_sources(${DLL} PRIVATE ${table})
  zn_embed_manifest(${DLL} 1 ${manifest})
  target_include_directories(${DLL} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/classes)
endfunction()
