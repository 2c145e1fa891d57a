# Debian packages by CPack, one per install component (cmake/install.cmake):
#   libzem0     the shared library libzem.so.N (N: the SONAME's major version)
#   libzem-dev  headers, the unversioned link, zem.pc, the CMake package, the
#               schema, the docs and the examples
#   zem-tools   bin/zem, its man page and bash completion
# `./build.sh package` configures a tree for /usr and runs cpack -G DEB there.
set(ZEM_PACKAGE_CONTACT "libzem developers <libzem@example.org>" CACHE STRING
  "Maintainer field of the Debian packages")

set(CPACK_PACKAGE_NAME zem)
set(CPACK_PACKAGE_VENDOR "libzem developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${ZEM_PACKAGE_CONTACT})
set(CPACK_STRIP_FILES ON)
# Each package's description below starts with its own summary line. CPack
# puts the package-wide summary in front of it unless that is its default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_COMPONENTS_ALL runtime dev tools)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# dpkg-shlibdeps works out the C library and C++ runtime versions that the
# binaries need; without it (no dpkg-dev) they are stated by hand.
find_program(ZEM_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(ZEM_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
  string(REGEX MATCH "^[0-9]+" compiler_major "${CMAKE_CXX_COMPILER_VERSION}")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6 (>= ${compiler_major})")
endif()
set(deb_version "${PROJECT_VERSION}-1")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzem${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# A shlibs file, so that packages built against this one depend on it, and
# the ldconfig trigger for the library cache.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "dependency-injection container for C++ (shared library)\n\
libzem reads an XML configuration, loads the class libraries it names and\n\
builds the object graph: named beans with constructor arguments and\n\
properties, factory methods, singletons, eager and lazy beans, and services\n\
found by interface.\n\
.\n\
This package holds the shared library.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzem-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libzem${PROJECT_VERSION_MAJOR} (= ${deb_version})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "zem-tools, pkgconf")
set(CPACK_DEBIAN_DEV_DESCRIPTION
  "dependency-injection container for C++ (development files)\n\
libzem reads an XML configuration, loads the class libraries it names and\n\
builds the object graph.\n\
.\n\
This package holds the headers, the link library, the pkg-config file\n\
zem.pc, the CMake package zem::zem, the XML Schema of the configuration\n\
format (/usr/share/zem/zem.xsd), and the documentation with example\n\
sources that build against the installed library\n\
(/usr/share/doc/libzem-dev).")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zem-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
# The tool carries the library inside, but the class libraries that it loads
# are linked against libzem.so.N: the loader must find the same version.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libzem${PROJECT_VERSION_MAJOR} (= ${deb_version})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "checks, shows and explains libzem configurations\n\
The zem command loads a configuration as a host would and reports what\n\
fails (zem check), lists and graphs its beans, explains why a bean is not\n\
made, and warns about what the readers would silently ignore (zem lint).")

# The loader's cache is refreshed by dpkg's ldconfig trigger once per run.
# CPack would also call ldconfig from scripts of its own; scripts of ours
# that do nothing stand in their place.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers
  ${PROJECT_SOURCE_DIR}/cmake/debian/postinst ${PROJECT_SOURCE_DIR}/cmake/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Debian wants in every package's doc folder the copyright file, the upstream
# changelog and a Debian changelog; a plain install leaves them out. The
# Debian changelog has one entry, for this version, dated by
# SOURCE_DATE_EPOCH when that is set, so that a rebuild gives the same bytes.
set(deb_docs ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP deb_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(MAKE_DIRECTORY ${deb_docs})
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${deb_docs}/changelog COPYONLY)
file(WRITE ${deb_docs}/changelog.Debian "zem (${deb_version}) unstable; urgency=medium

  * Packaged from the upstream release ${PROJECT_VERSION}; see changelog.gz.

 -- ${ZEM_PACKAGE_CONTACT}  ${deb_date}
")
foreach(doc changelog changelog.Debian)
  execute_process(COMMAND gzip -9nf ${deb_docs}/${doc} RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "gzip failed on ${deb_docs}/${doc}")
  endif()
endforeach()
foreach(component runtime dev tools)
  string(TOUPPER ${component} upper)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${deb_docs}/changelog.gz ${deb_docs}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
