// File names through the wide calls of Windows, so that a name outside the
// ANSI code page opens as well as any other.
#include "platform/files.h"

#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/utf8.h"
#include "platform/windows/wide_path.h"

namespace ZEM::platform {

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(WidePath(path.c_str()), error);
    if (error) return path;
    const std::wstring& wide = canonical.native();
    std::string text;
    EncodeUtf8(wide.data(), wide.size(), text);
    return text;
}

bool HasFolderPart(const char* path) {
    return path != nullptr && std::strpbrk(path, "/\\") != nullptr;
}

std::string ResolvedPath(const char* path, bool* missing) {
    std::error_code error;
    const std::filesystem::path resolved =
        path != nullptr ? std::filesystem::canonical(WidePath(path), error) : std::filesystem::path();
    if (missing != nullptr) *missing = path != nullptr && error == std::errc::no_such_file_or_directory;
    if (path == nullptr || error) return {};
    const std::u8string text = resolved.generic_u8string();
    return std::string(text.begin(), text.end());
}

}  // namespace ZEM::platform
