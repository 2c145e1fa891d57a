// Block management of the tree arena. The first block sits in the same
// allocation as the arena itself, so a small document costs one malloc; later
// blocks grow to a fixed size, and a large request gets a block of its own so
// that little is left unused at the end of any block.
#include "xml/xml_arena.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace ZEM {

namespace {

constexpr std::size_t kFirstBlockSize = 2048;
constexpr std::size_t kLargestBlockSize = 64 * 1024;
// Requests above this get a block of their own.
constexpr std::size_t kLargeRequest = kLargestBlockSize / 4;

}  // namespace

struct CXmlArena::SBlock {
    SBlock* next;
    std::max_align_t data[1];
};

CXmlArena* CXmlArena::Create() {
    void* memory = std::malloc(sizeof(CXmlArena) + kFirstBlockSize);
    if (memory == nullptr) throw std::bad_alloc();
    auto* arena = new (memory) CXmlArena();
    arena->cursor_ = static_cast<char*>(memory) + sizeof(CXmlArena);
    arena->limit_ = arena->cursor_ + kFirstBlockSize;
    arena->nextBlockSize_ = 8 * 1024;
    return arena;
}

void CXmlArena::Destroy() noexcept {
    for (SBlock* block = blocks_; block != nullptr;) {
        SBlock* next = block->next;
        std::free(block);
        block = next;
    }
    this->~CXmlArena();
    std::free(this);
}

void* CXmlArena::AllocateSlow(std::size_t size, std::size_t alignment) {
    constexpr std::size_t header = offsetof(SBlock, data);
    if (size > kLargeRequest) {
        // The cursor stays in the current block, which keeps its free room.
        if (size > SIZE_MAX - header - alignment) throw std::bad_alloc();
        auto* block = static_cast<SBlock*>(std::malloc(header + size + alignment));
        if (block == nullptr) throw std::bad_alloc();
        block->next = blocks_;
        blocks_ = block;
        auto at = reinterpret_cast<std::uintptr_t>(block->data);
        at = (at + alignment - 1) & ~(alignment - 1);
        return reinterpret_cast<void*>(at);
    }
    const std::size_t blockSize = nextBlockSize_ > size + alignment ? nextBlockSize_ : size + alignment;
    auto* block = static_cast<SBlock*>(std::malloc(header + blockSize));
    if (block == nullptr) throw std::bad_alloc();
    block->next = blocks_;
    blocks_ = block;
    if (nextBlockSize_ < kLargestBlockSize) nextBlockSize_ *= 2;
    cursor_ = reinterpret_cast<char*>(block->data);
    limit_ = cursor_ + blockSize;
    return Allocate(size, alignment);
}

}  // namespace ZEM
