# Builds and runs hosts against the Windows zip, as its users would: the zip
# is made by CPack, unpacked, checked for its layout, and the README's host
# and a host that catches the library's exceptions are built with
# find_package(zem) under the cross toolchain, then run with the DLL beside them.
# Inputs: ZEM_BUILD_DIR, CONSUMER_DIR, README, WORK_DIR, TOOLCHAIN, EMULATOR.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(rc)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed: ${command}\n${out}")
  endif()
  string(REPLACE "\r\n" "\n" out "${out}")
  set(out "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/unpacked)
run(cpack -G ZIP --config ${ZEM_BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/zip)
file(GLOB zip ${WORK_DIR}/zip/zem-*-win64.zip)
list(LENGTH zip count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one zem-*-win64.zip, found '${zip}'")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E tar xf ${zip} WORKING_DIRECTORY ${WORK_DIR}/unpacked)
file(GLOB prefix LIST_DIRECTORIES true ${WORK_DIR}/unpacked/zem-*)
foreach(file bin/libzem.dll bin/zem.exe lib/libzem.dll.a lib/cmake/zem/zemConfig.cmake lib/pkgconfig/zem.pc
             include/zem/zem.h include/zem/export.h share/zem/zem.xsd)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "the zip holds no ${file}")
  endif()
endforeach()

# The README's host, exactly as printed there.
file(READ ${README} readme)
string(REGEX MATCH "## A complete host in ten lines\n+```cpp\n(.*)" host "${readme}")
string(FIND "${CMAKE_MATCH_1}" "```" end)
string(SUBSTRING "${CMAKE_MATCH_1}" 0 ${end} host)
file(WRITE ${WORK_DIR}/hello.cpp "${host}")

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DCMAKE_PREFIX_PATH=${prefix} -DHELLO_SOURCE=${WORK_DIR}/hello.cpp)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
# A Windows program finds its DLLs in its own folder first.
file(COPY ${prefix}/bin/libzem.dll DESTINATION ${WORK_DIR}/build)
run(${EMULATOR} ${WORK_DIR}/build/hello.exe)
if(NOT out STREQUAL "Hello, world!\n")
  message(FATAL_ERROR "the find_package host said '${out}'")
endif()
run(${EMULATOR} ${WORK_DIR}/build/consumer.exe)
if(NOT out MATCHES "consumer: ok")
  message(FATAL_ERROR "the consumer said '${out}'")
endif()
message(STATUS "hosts built against ${zip}: ok")
