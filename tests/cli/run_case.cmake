# Runs the zem tool and checks what it did. Called by CTest as
#   cmake -DTOOL=... -DWORKDIR=... -DARGS=a|b|c -DEXIT=n [-DEXPECTED=file] [-DMATCH=regex]
#         [-DSTDIN=file] [-DOUTPUT=file] [-DFIXTURES=dir] [-DEACH=w1|w2] [-DEMULATOR=...] -P run_case.cmake
# EXPECTED is compared with the whole standard output, after the fixture
# folder is written <fixtures> and generated bean ids <UUID>; MATCH must be
# found in standard output and standard error together; OUTPUT keeps the
# standard output for a later step. With EACH the tool runs once per word,
# with '@' in ARGS and MATCH replaced by the word. EMULATOR runs a tool of a
# cross build; the line ends of a Windows console become '\n'.
set(input_option)
if(STDIN)
  set(input_option INPUT_FILE ${WORKDIR}/${STDIN})
endif()
set(words "@")
if(EACH)
  string(REPLACE "|" ";" words "${EACH}")
endif()
set(hex "[0-9A-Fa-f]")
set(hex4 "${hex}${hex}${hex}${hex}")
foreach(word ${words})
  string(REPLACE "@" "${word}" run_args "${ARGS}")
  string(REPLACE "|" ";" args "${run_args}")
  string(REPLACE "@" "${word}" match "${MATCH}")
  execute_process(COMMAND ${EMULATOR} ${TOOL} ${args} WORKING_DIRECTORY ${WORKDIR} ${input_option}
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(REPLACE "\r\n" "\n" out "${out}")
  string(REPLACE "\r\n" "\n" err "${err}")
  if(OUTPUT)
    file(WRITE ${OUTPUT} "${out}")
  endif()
  if(FIXTURES)
    string(REPLACE "${FIXTURES}" "<fixtures>" out "${out}")
    string(REPLACE "${FIXTURES}" "<fixtures>" err "${err}")
    # The expected outputs name the class libraries as Linux does.
    string(REGEX REPLACE "(<fixtures>/[A-Za-z_]+)\\.dll" "\\1.so" out "${out}")
    string(REGEX REPLACE "(<fixtures>/[A-Za-z_]+)\\.dll" "\\1.so" err "${err}")
  endif()
  string(REGEX REPLACE "${hex4}${hex4}-${hex4}-${hex4}-${hex4}-${hex4}${hex4}${hex4}" "<UUID>" out "${out}")

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
  if(DEFINED MATCH AND NOT "${out}${err}" MATCHES "${match}")
    message("no match for: ${match}")
    set(failed TRUE)
  endif()
  if(failed)
    string(JOIN " " shown ${args})
    message("--- command: ${TOOL} ${shown}\n--- standard output:\n${out}--- standard error:\n${err}---")
    message(FATAL_ERROR "case failed")
  endif()
endforeach()
