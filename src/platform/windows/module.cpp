// Modules through the Windows loader, by their wide (UTF-16) paths. Handles
// are kept for the life of the process: objects and wrappers made by a module
// must outlive every record of it.
#include "platform/module.h"

#include <windows.h>

#include <string>

#include "platform/utf8.h"
#include "platform/windows/wide_path.h"

namespace ZEM::platform {

std::string ExecutablePath() {
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return {};
        if (length < buffer.size()) {
            buffer.resize(length);
            break;
        }
        // The name was cut to the buffer: try again with more room.
        if (buffer.size() >= 32768) return {};
        buffer.resize(buffer.size() * 2);
    }
    std::string path;
    EncodeUtf8(buffer.data(), buffer.size(), path);
    return path;
}

namespace {

// The absolute form of a wide path; as given if the system can't make one.
std::wstring FullPath(const std::wstring& path) {
    const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (size == 0) return path;
    std::wstring full(size, L'\0');
    const DWORD length = ::GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return path;
    full.resize(length);
    return full;
}

// The running executable's own path, as the system has it; empty on failure.
std::wstring OwnPath() {
    std::wstring self(MAX_PATH, L'\0');
    const DWORD length = ::GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    if (length == 0 || length >= self.size()) return {};
    self.resize(length);
    return self;
}

// The system's text for an error code, in UTF-8, without its line end; the
// module's path stands for the text's one insert ("%1"), if it has one.
std::string ErrorText(DWORD code, const char* path) {
    wchar_t* text = nullptr;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
        0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string reason;
    if (length != 0 && text != nullptr) EncodeUtf8(text, length, reason);
    if (text != nullptr) ::LocalFree(text);
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r' || reason.back() == ' '))
        reason.pop_back();
    if (reason.empty()) reason = "error " + std::to_string(code);
    if (const std::size_t insert = reason.find("%1"); insert != std::string::npos) reason.replace(insert, 2, path);
    return reason;
}

}  // namespace

// Separators, case and relative forms differ on Windows for one file.
bool IsRunningProgram(const char* path) {
    if (path == nullptr || *path == '\0') return false;
    const std::wstring self = OwnPath();
    const std::wstring full = FullPath(WidePath(path));
    return !self.empty() && ::CompareStringOrdinal(self.c_str(), static_cast<int>(self.size()), full.c_str(),
                                                   static_cast<int>(full.size()), TRUE) == CSTR_EQUAL;
}

void* LoadModule(const char* path, std::string* reason) {
    if (path == nullptr || *path == '\0') {
        if (reason != nullptr) *reason = "empty path";
        return nullptr;
    }
    if (IsRunningProgram(path)) return ::GetModuleHandleW(nullptr);
    const std::wstring wide = WidePath(path);
    // A missing dependency is reported to the caller, never in a dialog box.
    DWORD previousMode = 0;
    const bool modeSet = ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, &previousMode) != 0;
    HMODULE module = ::LoadLibraryW(wide.c_str());
    const DWORD error = ::GetLastError();
    if (modeSet) ::SetThreadErrorMode(previousMode, nullptr);
    if (module == nullptr && reason != nullptr) *reason = ErrorText(error, path);
    return module;
}

void* FindSymbol(void* module, const char* name) {
    if (module == nullptr || name == nullptr) return nullptr;
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
}

}  // namespace ZEM::platform
