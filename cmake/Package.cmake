# What an installation and the zip files of a release hold: the product, what is needed to develop hosts, symbols.
# (Programs and DLLs join the product in Program.cmake.)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION . COMPONENT product)
install(DIRECTORY docs examples DESTINATION . COMPONENT product)
install(DIRECTORY contracts/ ${ZN_GENERATED_DIR}/ DESTINATION include COMPONENT development
        FILES_MATCHING PATTERN "*.idl" PATTERN "*.h" PATTERN "*_i.c" PATTERN "*.tlb")

# The notices of those whose work is linked in.
set(licenses ${ZN_RELEASE_DIR}/third-party-licenses.txt)
get_property(release GLOBAL PROPERTY ZN_RELEASE_TARGETS)
add_custom_command(
  OUTPUT ${licenses}
  COMMAND ${PROJECT_SOURCE_DIR}/installer/third-party ${PROJECT_BINARY_DIR} --licenses ${licenses}
  DEPENDS ${release} installer/third-party installer/third-party.json
  COMMENT "Collecting the notices of what is linked in"
  VERBATIM)
add_custom_target(third_party_licenses ALL DEPENDS ${licenses})
install(FILES ${licenses} DESTINATION . COMPONENT product)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win${ZN_BITS})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_COMPONENTS_ALL product development symbols)
# A zip file for each component; unpacked in one place they join. Each unpacks without folders to dig through.
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_ARCHIVE_PRODUCT_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
set(CPACK_ARCHIVE_DEVELOPMENT_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-development)
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-symbols)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/installer/prepare.cmake)
include(CPack)
