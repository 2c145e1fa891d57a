// What requests find without the factory's lock: made singletons by name, and
// the objects that service registrations keep, by type id and position. An
// index over objects that the factory's own tables hold; the factory adds an
// entry when such an object is there to stay, and clears the index before
// those tables change.
//
// Thread safety: Find runs on any thread at any time and takes no lock. Add,
// Replace and Clear run under the factory's lock, one at a time.
//
// Invariants:
// (1) An entry, once reachable from the published table, never changes, and
//     neither does the value it points to, until Clear. Replace, the one
//     change of a value, first hides the table as Clear does.
// (2) The table is replaced by a larger one as it fills; a replaced table
//     stays in memory until Clear, for readers that still walk it.
// (3) Clear and Replace hide the table, then wait until no reader that might
//     have seen it is still inside Find. A reader counts itself in before it
//     loads the table and out after its last read, both sequentially
//     consistent, so a reader that came in after the table was hidden finds
//     nothing and takes the locked way, where it waits for the writer.
// (4) Inside Find a reader only reads and copies shared pointers: no bean code
//     runs there, so the writer's wait is a few instructions long.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "config/records.h"

namespace ZEM {

// The counts of readers inside Find, and the writer's wait for them. Shared by
// every index of one kind of value.
class CIndexReaders {
public:
    // Counts this thread in; the counter to give to Leave.
    std::atomic<std::uint32_t>& Enter() const noexcept;
    static void Leave(std::atomic<std::uint32_t>& inside) noexcept {
        inside.fetch_sub(1, std::memory_order_release);
    }
    // Returns once every reader counted in before the call has left.
    void Wait() const noexcept;

    static constexpr std::uint32_t kSlots = 16;

private:
    // Readers count themselves in one of these, picked by thread, so that
    // threads don't share a counter; 128 bytes apart, since processors fetch
    // adjacent 64-byte lines in pairs.
    struct alignas(128) SSlot {
        std::atomic<std::uint32_t> inside{0};
    };
    mutable SSlot slots_[kSlots];
};

// The hash of a name in the index.
std::uint64_t IndexHash(const char* name) noexcept;

template <class Value>
class CPublishedIndex {
public:
    CPublishedIndex() = default;
    ~CPublishedIndex() { Clear(); }
    CPublishedIndex(const CPublishedIndex&) = delete;
    CPublishedIndex& operator=(const CPublishedIndex&) = delete;

    // Calls `copy` with the value of (`name`, `position`) if there is one and
    // a request on behalf of `library` may see it, and gives true. False
    // otherwise: the request takes the locked way.
    template <class Copy>
    bool Find(const char* name, std::uint32_t position, const SLibrary* library, Copy&& copy) const noexcept {
        const std::uint64_t hash = IndexHash(name) + position;
        std::atomic<std::uint32_t>& inside = readers_.Enter();
        bool hit = false;
        if (const STable* table = published_.load(std::memory_order_seq_cst)) {
            for (std::uint64_t at = hash & table->mask;; at = (at + 1) & table->mask) {
                const SEntry* entry = table->slots[at].load(std::memory_order_acquire);
                if (entry == nullptr) break;
                if (entry->hash != hash || entry->position != position || entry->name != name) continue;
                hit = entry->ownPath == nullptr || (library != nullptr && library->path == *entry->ownPath);
                if (hit) copy(*entry->value);
                break;
            }
        }
        CIndexReaders::Leave(inside);
        return hit;
    }

    // Makes `value` findable as (`name`, `position`); it stays in place until
    // Clear. `ownPath`, if given, is the path of the only library whose
    // requests may see it. Without memory the entry is left out, and requests
    // take the locked way.
    void Add(const char* name, std::uint32_t position, const Value& value, const std::string* ownPath) noexcept;

    // Sets a value that may have been added to a new one, once no reader can
    // be copying the old one.
    void Replace(Value& stored, Value value) noexcept {
        Hide();
        stored = std::move(value);
        if (!tables_.empty()) published_.store(tables_.back().get(), std::memory_order_seq_cst);
    }

    // Forgets every entry, once no reader is inside.
    void Clear() noexcept {
        Hide();
        tables_.clear();
        entries_.clear();
    }

private:
    struct SEntry {
        std::uint64_t hash;
        std::string name;
        std::uint32_t position;
        const Value* value;
        const std::string* ownPath;
    };
    struct STable {
        explicit STable(std::uint32_t size) : mask(size - 1), slots(new std::atomic<const SEntry*>[size]()) {}
        std::uint32_t mask;
        std::unique_ptr<std::atomic<const SEntry*>[]> slots;
    };
    static constexpr std::uint32_t kFirstSize = 16;

    void Hide() noexcept {
        if (published_.load(std::memory_order_relaxed) == nullptr) return;
        published_.store(nullptr, std::memory_order_seq_cst);
        readers_.Wait();
    }
    static void Place(STable& table, const SEntry* entry) noexcept {
        std::uint64_t at = entry->hash & table.mask;
        while (table.slots[at].load(std::memory_order_relaxed) != nullptr) at = (at + 1) & table.mask;
        table.slots[at].store(entry, std::memory_order_release);
    }

    CIndexReaders readers_;
    std::atomic<STable*> published_{nullptr};
    // The writer's side: all entries and tables, the current one last.
    std::vector<std::unique_ptr<SEntry>> entries_;
    std::vector<std::unique_ptr<STable>> tables_;
};

template <class Value>
void CPublishedIndex<Value>::Add(const char* name, std::uint32_t position, const Value& value,
                                 const std::string* ownPath) noexcept {
    try {
        entries_.push_back(std::unique_ptr<SEntry>(new SEntry{IndexHash(name) + position, name, position, &value, ownPath}));
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

}  // namespace ZEM
