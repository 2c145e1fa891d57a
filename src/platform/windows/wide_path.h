// A UTF-8 path in the form the wide file and loader calls of Windows take:
// UTF-16, with backslashes, since the loader doesn't accept forward slashes.
#pragma once

#include <string>

#include "platform/utf8.h"

namespace ZEM::platform {

inline std::wstring WidePath(const char* path) {
    std::wstring wide;
    for (const char* end = path;; ++end) {
        if (*end == '\0') {
            DecodeUtf8(path, static_cast<std::size_t>(end - path), wide);
            break;
        }
    }
    for (wchar_t& c : wide)
        if (c == L'/') c = L'\\';
    return wide;
}

}  // namespace ZEM::platform
