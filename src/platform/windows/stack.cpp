// The thread's stack bounds come from the system once per thread; after that
// a question costs a comparison.
#include "platform/stack.h"

#include <windows.h>

#include <cstdint>
#include <limits>

namespace ZEM::platform {

namespace {

struct SStackBounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0;
};

SStackBounds FindStackBounds() noexcept {
    ULONG_PTR low = 0, high = 0;
    // The low end is that of the whole reservation: the guard pages at its
    // bottom are what the request depth's margin is for.
    ::GetCurrentThreadStackLimits(&low, &high);
    return {static_cast<std::uintptr_t>(low), static_cast<std::uintptr_t>(high)};
}

}  // namespace

std::size_t StackLeft() noexcept {
    thread_local const SStackBounds bounds = FindStackBounds();
    volatile char marker = 0;
    const auto here = reinterpret_cast<std::uintptr_t>(&marker);
    // A frame outside the thread's stack runs on a stack of the host's own
    // (a fiber), whose size the library can't know.
    if (here <= bounds.low || here > bounds.high) return std::numeric_limits<std::size_t>::max();
    return here - bounds.low;
}

}  // namespace ZEM::platform
