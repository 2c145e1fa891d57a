# Writes the man page and the bash completion of `zem` from the program's own
# --help texts: the list of commands from `zem --help`, and each command's
# usage and options from `zem COMMAND --help`. Run at build time after the
# tool is linked, so a command added to the tool appears in both.
# Inputs: TOOL, VERSION, MAN (zem.1), COMPLETION (the bash script).
cmake_minimum_required(VERSION 3.25)

function(help_of out)
  execute_process(COMMAND ${TOOL} ${ARGN} --help RESULT_VARIABLE rc OUTPUT_VARIABLE text)
  if(rc)
    message(FATAL_ERROR "${TOOL} ${ARGN} --help failed")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# Text as roff shows it without change: backslashes and dashes escaped, and no
# line that starts like a request.
function(roff out text)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

help_of(main)
string(REGEX MATCH "\ncommands:\n(.*)\n\n(.*)$" found "${main}")
if(NOT found)
  message(FATAL_ERROR "no command list in 'zem --help'")
endif()
string(REPLACE "\n" ";" command_lines "${CMAKE_MATCH_1}")
string(STRIP "${CMAKE_MATCH_2}" main_tail)

set(verbs)
set(commands_roff)
set(cases)
foreach(line ${command_lines})
  if(NOT line MATCHES "^  ([a-z][a-z-]*) +(.*)$")
    continue()
  endif()
  set(verb ${CMAKE_MATCH_1})
  set(summary "${CMAKE_MATCH_2}")
  list(APPEND verbs ${verb})
  help_of(text ${verb})
  # Options from the usage line: "[--name]" or "[--name VALUE]", perhaps
  # nested ("[--load [--allow DIR]...]"). A VALUE of alternatives (dot|svg) is
  # completed from them, one that names a file (OUT.json) from file names, DIR
  # from folders, any other (NAME) not at all.
  # The brackets become blanks first: an unbalanced '[' would keep a CMake
  # list from splitting.
  string(REGEX MATCH "^usage: [^\n]*" usage "${text}")
  string(REGEX REPLACE "[][]" " " usage "${usage}")
  string(REGEX MATCHALL "--[a-z-]+( [^ -][^ ]*)?" option_words "${usage}")
  set(options "--help")
  foreach(option ${option_words})
    string(REGEX MATCH "^(--[a-z-]+)( (.+))?$" parts "${option}")
    set(name ${CMAKE_MATCH_1})
    set(value "${CMAKE_MATCH_3}")
    list(APPEND options ${name})
    if(value MATCHES "\\|")
      string(REPLACE "|" " " value "${value}")
      string(APPEND cases "        ${verb}:${name}) COMPREPLY=(\$(compgen -W \"${value}\" -- \"\$cur\")); return ;;\n")
    elseif(value MATCHES "\\.|FILE")
      string(APPEND cases "        ${verb}:${name}) COMPREPLY=(\$(compgen -f -- \"\$cur\")); return ;;\n")
    elseif(value STREQUAL "DIR")
      string(APPEND cases "        ${verb}:${name}) COMPREPLY=(\$(compgen -d -- \"\$cur\")); return ;;\n")
    elseif(value)
      string(APPEND cases "        ${verb}:${name}) return ;;\n")
    endif()
  endforeach()
  list(JOIN options " " options)
  string(APPEND cases "        ${verb}:*) options=\"${options}\" ;;\n")
  roff(summary_roff "${summary}")
  string(STRIP "${text}" text)
  roff(text_roff "${text}")
  string(APPEND commands_roff ".SS zem ${verb}\n${summary_roff}.\n.PP\n.nf\n.RS 4\n${text_roff}\n.RE\n.fi\n")
endforeach()
list(JOIN verbs " " verb_words)

string(REGEX MATCH "Exit status: ([^\n]*)" exit_status "${main_tail}")
set(exit_status "${CMAKE_MATCH_1}")
string(REGEX REPLACE "\n?Exit status:[^\n]*" "" description "${main_tail}")
string(REPLACE "\n" " " description "${description}")
roff(description "${description}")
roff(exit_status "${exit_status}")

file(WRITE ${MAN} ".\\\" Generated from the --help texts of zem; edit those, not this.
.TH ZEM 1 \"\" \"zem ${VERSION}\" \"User Commands\"
.SH NAME
zem \\- check, show and explain libzem configuration documents
.SH SYNOPSIS
.B zem
.I COMMAND
[\\fIOPTIONS\\fR] \\fIFILE\\fR...
.br
.B zem
.I COMMAND
.B \\-\\-help
.br
.B zem \\-\\-version
.SH DESCRIPTION
.B zem
reads configuration documents with the library's own readers and factory, so
that what it says about a document is what a host would meet.
${description}
.SH COMMANDS
${commands_roff}.SH EXIT STATUS
${exit_status}
.SH FILES
.TP
.I /usr/share/zem/zem.xsd
the XML Schema of the configuration format, for editors (libzem\\-dev)
.SH SEE ALSO
.BR xmllint (1),
.BR pkg\\-config (1)
")

file(WRITE ${COMPLETION} "# bash completion for zem. Generated from the --help texts of zem.
_zem() {
    local cur=\${COMP_WORDS[COMP_CWORD]} prev=\${COMP_WORDS[COMP_CWORD-1]}
    local verbs=\"${verb_words}\"
    if [ \"\$COMP_CWORD\" -eq 1 ]; then
        COMPREPLY=(\$(compgen -W \"\$verbs help --help --version\" -- \"\$cur\"))
        return
    fi
    local options=
    case \${COMP_WORDS[1]} in
        help) [ \"\$COMP_CWORD\" -eq 2 ] && COMPREPLY=(\$(compgen -W \"\$verbs\" -- \"\$cur\")); return ;;
    esac
    # After an option that takes a value: its values, file names, or nothing.
    case \${COMP_WORDS[1]}:\$prev in
${cases}    esac
    if [[ \$cur == -* ]]; then
        COMPREPLY=(\$(compgen -W \"\$options\" -- \"\$cur\"))
    else
        COMPREPLY=(\$(compgen -f -- \"\$cur\"))
    fi
}
complete -o filenames -F _zem zem
")
