// The outputs of `zem profile` beyond its table: the JSON summary, the trace
// in the Chrome trace-event format (for Perfetto and chrome://tracing), and a
// self-contained HTML page that draws that trace as nested bars.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "output.h"
#include "profile_recorder.h"

namespace zemcli {

// One document as `zem profile` loaded it.
struct SProfiledLoad {
    std::string file;
    bool loaded = false;
    std::string error;  // the library's message when not loaded
    std::vector<SDiagnostic> failure;  // the same, with the parser's place and cause
    std::vector<SDiagnostic> dropped;  // what the eager beans' requests dropped, at their elements
    std::vector<SSpan> spans;
    std::int64_t total = 0;  // nanoseconds of the whole load
};

// {"loads":[{"file","ok","total_ns","rows":[...],"diagnostics":[...]}]}, rows
// as Summarize gives them; a load that failed has "error" in place of the
// times and rows.
void WriteProfileJson(std::ostream& out, const std::vector<SProfiledLoad>& loads);

// One complete event ("ph":"X") per span, each load a process of its own.
void WriteTrace(std::ostream& out, const std::vector<SProfiledLoad>& loads);

// A page that holds the trace and draws it without any network access.
void WriteTraceHtml(std::ostream& out, const std::vector<SProfiledLoad>& loads);

}  // namespace zemcli
