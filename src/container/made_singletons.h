// The made singletons of one factory, as requests find them without the
// factory's lock: an index by name over the factory's own entries. The factory
// adds an entry when a singleton is finished and clears the index before its
// entries go.
//
// Thread safety: Find runs on any thread at any time and takes no lock. Add,
// Replace and Clear run under the factory's lock, one at a time.
//
// Invariants:
// (1) An entry, once reachable from the published table, never changes, and
//     neither do the factory's pair and name it points to, until Clear.
//     Replace, the one change of a pair, first hides the table as Clear does.
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
#include <memory>
#include <string>
#include <vector>

#include "config/records.h"
#include "types/bean_type.h"

namespace ZEM {

class CMadeSingletons {
public:
    CMadeSingletons() = default;
    ~CMadeSingletons() { Clear(); }
    CMadeSingletons(const CMadeSingletons&) = delete;
    CMadeSingletons& operator=(const CMadeSingletons&) = delete;

    // Copies the stored pair of `name` into `found` (the object alone unless
    // `withWrapper`) if that singleton is made and a request on behalf of
    // `library` may see it. False otherwise: the request takes the locked way.
    bool Find(const char* name, const SLibrary* library, bool withWrapper, BeanPair& found) const noexcept;

    // Makes the factory's finished entry `pair` of `name` findable. `name` and
    // `pair` stay in place until Clear. Without memory the entry is left out,
    // and requests find the singleton the locked way.
    void Add(const char* name, const BeanPair& pair, const SBeanType& bean) noexcept;

    // Sets an entry that may have been added to a new pair, once no reader
    // can be copying the old one.
    void Replace(BeanPair& pair, BeanPair value) noexcept;

    // Forgets every entry, once no reader is inside. Before the factory's
    // entries go.
    void Clear() noexcept;

private:
    struct SEntry {
        std::uint64_t hash;
        const char* name;
        const BeanPair* pair;
        // The path of the bean's own library for a bean that isn't exported;
        // null for one that all requests see.
        const std::string* ownPath;
    };
    struct STable {
        explicit STable(std::uint32_t size) : mask(size - 1), slots(new std::atomic<const SEntry*>[size]()) {}
        std::uint32_t mask;
        std::unique_ptr<std::atomic<const SEntry*>[]> slots;
    };
    // Readers count themselves in one of these, picked by thread, so that
    // threads don't share a counter.
    struct alignas(64) SReaders {
        std::atomic<std::uint32_t> inside{0};
    };
    static constexpr std::uint32_t kReaderSlots = 16;

    // Hides the table and waits for the readers that may have seen it.
    void Hide() noexcept;
    static void Place(STable& table, const SEntry* entry) noexcept;

    mutable SReaders readers_[kReaderSlots];
    std::atomic<STable*> published_{nullptr};
    // The writer's side: all entries and tables, the current one last.
    std::vector<std::unique_ptr<SEntry>> entries_;
    std::vector<std::unique_ptr<STable>> tables_;
};

}  // namespace ZEM
