// Argument vectors laid out as the container lays them out for a wrapper:
// numbers at their addresses, text as an object whose only member points at
// the characters, and null entries for references that found nothing.
#pragma once

#include <memory>
#include <vector>

#include "zem/object.h"

namespace zem_test {

class CEntries {
public:
    template <class V>
    CEntries& Value(V value) {
        return Keep(std::make_shared<V>(value));
    }
    CEntries& Text(const char* text) { return Keep(std::make_shared<const char*>(text)); }
    CEntries& Missing() {  // a reference that found nothing
        entries_.push_back(nullptr);
        return *this;
    }

    std::size_t Count() const { return entries_.size(); }
    std::vector<void*>* Vector() { return entries_.empty() ? nullptr : &entries_; }

private:
    template <class P>
    CEntries& Keep(std::shared_ptr<P> cell) {
        entries_.push_back(cell.get());
        cells_.push_back(std::move(cell));
        return *this;
    }

    std::vector<std::shared_ptr<void>> cells_;
    std::vector<void*> entries_;
};

}  // namespace zem_test
