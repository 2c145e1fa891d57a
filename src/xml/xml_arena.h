// CXmlArena: the memory of one parsed tree. Node records, names, values, texts
// and finished arrays are carved from a few large blocks, and the blocks go
// back all at once when the last record of the tree is destroyed. The node
// model and the parser use it; nothing outside src/xml/ sees it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZEM {

class CXmlArena {
public:
    // A new arena that no record uses yet. Throws std::bad_alloc.
    static CXmlArena* Create();

    CXmlArena(const CXmlArena&) = delete;
    CXmlArena& operator=(const CXmlArena&) = delete;

    // Every record of the tree holds the arena once.
    void AddRecord() noexcept { ++records_; }
    // Drops one record's hold; the last one frees the arena and its blocks.
    void ReleaseRecord() noexcept;

    // Uninitialised memory that stays valid as long as the arena lives.
    // Throws std::bad_alloc.
    void* Allocate(std::size_t size, std::size_t alignment = alignof(void*)) {
        auto at = (reinterpret_cast<std::uintptr_t>(cursor_) + alignment - 1) & ~(alignment - 1);
        auto limit = reinterpret_cast<std::uintptr_t>(limit_);
        if (at <= limit && size <= limit - at) {
            cursor_ = reinterpret_cast<char*>(at + size);
            return reinterpret_cast<void*>(at);
        }
        return AllocateSlow(size, alignment);
    }

    // A zero-terminated copy of `length` bytes.
    char* CopyString(const char* text, std::size_t length);

private:
    struct SBlock;

    CXmlArena() = default;
    void* AllocateSlow(std::size_t size, std::size_t alignment);

    char* cursor_ = nullptr;
    char* limit_ = nullptr;
    SBlock* blocks_ = nullptr;      // blocks other than the one inside this object
    std::size_t nextBlockSize_ = 0;
    std::size_t records_ = 0;
};

}  // namespace ZEM
