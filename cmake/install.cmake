# Install rules: the library, its headers, a CMake package (zem::zem), zem.pc
# and the schema of the configuration format. Each file belongs to one of the
# components that the Debian packages are made of (cmake/package.cmake):
# runtime (the versioned library), dev (what building against it needs) and
# tools (the zem program, installed from tools/).
include(CMakePackageConfigHelpers)

install(TARGETS zem EXPORT zemTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zem DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES ${ZEM_GENERATED_INCLUDE}/zem/version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zem COMPONENT dev)
install(EXPORT zemTargets NAMESPACE zem:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem COMPONENT dev)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/zemConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zemConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zemConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zemConfig.cmake ${PROJECT_BINARY_DIR}/zemConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem COMPONENT dev)

# zem.pc names its prefix relative to its own folder (pkg-config's ${pcfiledir}).
file(RELATIVE_PATH ZEM_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" ZEM_PC_TO_PREFIX "${ZEM_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zem.pc.in ${PROJECT_BINARY_DIR}/zem.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zem.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(FILES ${PROJECT_SOURCE_DIR}/docs/zem.xsd DESTINATION ${CMAKE_INSTALL_DATADIR}/zem COMPONENT dev)

# The documentation and the example sources go with the development files,
# in the folder of the package that holds them. The examples build there on
# their own against the installed library (examples/CMakeLists.txt).
set(ZEM_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/libzem-dev CACHE PATH "Where the documentation and examples are installed")
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${ZEM_DOC_DIR} COMPONENT dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${ZEM_DOC_DIR}/docs COMPONENT dev
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${ZEM_DOC_DIR}/examples COMPONENT dev
  PATTERN "check_demo.cmake" EXCLUDE)
