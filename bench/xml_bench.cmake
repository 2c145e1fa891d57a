# Peers of the XML benchmark: each DOM parser that is installed is compared
# with ours; a missing one is skipped with a note. The malloc calls of the
# benchmark program itself are routed through a counter for the peak memory
# of a tree (GNU ld and glibc only).
find_package(pugixml CONFIG QUIET)
if(TARGET pugixml::pugixml)
  target_link_libraries(bench_xml PRIVATE pugixml::pugixml)
  target_compile_definitions(bench_xml PRIVATE ZEM_BENCH_PUGIXML)
elseif(TARGET pugixml)
  target_link_libraries(bench_xml PRIVATE pugixml)
  target_compile_definitions(bench_xml PRIVATE ZEM_BENCH_PUGIXML)
else()
  message(STATUS "bench_xml: pugixml not found, skipped")
endif()

find_package(tinyxml2 CONFIG QUIET)
if(TARGET tinyxml2::tinyxml2)
  target_link_libraries(bench_xml PRIVATE tinyxml2::tinyxml2)
  target_compile_definitions(bench_xml PRIVATE ZEM_BENCH_TINYXML2)
else()
  message(STATUS "bench_xml: tinyxml2 not found, skipped")
endif()

find_package(LibXml2 QUIET)
if(TARGET LibXml2::LibXml2)
  target_link_libraries(bench_xml PRIVATE LibXml2::LibXml2)
  target_compile_definitions(bench_xml PRIVATE ZEM_BENCH_LIBXML2)
else()
  message(STATUS "bench_xml: libxml2 not found, skipped")
endif()

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  target_link_options(bench_xml PRIVATE -Wl,--wrap=malloc,--wrap=realloc,--wrap=free)
  target_compile_definitions(bench_xml PRIVATE ZEM_BENCH_COUNT_MALLOC)
endif()
