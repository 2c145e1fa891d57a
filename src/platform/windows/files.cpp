// File names through the wide calls of Windows, so that a name outside the
// ANSI code page opens as well as any other.
#include "platform/files.h"

#include <stdio.h>

#include <filesystem>
#include <system_error>

#include "platform/utf8.h"
#include "platform/windows/wide_path.h"

namespace ZEM::platform {

std::FILE* OpenFileForReading(const char* path) {
    return ::_wfopen(WidePath(path).c_str(), L"rb");
}

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(WidePath(path.c_str()), error);
    if (error) return path;
    const std::wstring& wide = canonical.native();
    std::string text;
    EncodeUtf8(wide.data(), wide.size(), text);
    return text;
}

}  // namespace ZEM::platform
