// File names are bytes on POSIX systems; libzem's are UTF-8.
#include "platform/files.h"

#include <limits.h>
#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace ZEM::platform {

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

bool HasFolderPart(const char* path) {
    return path != nullptr && std::strchr(path, '/') != nullptr;
}

std::string ResolvedPath(const char* path, bool* missing) {
    char resolved[PATH_MAX];
    const bool found = path != nullptr && ::realpath(path, resolved) != nullptr;
    if (missing != nullptr) *missing = !found && errno == ENOENT;
    return found ? std::string(resolved) : std::string();
}

}  // namespace ZEM::platform
