# Interface definitions: headers, interface identifiers and type libraries are generated from them.

# zn_add_idl(NAME [imported NAME...])
function(zn_add_idl NAME)
  # Debian ships the system's own interface definitions with Wine, and with the type libraries they import.
  set(system_idl /usr/include/wine/wine/windows)
  set(system_tlb /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)
  list(TRANSFORM ARGN PREPEND ${ZN_GENERATED_DIR}/ OUTPUT_VARIABLE imports)
  list(TRANSFORM imports APPEND .tlb)
  set(out ${ZN_GENERATED_DIR}/${NAME})
  file(MAKE_DIRECTORY ${ZN_GENERATED_DIR})
  add_custom_command(
    OUTPUT ${out}.h ${out}_i.c ${out}.tlb
    COMMAND ${ZN_WIDL} -I ${system_idl} -I ${CMAKE_CURRENT_SOURCE_DIR} -L ${system_tlb} -L ${ZN_GENERATED_DIR}
            -h -H ${out}.h -u -U ${out}_i.c -t -T ${out}.tlb ${CMAKE_CURRENT_SOURCE_DIR}/${NAME}.idl
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${NAME}.idl ${imports}
    COMMENT "Generating ${NAME}.h and ${NAME}.tlb"
    VERBATIM)
  add_custom_target(${NAME}_idl DEPENDS ${out}.h ${out}_i.c ${out}.tlb)
endfunction()

# Writes the side-by-side assembly manifest of a DLL, with the classes of its type libraries.
# zn_write_assembly_manifest(DLL_NAME IDL...)
function(zn_write_assembly_manifest DLL)
  set(entries "")
  foreach(idl ${ARGN})
    set(file ${CMAKE_SOURCE_DIR}/contracts/${idl}.idl)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} text)
    string(REGEX MATCH "\\[uuid\\(([-0-9a-f]+)\\)[^]]*\\][ \n]*library" found "${text}")
    set(library_id ${CMAKE_MATCH_1})
    string(APPEND entries "    <typelib tlbid=\"{${library_id}}\" version=\"1.0\" helpdir=\"\"/>\n")
    string(REGEX MATCHALL "\\[uuid\\([-0-9a-f]+\\)[^]]*\\][ \n]*coclass [A-Za-z0-9]+" classes "${text}")
    foreach(class ${classes})
      string(REGEX MATCH "uuid\\(([-0-9a-f]+)\\).*coclass ([A-Za-z0-9]+)" found "${class}")
      string(APPEND entries "    <comClass clsid=\"{${CMAKE_MATCH_1}}\" progid=\"${idl}.${CMAKE_MATCH_2}\""
             " threadingModel=\"Apartment\" tlbid=\"{${library_id}}\"/>\n")
    endforeach()
  endforeach()
  set(ASSEMBLY ${DLL})
  set(ASSEMBLY_CLASSES "${entries}")
  configure_file(${CMAKE_SOURCE_DIR}/cmake/assembly.manifest.in ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${DLL}.manifest @ONLY)
endfunction()
