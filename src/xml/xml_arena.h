// CXmlArena: the memory of one parsed tree. Node records, names, values, texts
// and arrays are carved from a few large blocks, and the blocks go
// back all at once when the last record of the tree is destroyed. The node
// model and the parser use it; nothing outside src/xml/ sees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ZEM {

// memcpy for the short names, values and arrays of a tree, without a call for
// up to 32 bytes.
inline void XmlCopyBytes(void* to, const void* from, std::size_t size) noexcept {
    auto* out = static_cast<char*>(to);
    const auto* in = static_cast<const char*>(from);
    if (size <= 32) {
        if (size >= 16) {
            std::uint64_t a, b, c, d;
            std::memcpy(&a, in, 8);
            std::memcpy(&b, in + 8, 8);
            std::memcpy(&c, in + size - 16, 8);
            std::memcpy(&d, in + size - 8, 8);
            std::memcpy(out, &a, 8);
            std::memcpy(out + 8, &b, 8);
            std::memcpy(out + size - 16, &c, 8);
            std::memcpy(out + size - 8, &d, 8);
        } else if (size >= 8) {
            std::uint64_t a, b;
            std::memcpy(&a, in, 8);
            std::memcpy(&b, in + size - 8, 8);
            std::memcpy(out, &a, 8);
            std::memcpy(out + size - 8, &b, 8);
        } else if (size >= 4) {
            std::uint32_t a, b;
            std::memcpy(&a, in, 4);
            std::memcpy(&b, in + size - 4, 4);
            std::memcpy(out, &a, 4);
            std::memcpy(out + size - 4, &b, 4);
        } else if (size != 0) {
            out[0] = in[0];
            out[size / 2] = in[size / 2];
            out[size - 1] = in[size - 1];
        }
        return;
    }
    std::memcpy(out, in, size);
}

namespace xml_detail {

// The first and the last `sizeof(Word)` bytes of both, which overlap for
// lengths below twice that size.
template <class Word>
inline bool SameEnds(const char* a, const char* b, std::size_t length) noexcept {
    Word a0, a1, b0, b1;
    std::memcpy(&a0, a, sizeof(Word));
    std::memcpy(&b0, b, sizeof(Word));
    std::memcpy(&a1, a + length - sizeof(Word), sizeof(Word));
    std::memcpy(&b1, b + length - sizeof(Word), sizeof(Word));
    return ((a0 ^ b0) | (a1 ^ b1)) == 0;
}

}  // namespace xml_detail

// Byte for byte, also in case, for the short names of a tree: up to 16 bytes
// in two words each way, longer ones by memcmp.
inline bool XmlSameBytes(const char* a, const char* b, std::size_t length) noexcept {
    if (length > 16) return std::memcmp(a, b, length) == 0;
    if (length >= 8) return xml_detail::SameEnds<std::uint64_t>(a, b, length);
    if (length >= 4) return xml_detail::SameEnds<std::uint32_t>(a, b, length);
    for (std::size_t i = 0; i < length; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

class CXmlArena {
public:
    // A new arena that no record uses yet. Throws std::bad_alloc.
    static CXmlArena* Create();

    CXmlArena(const CXmlArena&) = delete;
    CXmlArena& operator=(const CXmlArena&) = delete;

    // Every record of the tree holds the arena once.
    void AddRecord() noexcept { ++records_; }
    // Drops one record's hold; the last one frees the arena and its blocks.
    void ReleaseRecord() noexcept {
        if (--records_ == 0) Destroy();
    }
    // Frees the arena and its blocks whatever still lives in them.
    void Destroy() noexcept;

    // Handles on the records of this tree, all records together. With none
    // left, nothing outside can reach a record that is still alive.
    void AddHandle() noexcept { ++handles_; }
    void DropHandle() noexcept { --handles_; }
    std::size_t Handles() const noexcept { return handles_; }

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

    // Gives back the end of the latest allocation, which began at `start`
    // and needs only `used` bytes. Does nothing if something came after it.
    void TrimLast(char* start, std::size_t allocated, std::size_t used) noexcept {
        if (start + allocated == cursor_) cursor_ = start + used;
    }

    // A zero-terminated copy of `length` bytes.
    char* CopyString(const char* text, std::size_t length) {
        auto* copy = static_cast<char*>(Allocate(length + 1, 1));
        XmlCopyBytes(copy, text, length);
        copy[length] = '\0';
        return copy;
    }

    // A name of an element or an attribute: a zero-terminated copy with its
    // length in the 4 bytes in front, which NameLength reads.
    char* CopyName(const char* text, std::size_t length) {
        auto* block = static_cast<char*>(Allocate(length + 5, 1));
        const auto stored = static_cast<std::uint32_t>(length);
        std::memcpy(block, &stored, sizeof stored);
        XmlCopyBytes(block + 4, text, length);
        block[4 + length] = '\0';
        return block + 4;
    }
    static std::uint32_t NameLength(const char* name) noexcept {
        std::uint32_t length;
        std::memcpy(&length, name - 4, sizeof length);
        return length;
    }

private:
    struct SBlock;

    CXmlArena() = default;
    void* AllocateSlow(std::size_t size, std::size_t alignment);

    char* cursor_ = nullptr;
    char* limit_ = nullptr;
    SBlock* blocks_ = nullptr;      // blocks other than the one inside this object
    std::size_t nextBlockSize_ = 0;
    std::size_t records_ = 0;
    std::size_t handles_ = 0;
};

}  // namespace ZEM
