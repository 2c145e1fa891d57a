// The lock-free index of made singletons: an open-addressing table of entry
// pointers, published whole and grown by publishing a copy twice its size.
#include "container/made_singletons.h"

#include <cstring>
#include <thread>

#include "foundation/kt_hash.h"

namespace ZEM {

namespace {

// The fold of the library's maps, its high half mixed into the low bits that
// pick the slot.
std::uint64_t NameHash(const char* name) noexcept {
    const std::uint64_t hash = FoldHash(name);
    return hash ^ (hash >> 29);
}

// The reader slot of this thread, plus one; 0 before its first look-up. Plain
// data, so a thread's first request needs no memory for it.
thread_local std::uint32_t t_readerSlot = 0;
std::atomic<std::uint32_t> g_threadsSeen{0};

std::uint32_t ReaderSlot(std::uint32_t slots) noexcept {
    if (t_readerSlot == 0) t_readerSlot = 1 + g_threadsSeen.fetch_add(1, std::memory_order_relaxed) % slots;
    return t_readerSlot - 1;
}

constexpr std::uint32_t kFirstSize = 16;

}  // namespace

bool CMadeSingletons::Find(const char* name, const SLibrary* library, bool withWrapper,
                           BeanPair& found) const noexcept {
    const std::uint64_t hash = NameHash(name);
    std::atomic<std::uint32_t>& inside = readers_[ReaderSlot(kReaderSlots)].inside;
    inside.fetch_add(1, std::memory_order_seq_cst);
    bool hit = false;
    if (const STable* table = published_.load(std::memory_order_seq_cst)) {
        for (std::uint64_t at = hash & table->mask;; at = (at + 1) & table->mask) {
            const SEntry* entry = table->slots[at].load(std::memory_order_acquire);
            if (entry == nullptr) break;
            if (entry->hash != hash || std::strcmp(entry->name, name) != 0) continue;
            hit = entry->ownPath == nullptr || (library != nullptr && library->path == *entry->ownPath);
            if (hit) {
                if (withWrapper) found.first = entry->pair->first;
                found.second = entry->pair->second;
            }
            break;
        }
    }
    inside.fetch_sub(1, std::memory_order_release);
    return hit;
}

void CMadeSingletons::Place(STable& table, const SEntry* entry) noexcept {
    std::uint64_t at = entry->hash & table.mask;
    while (table.slots[at].load(std::memory_order_relaxed) != nullptr) at = (at + 1) & table.mask;
    table.slots[at].store(entry, std::memory_order_release);
}

void CMadeSingletons::Add(const char* name, const BeanPair& pair, const SBeanType& bean) noexcept {
    // A bean outside every library that isn't exported is seen by no request.
    if (!bean.exported && bean.library == nullptr) return;
    try {
        entries_.push_back(std::make_unique<SEntry>(
            SEntry{NameHash(name), name, &pair, bean.exported ? nullptr : &bean.library->path}));
    } catch (...) {
        return;
    }
    const SEntry* entry = entries_.back().get();
    STable* table = tables_.empty() ? nullptr : tables_.back().get();
    // At most half full, so that a miss ends soon.
    if (table != nullptr && entries_.size() * 2 <= table->mask + 1) {
        Place(*table, entry);
        return;
    }
    try {
        const std::uint32_t size = table == nullptr ? kFirstSize : (table->mask + 1) * 2;
        tables_.reserve(tables_.size() + 1);
        auto larger = std::make_unique<STable>(size);
        for (const auto& each : entries_) Place(*larger, each.get());
        tables_.push_back(std::move(larger));
    } catch (...) {
        entries_.pop_back();
        return;
    }
    published_.store(tables_.back().get(), std::memory_order_seq_cst);
}

void CMadeSingletons::Replace(BeanPair& pair, BeanPair value) noexcept {
    Hide();
    pair = std::move(value);
    if (!tables_.empty()) published_.store(tables_.back().get(), std::memory_order_seq_cst);
}

void CMadeSingletons::Clear() noexcept {
    Hide();
    tables_.clear();
    entries_.clear();
}

void CMadeSingletons::Hide() noexcept {
    published_.store(nullptr, std::memory_order_seq_cst);
    for (const SReaders& readers : readers_)
        while (readers.inside.load(std::memory_order_seq_cst) != 0) std::this_thread::yield();
}

}  // namespace ZEM
