// The shared state of the singleton registry. Its trace texts are composed at
// each event and then dropped: the library writes no log.
#include "foundation/kt_singleton.h"

#include <cxxabi.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <string_view>

namespace kt_detail {

namespace {

std::atomic<int> g_liveCount{0};

// The readable class name of a type_info name; the mangled one if the
// demangler can't help.
std::string ClassName(const char* name) {
    if (name == nullptr) return {};
    int status = 0;
    char* readable = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    std::string text(status == 0 && readable != nullptr ? readable : name);
    std::free(readable);
    return text;
}

void Compose(int kind, const char* name) {
    std::wostringstream trace;
    if (kind == 3) {
        trace << L"All singleton instances destroyed.\n";
        return;
    }
    std::string text = ClassName(name);
    // A name that holds "class " anywhere loses that many characters in front.
    static constexpr std::string_view kClass = "class ";
    if (text.find(kClass) != std::string::npos) text.erase(0, kClass.size());
    trace << L"Singleton instance '" << text.c_str()
          << (kind == 0 ? L"': created." : kind == 1 ? L"': being destroyed..." : L"': destroyed.");
}

}  // namespace

std::recursive_mutex& SingletonLock() {
    // Never destroyed: a singleton's destructor may still take it.
    static auto* lock = new std::recursive_mutex;
    return *lock;
}

void SingletonCreated(const char* name) {
    g_liveCount.fetch_add(1);
    Compose(0, name);
}

void SingletonDestroying(const char* name) { Compose(1, name); }

void SingletonDestroyed(const char* name) {
    g_liveCount.fetch_sub(1);
    Compose(2, name);
    if (g_liveCount.load() == 0) Compose(3, nullptr);
}

int SingletonLiveCount() { return g_liveCount.load(); }

}  // namespace kt_detail
