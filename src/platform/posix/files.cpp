// File names are bytes on POSIX systems; libzem's are UTF-8.
#include "platform/files.h"

#include <filesystem>
#include <system_error>

namespace ZEM::platform {

std::FILE* OpenFileForReading(const char* path) {
    return std::fopen(path, "rb");
}

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

}  // namespace ZEM::platform
