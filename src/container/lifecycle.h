// The end of bean objects: the deleter of every object the factory makes, and
// the process-wide census of living objects by bean name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <mutex>
#include <string>

#include "foundation/kt_map.h"
#include "zem/object.h"

namespace ZEM {

// Counts bean objects by name across all factories of the process. Names and
// objects are spread over shards, each with a lock of its own, so that threads
// counting different names or objects don't queue behind one lock. The shard
// locks are leaves: no other lock is taken inside one, no bean code runs under
// one, and only NameCount and ObjectCount hold several, of one kind, in order.
class CInstanceCensus {
public:
    struct SCounters {
        std::uint64_t alive = 0;
        std::uint64_t total = 0;
    };

    void Add(const char* name, IObject* object);
    void Remove(IObject* object);

    // Objects of `name` alive now, and counted in all (0, 0 without an entry).
    SCounters Count(const std::string& name);
    // Names and objects counted now, all shards held at once.
    std::uint32_t NameCount();
    std::uint32_t ObjectCount();

private:
    using NameTable = KtMap<std::string, SCounters>;
    static constexpr std::uint32_t kShards = 8;

    // A name's shard comes from the high bits of its hash, which its node
    // keeps; the map's buckets take the low ones.
    struct alignas(64) SNameShard {
        std::mutex lock;
        NameTable byName;
    };
    // The entry of the object's bean name, which stays while an object of
    // that name is counted.
    struct alignas(64) SObjectShard {
        std::mutex lock;
        KtMap<IObject*, NameTable::Node*> byObject;
    };
    static std::uint32_t NameShard(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 61); }
    static std::uint32_t ObjectShard(const IObject* object);

    SNameShard names_[kShards];
    SObjectShard objects_[kShards];
};

CInstanceCensus& InstanceCensus();

// Deleter of the shared pointers that the factory makes. It holds nothing, so
// an object may end long after its factory.
struct SDeleter {
    void operator()(IObject* object) const noexcept;
};

// Gives the reference counts of a singleton's shared pointer a cache line of
// their own: threads that copy different singletons then don't write to one
// line, as they would for counts that the heap happened to put side by side.
// 128 bytes, since processors fetch adjacent 64-byte lines in pairs.
template <class T>
struct SLineAllocator {
    using value_type = T;
    static constexpr std::size_t kLine = 128;

    SLineAllocator() = default;
    template <class U>
    SLineAllocator(const SLineAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        return static_cast<T*>(::operator new(Lines(count), std::align_val_t(kLine)));
    }
    void deallocate(T* block, std::size_t) noexcept {
        ::operator delete(block, std::align_val_t(kLine));
    }
    static std::size_t Lines(std::size_t count) { return (count * sizeof(T) + kLine - 1) / kLine * kLine; }

    template <class U>
    bool operator==(const SLineAllocator<U>&) const noexcept {
        return true;
    }
};

}  // namespace ZEM
