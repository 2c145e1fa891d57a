# Install rules: the library, its headers, a CMake package (zem::zem) and zem.pc.
include(CMakePackageConfigHelpers)

install(TARGETS zem EXPORT zemTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zem DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zemTargets NAMESPACE zem:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/zemConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zemConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zemConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zemConfig.cmake ${PROJECT_BINARY_DIR}/zemConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zem)

configure_file(${PROJECT_SOURCE_DIR}/cmake/zem.pc.in ${PROJECT_BINARY_DIR}/zem.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zem.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
