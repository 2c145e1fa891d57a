// Modules through the dynamic loader. Handles are kept for the life of the
// process: objects and wrappers made by a module must outlive every record of it.
#include "platform/module.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstring>

namespace ZEM::platform {

std::string ExecutablePath() {
    char buffer[PATH_MAX];
    ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof buffer) return {};
    return std::string(buffer, static_cast<size_t>(length));
}

void* LoadModule(const char* path) {
    if (path == nullptr) return nullptr;
    if (*path != '\0') {
        std::string self = ExecutablePath();
        if (!self.empty() && self == path) return ::dlopen(nullptr, RTLD_NOW);
    }
    if (*path == '\0') return nullptr;
    return ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

void* FindSymbol(void* module, const char* name) {
    if (module == nullptr || name == nullptr) return nullptr;
    return ::dlsym(module, name);
}

}  // namespace ZEM::platform
