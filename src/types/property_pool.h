// The process-wide pool of the SProperty records that bound bean types keep.
// Records are made in bursts: the first block holds 1,000, each later block
// 1.5 times the one before; a record given back is reused before the heap is
// touched again, and blocks stay until the library is unloaded.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "config/records.h"

namespace ZEM {

class CPropertyPool {
public:
    CPropertyPool() = default;
    ~CPropertyPool();
    CPropertyPool(const CPropertyPool&) = delete;
    CPropertyPool& operator=(const CPropertyPool&) = delete;

    // A record built from `name` and `arguments`; throws KtExceptionContainer
    // when no block can be had.
    SProperty* Take(std::string name, std::vector<SArgument> arguments);
    // Destroys the record and puts it at the head of the free list.
    void GiveBack(SProperty* record) noexcept;

    std::uint32_t BlockCount();

private:
    void AllocateBlock();

    std::recursive_mutex lock_;
    std::vector<void*> blocks_;
    void* free_ = nullptr;
    std::uint32_t firstBlock_ = 1000;
    float growth_ = 1.5f;
};

CPropertyPool& PropertyPool();

}  // namespace ZEM
