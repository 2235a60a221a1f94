# Settings and helpers for the Windows builds.
enable_language(RC)

# The product's files, and nothing else.
set(ZN_BIN_DIR ${PROJECT_BINARY_DIR}/bin)
# The program that asks a computer what the product expects of it.
set(ZN_PROBE_DIR ${PROJECT_BINARY_DIR}/probe/bin)
# Their symbols, which debuggers and tools that read stack traces need.
set(ZN_SYMBOLS_DIR ${PROJECT_BINARY_DIR}/symbols)
# What is said of them to who packs them: registration, and what was linked in.
set(ZN_RELEASE_DIR ${PROJECT_BINARY_DIR}/release)
# The version of the side-by-side assemblies, which hosts without registration have in their manifests. Windows takes a
# private assembly of no other version, so that each of them would fail to start beside a new one: this is not the
# release, and changes only when what a host was made for does not work any more.
set(ZN_ASSEMBLY_VERSION 1.0.0.0)
# What widl makes of the interface definitions, for hosts, too.
set(ZN_GENERATED_DIR ${PROJECT_BINARY_DIR}/include)

include(${CMAKE_CURRENT_LIST_DIR}/Idl.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Program.cmake)
