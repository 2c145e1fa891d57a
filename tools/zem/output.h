// Where the `zem` tool writes, and how it reports a problem. Bean code that a
// verb runs may print on standard output; the tool keeps its own output
// apart from that, and every verb reports problems in one form,
// FILE:LINE:COLUMN: error|warning: MESSAGE, in colour on a terminal.
#pragma once

#include <iosfwd>
#include <string>

namespace zemcli {

// From now on std::cout writes to the tool's standard output, and what
// anything else in the process writes to file descriptor 1 (printf, puts,
// write) lands on standard error. Called once, first thing in main.
void SetBeanOutputAside();

// While one of these lives, std::cout too writes to standard error: for the
// stretches where bean code runs (a load, a request, the end of a factory),
// so that a bean that prints with iostreams doesn't reach the tool's output.
class CBeanOutputGuard {
public:
    CBeanOutputGuard();
    ~CBeanOutputGuard();
    CBeanOutputGuard(const CBeanOutputGuard&) = delete;
    CBeanOutputGuard& operator=(const CBeanOutputGuard&) = delete;

private:
    std::streambuf* saved_;
};

enum class ESeverity { kError, kWarning };

// A place in a document; line and column are 1-based, 0 when not known.
struct SPlace {
    std::string file;
    int line = 0;
    int column = 0;
};

struct SDiagnostic {
    SPlace place;
    ESeverity severity = ESeverity::kError;
    std::string message;
};

// {"file": ..., "line": L, "column": C, "severity": "error"|"warning",
//  "message": ...}; line and column are 0 where not known.
std::string DiagnosticJson(const SDiagnostic& diagnostic);

// "FILE:LINE:COLUMN: error: MESSAGE" (the line and column only where known),
// with colour when `out` is the tool's standard output or standard error,
// that stream is a terminal, and NO_COLOR is not set.
void PrintDiagnostic(std::ostream& out, const SPlace& place, ESeverity severity, const std::string& message);


}  // namespace zemcli
