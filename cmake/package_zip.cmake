# The package for Windows users: one zip by CPack, laid out as an install is
#   bin/      libzem.dll and zem.exe
#   lib/      the import library, the CMake package (zem::zem) and zem.pc
#   include/  the headers
#   share/    zem/zem.xsd, the schema of the configuration format, and
#             doc/libzem-dev/ with the docs and the examples
#   LICENSE   the licence, at the top where a user looks for it
# `./build.sh windows` makes it in build-windows/packages/.
set(CPACK_PACKAGE_NAME zem)
set(CPACK_PACKAGE_VENDOR "libzem developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_SYSTEM_NAME win64)
set(CPACK_GENERATOR ZIP)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_STRIP_FILES ON)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION . COMPONENT runtime)

include(CPack)
