// The shared state of the singleton registry. The trace texts are composed as
// the design asks and then dropped: the library writes no log.
#include "foundation/kt_singleton.h"

#include <cstring>
#include <sstream>
#include <string>

namespace kt_detail {

namespace {

std::atomic<int> g_liveCount{0};

void Compose(int kind, const char* name) {
    std::wostringstream trace;
    if (kind == 3) {
        trace << L"All singleton instances destroyed.\n";
        return;
    }
    std::string text(name != nullptr ? name : "");
    if (text.rfind("class ", 0) == 0) text.erase(0, 6);
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
    Compose(2, name);
    if (g_liveCount.fetch_sub(1) == 1) Compose(3, nullptr);
}

int SingletonLiveCount() { return g_liveCount.load(); }

}  // namespace kt_detail
