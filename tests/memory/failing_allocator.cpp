// The replaced global allocation functions and the malloc wrappers (linked
// with --wrap) behind failing_allocator.h. Unarmed, they only pass through.
#include "memory/failing_allocator.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* pointer, std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
}

namespace zem_test {
namespace {

bool g_armed = false;
std::uint64_t g_failAt = 0;
std::uint64_t g_seen = 0;
bool g_failed = false;

// True if this allocation is the one to fail.
bool FailThisOne() {
    if (!g_armed) return false;
    if (++g_seen != g_failAt) return false;
    g_failed = true;
    return true;
}

// `alignment` 0 for the plain forms. An aligned block comes from malloc with
// room to align it, its own address kept just below the aligned one, so that
// every system's C library serves it alike.
void* Allocate(std::size_t size, std::size_t alignment) {
    if (FailThisOne()) return nullptr;
    if (size == 0) size = 1;
    if (alignment == 0) return __real_malloc(size);
    if (alignment < alignof(void*)) alignment = alignof(void*);
    void* block = __real_malloc(size + alignment + sizeof(void*));
    if (block == nullptr) return nullptr;
    const std::uintptr_t aligned =
        (reinterpret_cast<std::uintptr_t>(block) + sizeof(void*) + alignment - 1) & ~(alignment - 1);
    reinterpret_cast<void**>(aligned)[-1] = block;
    return reinterpret_cast<void*>(aligned);
}

void FreeAligned(void* memory) {
    if (memory != nullptr) std::free(static_cast<void**>(memory)[-1]);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
    void* memory = Allocate(size, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void ArmAllocationFailure(std::uint64_t nth) {
    g_failAt = nth;
    g_seen = 0;
    g_failed = false;
    g_armed = true;
}

std::uint64_t DisarmAllocationFailure() {
    g_armed = false;
    return g_seen;
}

bool AllocationFailed() { return g_failed; }

}  // namespace zem_test

extern "C" {
void* __wrap_malloc(std::size_t size) { return zem_test::FailThisOne() ? nullptr : __real_malloc(size); }
void* __wrap_realloc(void* pointer, std::size_t size) {
    return zem_test::FailThisOne() ? nullptr : __real_realloc(pointer, size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return zem_test::FailThisOne() ? nullptr : __real_calloc(count, size);
}
}

using zem_test::Allocate;
using zem_test::AllocateOrThrow;
using zem_test::FreeAligned;

void* operator new(std::size_t size) { return AllocateOrThrow(size, 0); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size, 0); }
void* operator new(std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, static_cast<std::size_t>(a)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, 0); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size, 0); }
void* operator new(std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { FreeAligned(p); }
void operator delete[](void* p, std::align_val_t) noexcept { FreeAligned(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { FreeAligned(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { FreeAligned(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { FreeAligned(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { FreeAligned(p); }
