// The census and the deleter of bean objects. A count takes two steps, each
// under one shard lock: the name's counters, then the object's entry. Between
// them the name's entry can't go, since the object being added or removed
// keeps its counter of living objects above zero.
#include "container/lifecycle.h"

#include <cstdint>

#include "foundation/kt_hash.h"

namespace ZEM {

std::uint32_t CInstanceCensus::ObjectShard(const IObject* object) {
    // Objects are at least 8 bytes apart; the product spreads neighbours.
    const auto word = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(object) >> 3);
    return static_cast<std::uint32_t>((word * 0x9E3779B97F4A7C15ull) >> 61);
}

void CInstanceCensus::Add(const char* name, IObject* object) {
    const std::string_view key(name);
    SNameShard& names = names_[NameShard(KtHash<std::string>::Hash(key))];
    NameTable::Node* entry;
    {
        std::lock_guard<std::mutex> guard(names.lock);
        entry = &names.byName.FindOrInsertNode(key);
        ++entry->value.alive;
        ++entry->value.total;
    }
    SObjectShard& objects = objects_[ObjectShard(object)];
    try {
        std::lock_guard<std::mutex> guard(objects.lock);
        objects.byObject.FindOrInsert(object) = entry;
    } catch (...) {
        // Without a record of the object, its end wouldn't be counted: take
        // the count back.
        std::lock_guard<std::mutex> guard(names.lock);
        --entry->value.total;
        if (--entry->value.alive == 0) names.byName.Erase(key);
        throw;
    }
}

void CInstanceCensus::Remove(IObject* object) {
    NameTable::Node* entry = nullptr;
    {
        SObjectShard& objects = objects_[ObjectShard(object)];
        std::lock_guard<std::mutex> guard(objects.lock);
        if (!objects.byObject.Erase(object, &entry)) return;
    }
    SNameShard& names = names_[NameShard(entry->hash)];
    std::lock_guard<std::mutex> guard(names.lock);
    if (--entry->value.alive == 0) names.byName.Erase(std::string_view(entry->key));
}

CInstanceCensus::SCounters CInstanceCensus::Count(const std::string& name) {
    const std::string_view key(name);
    SNameShard& names = names_[NameShard(KtHash<std::string>::Hash(key))];
    std::lock_guard<std::mutex> guard(names.lock);
    const SCounters* counters = names.byName.Find(key);
    return counters != nullptr ? *counters : SCounters{};
}

std::uint32_t CInstanceCensus::NameCount() {
    std::unique_lock<std::mutex> guards[kShards];
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < kShards; ++i) {
        guards[i] = std::unique_lock<std::mutex>(names_[i].lock);
        count += names_[i].byName.Size();
    }
    return count;
}

std::uint32_t CInstanceCensus::ObjectCount() {
    std::unique_lock<std::mutex> guards[kShards];
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < kShards; ++i) {
        guards[i] = std::unique_lock<std::mutex>(objects_[i].lock);
        count += objects_[i].byObject.Size();
    }
    return count;
}

void SDeleter::operator()(IObject* object) const noexcept {
    InstanceCensus().Remove(object);  // over before any bean code runs
    delete object;
}

}  // namespace ZEM
