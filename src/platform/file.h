// Opening a file for reading so that the opening itself can't block: a FIFO
// nobody writes to, a device or a directory is told apart from a regular
// file before anything is read. Used by the document reader for every
// document and include, and by the library loader before it loads a file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZEM::platform {

class CInputFile {
public:
    enum EOpen {
        Opened,
        NotFound,    // no such file, or it can't be opened for reading
        NotRegular,  // a FIFO, a device, a socket or a directory
    };

    CInputFile() = default;
    ~CInputFile();
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;

    // Opens `path` without waiting for a writer or a device, then keeps it
    // open only if it is a regular file.
    EOpen Open(const char* path);

    // The size the file had when it was opened.
    std::uint64_t Size() const noexcept { return size_; }

    // Reads up to `count` bytes into `into`; fewer only at the end of the
    // file. False on a read error.
    bool Read(void* into, std::size_t count, std::size_t& read);

private:
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
};

// What `path` names, by the same rule: Opened for a regular file that can be
// read, NotRegular for a FIFO, a device, a socket or a directory, NotFound
// otherwise. The file is opened as Open does and closed again.
inline CInputFile::EOpen CheckRegularFile(const char* path) {
    CInputFile file;
    return file.Open(path);
}

}  // namespace ZEM::platform
