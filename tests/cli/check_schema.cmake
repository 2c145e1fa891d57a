# The schema against the documents of this tree: every document of the demo,
# the docs and the test data that is meant to load validates with
# `xmllint --schema`; copies of the demo with one name misspelt don't, and
# `zem lint` has a finding on each of them as well.
# Inputs: SCHEMA, SOURCE_DIR, TOOL (zem), WORK_DIR.
cmake_minimum_required(VERSION 3.25)

find_program(XMLLINT xmllint)
if(NOT XMLLINT)
  message(FATAL_ERROR "xmllint not found (Debian: libxml2-utils; ./build.sh installs it)")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# Build-time placeholders (@SHOP_LIBRARY@) stand for library paths.
function(copy_document source target)
  file(READ ${source} text)
  string(REGEX REPLACE "@[A-Z_]+@" "libplaceholder.so" text "${text}")
  file(WRITE ${target} "${text}")
endfunction()

set(valid)
foreach(pattern examples/config/*.xml.in tests/data/config/*.xml tests/data/config/rich/*.xml
                tests/data/config/rich/*/*.xml tests/data/cli/good.xml.in tests/data/cli/eager.xml.in
                tests/data/cli/explain.xml.in tests/data/cli/graph.xml tests/data/cli/common/*.xml.in)
  file(GLOB found RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${pattern})
  foreach(document ${found})
    string(REGEX REPLACE "[/.]" "_" name ${document})
    copy_document(${SOURCE_DIR}/${document} ${WORK_DIR}/${name}.xml)
    list(APPEND valid ${WORK_DIR}/${name}.xml)
  endforeach()
endforeach()

# Whole documents in the docs: ```xml blocks and C++ raw strings that hold a zem element.
foreach(page README.md docs/configuration.md docs/hosting.md docs/class-libraries.md examples/README.md)
  file(READ ${SOURCE_DIR}/${page} text)
  string(REGEX MATCHALL "```xml\n<zem[^`]*</zem>\n```|R\"\\(<zem[^)]*</zem>\\)\"" blocks "${text}")
  set(count 0)
  foreach(block ${blocks})
    string(REGEX REPLACE "^```xml\n|^R\"\\(|\n```$|\\)\"$" "" block "${block}")
    string(REGEX REPLACE "[/.]" "_" name ${page})
    math(EXPR count "${count} + 1")
    file(WRITE ${WORK_DIR}/${name}_${count}.xml "${block}\n")
    list(APPEND valid ${WORK_DIR}/${name}_${count}.xml)
  endforeach()
endforeach()

list(LENGTH valid count)
if(count LESS 12)
  message(FATAL_ERROR "only ${count} documents found to validate")
endif()
execute_process(COMMAND ${XMLLINT} --noout --schema ${SCHEMA} ${valid} RESULT_VARIABLE rc ERROR_VARIABLE out)
if(rc)
  message(FATAL_ERROR "documents meant to be valid don't validate:\n${out}")
endif()

# One misspelling each, in a copy of the demo's main document.
copy_document(${SOURCE_DIR}/examples/config/shop.xml.in ${WORK_DIR}/misspelt/shop.xml)
copy_document(${SOURCE_DIR}/examples/config/pricing.xml.in ${WORK_DIR}/misspelt/pricing.xml)
file(READ ${WORK_DIR}/misspelt/shop.xml shop)
# The demo's placeholder library can't load, so lint always says so; each
# misspelling must add to what it says.
execute_process(COMMAND ${EMULATOR} ${TOOL} lint ${WORK_DIR}/misspelt/shop.xml OUTPUT_VARIABLE baseline)
# A misspelt element changes its opening and closing tags alike. A wrong
# truth value or type name is the schema's alone: lint leaves values to the load.
set(misspellings
  "class=\"shop::Catalog\"|clas=\"shop::Catalog\""
  "properties>|propertys>"
  "lazy=\"false\"|lazy=\"False\"|schema only"
  "<value type=\"int\">|<value type=\"integer\">|schema only"
  "constructor-arg>|constructor-args>"
  "init-method=|init_method="
  "argument>|arg>")
foreach(change ${misspellings})
  string(REPLACE "|" ";" change "${change}")
  list(GET change 0 from)
  list(GET change 1 to)
  string(FIND "${shop}" "${from}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "the demo no longer holds '${from}'")
  endif()
  string(REPLACE "${from}" "${to}" text "${shop}")
  file(WRITE ${WORK_DIR}/misspelt/shop.xml "${text}")
  execute_process(COMMAND ${XMLLINT} --noout --schema ${SCHEMA} ${WORK_DIR}/misspelt/shop.xml
    RESULT_VARIABLE rc OUTPUT_QUIET ERROR_QUIET)
  if(NOT rc)
    message(FATAL_ERROR "the schema accepts the demo with '${from}' written '${to}'")
  endif()
  list(LENGTH change parts)
  if(parts GREATER 2)
    continue()
  endif()
  execute_process(COMMAND ${EMULATOR} ${TOOL} lint ${WORK_DIR}/misspelt/shop.xml RESULT_VARIABLE rc OUTPUT_VARIABLE out)
  if(NOT rc EQUAL 1 OR out STREQUAL baseline)
    message(FATAL_ERROR "zem lint has nothing on the demo with '${from}' written '${to}':\n${out}")
  endif()
endforeach()
