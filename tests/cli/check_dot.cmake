# Checks that a file is a DOT graph that Graphviz accepts. Where Graphviz
# isn't installed it says so, and the test's SKIP_REGULAR_EXPRESSION marks it
# skipped.
find_program(DOT_PROGRAM dot)
if(NOT DOT_PROGRAM)
  message("Graphviz 'dot' not found: skipped")
  return()
endif()
execute_process(COMMAND ${DOT_PROGRAM} -Tsvg ${GRAPH}
  RESULT_VARIABLE status OUTPUT_VARIABLE svg ERROR_VARIABLE err)
if(NOT status EQUAL 0 OR NOT err STREQUAL "" OR NOT svg MATCHES "<svg")
  message(FATAL_ERROR "dot refused ${GRAPH} (status ${status}):\n${err}")
endif()
