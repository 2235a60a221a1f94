# Called by CPack before it packs what it has put together.
get_filename_component(folder ${CMAKE_CURRENT_LIST_FILE} DIRECTORY)
execute_process(COMMAND ${folder}/prepare ${CPACK_TEMPORARY_DIRECTORY} COMMAND_ERROR_IS_FATAL ANY)
