// The log that the recording wrappers write into. It lives in the test
// executable, which the fixture modules resolve these entry points against.
#pragma once

#include <string>
#include <vector>

// Exported by the test program, where the fixtures look for them.
#if defined(_WIN32)
#  define ZEM_FIXTURE_LOG_API __declspec(dllexport)
#else
#  define ZEM_FIXTURE_LOG_API
#endif

extern "C" {
ZEM_FIXTURE_LOG_API void zem_fixture_record(const char* line);  // unless recording is off
ZEM_FIXTURE_LOG_API unsigned long zem_fixture_serial();          // 1, 2, ... since the last Reset()
ZEM_FIXTURE_LOG_API void zem_fixture_object(const void* object, const char* tag);  // a null tag forgets
}

namespace zem_support {

class FixtureLog {
public:
    static void Reset();  // empty, serials from 1, recording on
    static std::vector<std::string> Lines();
    static std::vector<std::string> Take();  // the lines; the log is emptied
    static std::vector<std::string> Starting(const std::string& prefix);
    static void Enable(bool on);
    static std::string TagOf(const void* object);  // "Widget#3", or ""
    static std::size_t LivingObjects();
};

}  // namespace zem_support
