// Modules through the dynamic loader. Handles are kept for the life of the
// process: objects and wrappers made by a module must outlive every record of it.
#include "platform/module.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdlib>

namespace ZEM::platform {

std::string ExecutablePath() {
    char buffer[PATH_MAX];
    ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof buffer) return {};
    return std::string(buffer, static_cast<size_t>(length));
}

bool IsRunningProgram(const char* path) {
    if (path == nullptr || *path == '\0') return false;
    std::string self = ExecutablePath();
    if (self.empty()) return false;
    if (self == path) return true;
    char resolved[PATH_MAX];
    return ::realpath(path, resolved) != nullptr && self == resolved;
}

void* LoadModule(const char* path, std::string* reason) {
    void* module = nullptr;
    if (path != nullptr && *path != '\0')
        module = IsRunningProgram(path) ? ::dlopen(nullptr, RTLD_NOW) : ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr && reason != nullptr) {
        // The text lives in the loader's per-thread buffer until its next call.
        const char* text = ::dlerror();
        *reason = text != nullptr ? text : "empty path";
    }
    return module;
}

void* FindSymbol(void* module, const char* name) {
    if (module == nullptr || name == nullptr) return nullptr;
    return ::dlsym(module, name);
}

}  // namespace ZEM::platform
