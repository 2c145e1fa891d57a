// The readers' side of the published indexes that is the same for every kind
// of value: the hash of names and the counts of readers inside.
#include "container/published_index.h"

#include <thread>

#include "foundation/kt_hash.h"

namespace ZEM {

namespace {

// The reader slot of this thread, plus one; 0 before its first look-up. Plain
// data, so a thread's first request needs no memory for it.
thread_local std::uint32_t t_readerSlot = 0;
std::atomic<std::uint32_t> g_threadsSeen{0};

}  // namespace

std::uint64_t IndexHash(const char* name) noexcept {
    // The fold of the library's maps, its high half mixed into the low bits
    // that pick the slot.
    const std::uint64_t hash = FoldHash(name);
    return hash ^ (hash >> 29);
}

std::atomic<std::uint32_t>& CIndexReaders::Enter() const noexcept {
    if (t_readerSlot == 0) t_readerSlot = 1 + g_threadsSeen.fetch_add(1, std::memory_order_relaxed) % kSlots;
    std::atomic<std::uint32_t>& inside = slots_[t_readerSlot - 1].inside;
    inside.fetch_add(1, std::memory_order_seq_cst);
    return inside;
}

void CIndexReaders::Wait() const noexcept {
    for (const SSlot& slot : slots_)
        while (slot.inside.load(std::memory_order_seq_cst) != 0) std::this_thread::yield();
}

}  // namespace ZEM
