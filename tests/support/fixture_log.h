// The log that the recording wrappers of the test class libraries write into.
// It lives in the test executable: a fixture module resolves the two extern
// "C" entry points against the executable that loaded it, so calls made by
// wrappers of several modules land in one log, in the order they happened.
#pragma once

#include <string>
#include <vector>

extern "C" {
// Appends one line, unless recording is switched off.
void zem_fixture_record(const char* line);
// A number unique within the process since the last ResetSerials().
unsigned long zem_fixture_serial();
// Names a living object by its tag, or forgets it with a null tag.
void zem_fixture_object(const void* object, const char* tag);
}

namespace zem_support {

class FixtureLog {
public:
    // Empties the log, restarts the serial numbers, switches recording on.
    static void Reset();
    // The lines so far, in order; the log is left as it is.
    static std::vector<std::string> Lines();
    // The lines so far; the log is emptied.
    static std::vector<std::string> Take();
    // The lines that begin with `prefix`, in order.
    static std::vector<std::string> Starting(const std::string& prefix);
    static void Enable(bool on);
    // The tag of a living fixture object ("Widget#3"), "" for anything else.
    static std::string TagOf(const void* object);
    static std::size_t LivingObjects();
};

}  // namespace zem_support
