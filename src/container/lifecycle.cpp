#include "container/lifecycle.h"

namespace ZEM {

void CInstanceCensus::Add(const char* name, IObject* object) {
    std::lock_guard<std::mutex> guard(lock_);
    NameTable::Node& entry = byName_.FindOrInsertNode(std::string_view(name));
    ++entry.value.alive;
    ++entry.value.total;
    byObject_.FindOrInsert(object) = &entry;
}

void CInstanceCensus::Remove(IObject* object) {
    std::lock_guard<std::mutex> guard(lock_);
    NameTable::Node* entry = nullptr;
    if (!byObject_.Erase(object, &entry)) return;
    if (--entry->value.alive == 0) byName_.Erase(std::string_view(entry->key));
}

CInstanceCensus::SCounters CInstanceCensus::Count(const std::string& name) {
    std::lock_guard<std::mutex> guard(lock_);
    const SCounters* counters = byName_.Find(std::string_view(name));
    return counters != nullptr ? *counters : SCounters{};
}

std::uint32_t CInstanceCensus::NameCount() {
    std::lock_guard<std::mutex> guard(lock_);
    return byName_.Size();
}

std::uint32_t CInstanceCensus::ObjectCount() {
    std::lock_guard<std::mutex> guard(lock_);
    return byObject_.Size();
}

void SDeleter::operator()(IObject* object) const noexcept {
    InstanceCensus().Remove(object);  // over before any bean code runs
    delete object;
}

}  // namespace ZEM
