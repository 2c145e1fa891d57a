# Builds and runs hosts against an installed libzem, as its users would: the
# README's ten-line host with pkg-config and with find_package, a host that
# catches the library's exceptions, and the installed examples on their own.
#   MODE=install  install the build tree, then move the prefix elsewhere
#   MODE=deb      make the Debian packages (or take those in DEB_DIR) and
#                 unpack them with dpkg-deb -x, as dpkg -i would lay them out
# Inputs: MODE, ZEM_BUILD_DIR or DEB_DIR, CONSUMER_DIR, README, CHECK_DEMO
# (examples/check_demo.cmake), WORK_DIR.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(rc)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed: ${command}\n${out}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

if(MODE STREQUAL "install")
  # Installed to one folder and used from another: nothing may remember the first.
  run(${CMAKE_COMMAND} --install ${ZEM_BUILD_DIR} --prefix ${WORK_DIR}/staged)
  file(RENAME ${WORK_DIR}/staged ${WORK_DIR}/moved)
  set(prefix ${WORK_DIR}/moved)
elseif(MODE STREQUAL "deb")
  if(NOT DEB_DIR)
    set(DEB_DIR ${WORK_DIR}/debs)
    run(cpack -G DEB --config ${ZEM_BUILD_DIR}/CPackConfig.cmake -B ${DEB_DIR})
  endif()
  set(packages libzem0 libzem-dev zem-tools)
  foreach(package ${packages})
    file(GLOB deb_${package} ${DEB_DIR}/${package}_*.deb)
    list(LENGTH deb_${package} count)
    if(NOT count EQUAL 1)
      message(FATAL_ERROR "expected one ${package}_*.deb in ${DEB_DIR}, found '${deb_${package}}'")
    endif()
    run(dpkg-deb -x ${deb_${package}} ${WORK_DIR}/root)
    run(dpkg-deb -f ${deb_${package}} Version Depends)
    set(fields_${package} "${out}")
  endforeach()
  string(REGEX MATCH "Version: ([^\n]+)" version "${fields_libzem0}")
  set(version "${CMAKE_MATCH_1}")
  # The development files and the tool go with the runtime of their own
  # version; the runtime with the C++ runtime it was built against.
  foreach(check "libzem0;libstdc\\+\\+6" "libzem-dev;libzem0 \\(= ${version}\\)" "zem-tools;libzem0 \\(= ${version}\\)")
    list(GET check 0 package)
    list(GET check 1 pattern)
    if(NOT fields_${package} MATCHES "Depends:[^\n]*${pattern}")
      message(FATAL_ERROR "${package}: no dependency matching '${pattern}' in\n${fields_${package}}")
    endif()
  endforeach()
  set(prefix ${WORK_DIR}/root/usr)
  foreach(file bin/zem share/man/man1/zem.1.gz share/bash-completion/completions/zem share/zem/zem.xsd
               include/zem/version.h share/doc/libzem-dev/docs/hosting.md
               share/doc/libzem0/copyright share/doc/libzem-dev/copyright share/doc/zem-tools/copyright
               share/doc/libzem0/changelog.Debian.gz share/doc/libzem-dev/changelog.Debian.gz
               share/doc/zem-tools/changelog.Debian.gz)
    if(NOT EXISTS ${prefix}/${file})
      message(FATAL_ERROR "the packages hold no ${file}")
    endif()
  endforeach()
else()
  message(FATAL_ERROR "MODE must be install or deb")
endif()

# The README's host, exactly as printed there.
file(READ ${README} readme)
string(REGEX MATCH "## A complete host in ten lines\n+```cpp\n(.*)" host "${readme}")
string(FIND "${CMAKE_MATCH_1}" "```" end)
string(SUBSTRING "${CMAKE_MATCH_1}" 0 ${end} host)
if(NOT host MATCHES "int main")
  message(FATAL_ERROR "no host found in ${README}")
endif()
file(WRITE ${WORK_DIR}/hello.cpp "${host}")
file(GLOB_RECURSE libraries ${prefix}/libzem.so.*)
list(GET libraries 0 library)
get_filename_component(libdir ${library} DIRECTORY)
set(ENV{LD_LIBRARY_PATH} ${libdir})

# pkg-config, with the README's command line.
find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs zem)
separate_arguments(flags UNIX_COMMAND "${out}")
run(c++ -std=c++20 ${WORK_DIR}/hello.cpp ${flags} -o ${WORK_DIR}/hello)
run(${WORK_DIR}/hello)
if(NOT out STREQUAL "Hello, world!\n")
  message(FATAL_ERROR "the pkg-config host said '${out}'")
endif()

# find_package(zem).
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix}
    -DHELLO_SOURCE=${WORK_DIR}/hello.cpp)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/hello)
if(NOT out STREQUAL "Hello, world!\n")
  message(FATAL_ERROR "the find_package host said '${out}'")
endif()
run(${WORK_DIR}/build/consumer)
if(NOT out MATCHES "consumer: ok")
  message(FATAL_ERROR "the consumer said '${out}'")
endif()

# The examples, from where the package puts them, as a project of their own.
file(GLOB examples LIST_DIRECTORIES true ${prefix}/share/doc/*/examples)
if(NOT examples)
  message(FATAL_ERROR "no examples under ${prefix}/share/doc")
endif()
run(${CMAKE_COMMAND} -S ${examples} -B ${WORK_DIR}/examples -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/examples -j2)
run(${CMAKE_COMMAND} -DDEMO=${WORK_DIR}/examples/demo -P ${CHECK_DEMO})
message(STATUS "hosts and examples built against ${prefix}: ok")
