// The tool's own standard output, set apart from the process's file
// descriptor 1, and the one printer of diagnostics that every verb uses.
#include "output.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>

#include "cli.h"

namespace zemcli {

namespace {

// The descriptor that the tool's output goes to: a copy of the original
// standard output once SetBeanOutputAside has run.
int toolOutput = STDOUT_FILENO;

// A buffer that writes to one file descriptor, for std::cout.
class CDescriptorBuffer : public std::streambuf {
public:
    explicit CDescriptorBuffer(int fd) : fd_(fd) { setp(buffer_, buffer_ + sizeof buffer_); }

protected:
    int_type overflow(int_type c) override {
        if (sync() != 0) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override {
        const char* at = pbase();
        while (at < pptr()) {
            const ssize_t written = ::write(fd_, at, static_cast<std::size_t>(pptr() - at));
            if (written <= 0) return -1;
            at += written;
        }
        setp(buffer_, buffer_ + sizeof buffer_);
        return 0;
    }

private:
    int fd_;
    char buffer_[8192];
};

bool Colourful(const std::ostream& out) {
    int fd = -1;
    if (out.rdbuf() == std::cout.rdbuf()) fd = toolOutput;
    if (out.rdbuf() == std::cerr.rdbuf()) fd = STDERR_FILENO;
    if (fd < 0 || ::isatty(fd) == 0) return false;
    const char* noColour = std::getenv("NO_COLOR");
    return noColour == nullptr || *noColour == '\0';
}

}  // namespace

void SetBeanOutputAside() {
    std::fflush(stdout);
    const int copy = ::dup(STDOUT_FILENO);
    if (copy < 0 || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) return;  // then all shares one stream
    toolOutput = copy;
    // Reachable to the end of the process, since std::cout is flushed at exit.
    static CDescriptorBuffer* const buffer = new CDescriptorBuffer(copy);
    std::cout.rdbuf(buffer);
}

CBeanOutputGuard::CBeanOutputGuard() : saved_(std::cout.rdbuf()) {
    std::cout.flush();
    std::cout.rdbuf(std::cerr.rdbuf());
}

CBeanOutputGuard::~CBeanOutputGuard() {
    std::cout.flush();
    std::fflush(stdout);
    std::cout.rdbuf(saved_);
}

void PrintDiagnostic(std::ostream& out, const SPlace& place, ESeverity severity, const std::string& message) {
    const bool colour = Colourful(out);
    const char* bold = colour ? "\033[1m" : "";
    const char* tint = !colour ? "" : severity == ESeverity::kError ? "\033[1;31m" : "\033[1;35m";
    const char* plain = colour ? "\033[0m" : "";
    out << bold << (place.file.empty() ? "-" : place.file);
    if (place.line > 0) out << ":" << place.line << ":" << place.column;
    out << ":" << plain << " " << tint << (severity == ESeverity::kError ? "error:" : "warning:") << plain << " "
        << message << "\n";
}

std::string DiagnosticJson(const SDiagnostic& diagnostic) {
    return "{\"file\": " + JsonString(diagnostic.place.file) + ", \"line\": " + std::to_string(diagnostic.place.line) +
           ", \"column\": " + std::to_string(diagnostic.place.column) + ", \"severity\": \"" +
           (diagnostic.severity == ESeverity::kError ? "error" : "warning") +
           "\", \"message\": " + JsonString(diagnostic.message) + "}";
}


}  // namespace zemcli
