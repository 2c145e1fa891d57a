// The readers' side of the published indexes that is the same for every kind
// of value: the hash of names and the counts of readers inside.
#include "container/published_index.h"

#include <bit>
#include <cstdint>
#include <thread>

#include "foundation/kt_hash.h"
#include "platform/thread_exit.h"

namespace ZEM {

namespace {

// The reader slot of this thread, plus one; 0 before its first look-up. Plain
// data, so a thread's first request needs no memory for it.
thread_local std::uint32_t t_readerSlot = 0;
// The slots that living threads hold, a bit each: a thread takes a free one
// at its first look-up and gives it back when it ends, so that threads share
// a slot only when more of them live than there are slots.
std::atomic<std::uint32_t> g_slotsHeld{0};
std::atomic<std::uint32_t> g_threadsSeen{0};
constexpr std::uint32_t kAllSlots = (std::uint32_t{1} << CIndexReaders::kSlots) - 1;
static_assert(CIndexReaders::kSlots < 32, "the slots fit a word");

void GiveBackSlot(void* slot) noexcept {
    const auto index = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(slot) - 1);
    g_slotsHeld.fetch_and(~(std::uint32_t{1} << index), std::memory_order_relaxed);
}

// A free slot for this thread, or one shared with others when none is free or
// the thread can't be told when it ends.
std::uint32_t TakeSlot() noexcept {
    static platform::CThreadExitSlot ending(&GiveBackSlot);
    std::uint32_t held = g_slotsHeld.load(std::memory_order_relaxed);
    while (held != kAllSlots) {
        const auto index = static_cast<std::uint32_t>(std::countr_one(held));
        const std::uint32_t bit = std::uint32_t{1} << index;
        if (!g_slotsHeld.compare_exchange_weak(held, held | bit, std::memory_order_relaxed)) continue;
        if (ending.Set(reinterpret_cast<void*>(std::uintptr_t{index} + 1))) return index;
        g_slotsHeld.fetch_and(~bit, std::memory_order_relaxed);
        break;
    }
    return g_threadsSeen.fetch_add(1, std::memory_order_relaxed) % CIndexReaders::kSlots;
}

}  // namespace

std::uint64_t IndexHash(const char* name) noexcept {
    // The fold of the library's maps, its high half mixed into the low bits
    // that pick the slot.
    const std::uint64_t hash = FoldHash(name);
    return hash ^ (hash >> 29);
}

std::atomic<std::uint32_t>& CIndexReaders::Enter() const noexcept {
    if (t_readerSlot == 0) t_readerSlot = 1 + TakeSlot();
    std::atomic<std::uint32_t>& inside = slots_[t_readerSlot - 1].inside;
    inside.fetch_add(1, std::memory_order_seq_cst);
    return inside;
}

void CIndexReaders::Wait() const noexcept {
    for (const SSlot& slot : slots_)
        while (slot.inside.load(std::memory_order_seq_cst) != 0) std::this_thread::yield();
}

}  // namespace ZEM
