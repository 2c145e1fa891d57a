# The generated man page is clean roff, and the generated bash completion
# offers the verbs, each verb's options, and an option's values where the
# usage line names them. Input: DOCS, the folder with zem.1 and zem.bash.
cmake_minimum_required(VERSION 3.25)

find_program(GROFF groff)
if(GROFF)
  execute_process(COMMAND ${GROFF} -man -ww -z ${DOCS}/zem.1 RESULT_VARIABLE rc ERROR_VARIABLE warnings)
  if(rc OR warnings)
    message(FATAL_ERROR "groff on zem.1:\n${warnings}")
  endif()
endif()

# "words typed|expected offers"
set(cases "zem ex|explain" "zem help l|list lint" "zem --v|--version" "zem check --n|--no-eager" "zem xml --r|--root"
          "zem xml --root |" "zem lint a.xml --|--help --load --allow --json" "zem graph --|--help --format"
          "zem graph --format |dot svg" "zem graph --format s|svg")
foreach(case ${cases})
  string(REPLACE "|" ";" case "${case}")
  list(GET case 0 words)
  list(GET case 1 expected)
  execute_process(COMMAND bash -c "source ${DOCS}/zem.bash
    COMP_WORDS=(${words}); [[ '${words}' == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((\${#COMP_WORDS[@]} - 1)); _zem; echo \"\${COMPREPLY[*]}\""
    RESULT_VARIABLE rc OUTPUT_VARIABLE offered OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(rc OR NOT offered STREQUAL expected)
    message(FATAL_ERROR "completing '${words}' offers '${offered}', expected '${expected}'")
  endif()
endforeach()
