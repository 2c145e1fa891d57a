# Runs the zem tool once and checks what it did. Called by CTest as
#   cmake -DTOOL=... -DWORKDIR=... -DARGS=a|b|c -DEXIT=n [-DEXPECTED=file]
#         [-DMATCH=regex] [-DSTDIN=file] [-DOUTPUT=file] [-DFIXTURES=dir] -P run_case.cmake
# EXPECTED is compared with the whole standard output, after the fixture
# folder is written <fixtures> and generated bean ids <UUID>; MATCH must be
# found in standard output and standard error together; OUTPUT keeps the
# standard output for a later step.
string(REPLACE "|" ";" args "${ARGS}")
set(input_option)
if(STDIN)
  set(input_option INPUT_FILE ${STDIN})
endif()
execute_process(COMMAND ${TOOL} ${args}
  WORKING_DIRECTORY ${WORKDIR}
  ${input_option}
  RESULT_VARIABLE status
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err)

if(OUTPUT)
  file(WRITE ${OUTPUT} "${out}")
endif()
if(FIXTURES)
  string(REPLACE "${FIXTURES}" "<fixtures>" out "${out}")
  string(REPLACE "${FIXTURES}" "<fixtures>" err "${err}")
endif()
set(hex "[0-9A-Fa-f]")
string(REGEX REPLACE "${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}-${hex}${hex}${hex}${hex}-${hex}${hex}${hex}${hex}-${hex}${hex}${hex}${hex}-${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}${hex}"
  "<UUID>" out "${out}")

set(failed FALSE)
if(NOT "${status}" STREQUAL "${EXIT}")
  message("exit status ${status}, expected ${EXIT}")
  set(failed TRUE)
endif()
if(EXPECTED)
  file(READ ${EXPECTED} expected)
  if(NOT out STREQUAL expected)
    message("standard output differs from ${EXPECTED}")
    set(failed TRUE)
  endif()
endif()
if(DEFINED MATCH AND NOT "${out}${err}" MATCHES "${MATCH}")
  message("no match for: ${MATCH}")
  set(failed TRUE)
endif()
if(failed)
  string(JOIN " " shown ${args})
  message("--- command: ${TOOL} ${shown}\n--- standard output:\n${out}--- standard error:\n${err}---")
  message(FATAL_ERROR "case failed")
endif()
