// The end of bean objects: the deleter of every object the factory makes, and
// the process-wide census of living objects by bean name.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "foundation/kt_map.h"
#include "zem/object.h"

namespace ZEM {

// Counts bean objects by name across all factories of the process. Its lock is
// a leaf: nothing else is locked inside it and no bean code runs under it.
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
    std::uint32_t NameCount();
    std::uint32_t ObjectCount();

private:
    using NameTable = KtMap<std::string, SCounters>;

    std::mutex lock_;
    NameTable byName_;
    // The entry of the object's bean name in byName_, which stays while an
    // object of that name is counted.
    KtMap<IObject*, NameTable::Node*> byObject_;
};

CInstanceCensus& InstanceCensus();

// Deleter of the shared pointers that the factory makes. It holds nothing, so
// an object may end long after its factory.
struct SDeleter {
    void operator()(IObject* object) const noexcept;
};

}  // namespace ZEM
