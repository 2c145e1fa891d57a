// CInputFile on POSIX: open(2) with O_NONBLOCK, so that a FIFO without a
// writer opens at once instead of waiting, then fstat(2) decides.
#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace ZEM::platform {

CInputFile::~CInputFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

CInputFile::EOpen CInputFile::Open(const char* path) {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
    size_ = 0;
    if (path == nullptr || *path == '\0') return NotFound;
    int descriptor;
    do {
        descriptor = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return errno == ENXIO ? NotRegular : NotFound;
    struct stat info {};
    if (::fstat(descriptor, &info) != 0) {
        ::close(descriptor);
        return NotFound;
    }
    if (!S_ISREG(info.st_mode)) {
        ::close(descriptor);
        return NotRegular;
    }
    // A regular file never blocks; the flag goes so that reads behave plainly.
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags >= 0) ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
    descriptor_ = descriptor;
    size_ = static_cast<std::uint64_t>(info.st_size);
    return Opened;
}

bool CInputFile::Read(void* into, std::size_t count, std::size_t& read) {
    read = 0;
    auto* at = static_cast<char*>(into);
    while (read < count) {
        const ssize_t got = ::read(descriptor_, at + read, count - read);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (got == 0) break;
        read += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace ZEM::platform
