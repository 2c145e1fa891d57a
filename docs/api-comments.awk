# Turns the public headers' plain comments into documentation comments for
# Doxygen as it reads them (the headers themselves stay as they are): a run
# of // lines right above a declaration documents that declaration, and a
# // after a member's ';' or ',' documents that member. A file's opening
# lines document the file; comments above other preprocessor lines,
# namespaces and closing braces stay plain.
# Outside `code`, a '<' would start an HTML tag for Doxygen (CManaged<U>).
function escape_angles(text,   parts, count, i, out) {
    count = split(text, parts, "`")
    out = ""
    for (i = 1; i <= count; ++i) {
        if (i % 2 == 1) gsub(/</, "\\<", parts[i])
        out = out (i > 1 ? "`" : "") parts[i]
    }
    return out
}
function flush(next_line,   i, documents) {
    documents = next_line !~ /^[ \t]*($|#|namespace|}|\/\/)/
    if (FNR - held == 1 && next_line ~ /^#pragma once/) {
        documents = 1
        print "/// \\file"
    }
    for (i = 1; i <= held; ++i) {
        line = block[i]
        if (documents && sub(/\/\/ ?/, "/// ", line)) line = escape_angles(line)
        print line
    }
    held = 0
}
/^[ \t]*\/\// {
    block[++held] = $0
    next
}
{
    flush($0)
    if ($0 ~ /[;,][ \t]+\/\/ /) sub(/[ \t]+\/\/ /, "  ///< ")
    print
}
END { flush("") }
