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

std::string AbsoluteFolder(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(folder, error);
    if (error) return {};
    std::string text = absolute.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    return text;
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
