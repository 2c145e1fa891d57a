// CInputFile on Windows: the C runtime's descriptors over a file opened by
// its wide name. Opening never waits there; the file's type decides.
#include "platform/file.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <climits>

#include "platform/windows/wide_path.h"

namespace ZEM::platform {

CInputFile::~CInputFile() {
    if (descriptor_ >= 0) ::_close(descriptor_);
}

CInputFile::EOpen CInputFile::Open(const char* path) {
    if (descriptor_ >= 0) ::_close(descriptor_);
    descriptor_ = -1;
    size_ = 0;
    if (path == nullptr || *path == '\0') return NotFound;
    const std::wstring wide = WidePath(path);
    // A directory can't be opened as a file at all: it is told by its attributes.
    const DWORD attributes = ::GetFileAttributesW(wide.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return NotRegular;
    const int descriptor = ::_wopen(wide.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0) return NotFound;
    struct _stat64 info {};
    if (::_fstat64(descriptor, &info) != 0) {
        ::_close(descriptor);
        return NotFound;
    }
    if ((info.st_mode & _S_IFMT) != _S_IFREG) {
        ::_close(descriptor);
        return NotRegular;
    }
    descriptor_ = descriptor;
    size_ = static_cast<std::uint64_t>(info.st_size);
    return Opened;
}

bool CInputFile::Read(void* into, std::size_t count, std::size_t& read) {
    read = 0;
    auto* at = static_cast<char*>(into);
    while (read < count) {
        const std::size_t left = count - read;
        const unsigned chunk = left > INT_MAX ? INT_MAX : static_cast<unsigned>(left);
        const int got = ::_read(descriptor_, at + read, chunk);
        if (got < 0) return false;
        if (got == 0) break;
        read += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace ZEM::platform
