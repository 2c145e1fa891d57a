#include "types/property_pool.h"

#include <new>

#include "zem/exception.h"

namespace ZEM {

namespace {

// A free record's memory holds the link to the next free one.
union UPropertySlot {
    UPropertySlot* next;
    alignas(SProperty) unsigned char record[sizeof(SProperty)];
};

}  // namespace

CPropertyPool::~CPropertyPool() {
    for (void* block : blocks_) ::operator delete(block);
}

void CPropertyPool::AllocateBlock() {
    std::uint32_t size = firstBlock_;
    for (std::size_t i = 0; i < blocks_.size(); ++i) size = static_cast<std::uint32_t>(static_cast<float>(size) * growth_);
    void* memory = ::operator new(sizeof(UPropertySlot) * size, std::nothrow);
    if (memory == nullptr) throw KtExceptionContainer();
    try {
        blocks_.push_back(memory);
    } catch (...) {
        ::operator delete(memory);
        throw KtExceptionContainer();
    }
    auto* slots = static_cast<UPropertySlot*>(memory);
    for (std::uint32_t i = 0; i < size; ++i) {
        slots[i].next = static_cast<UPropertySlot*>(free_);
        free_ = &slots[i];
    }
}

SProperty* CPropertyPool::Take(std::string name, std::vector<SArgument> arguments) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (free_ == nullptr) AllocateBlock();
    auto* slot = static_cast<UPropertySlot*>(free_);
    free_ = slot->next;
    return new (slot->record) SProperty{std::move(name), std::move(arguments), {}};
}

void CPropertyPool::GiveBack(SProperty* record) noexcept {
    if (record == nullptr) return;
    std::lock_guard<std::recursive_mutex> guard(lock_);
    record->~SProperty();
    auto* slot = reinterpret_cast<UPropertySlot*>(record);
    slot->next = static_cast<UPropertySlot*>(free_);
    free_ = slot;
}

std::uint32_t CPropertyPool::BlockCount() {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    return static_cast<std::uint32_t>(blocks_.size());
}

}  // namespace ZEM
