// The thread's stack bounds come from the thread library once per thread;
// after that a question costs a comparison.
#include "platform/stack.h"

#include <pthread.h>

#include <cstdint>
#include <limits>

namespace ZEM::platform {

namespace {

// The thread's stack as the thread library knows it; empty if unknown.
struct SStackBounds {
    std::uintptr_t low = 0;
    std::uintptr_t high = 0;
};

SStackBounds FindStackBounds() noexcept {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return {};
    void* low = nullptr;
    std::size_t size = 0;
    const bool known = pthread_attr_getstack(&attributes, &low, &size) == 0 && size != 0;
    pthread_attr_destroy(&attributes);
    if (!known) return {};
    const auto start = reinterpret_cast<std::uintptr_t>(low);
    return {start, start + size};
}

}  // namespace

std::size_t StackLeft() noexcept {
    thread_local const SStackBounds bounds = FindStackBounds();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    // A frame outside the thread's stack runs on a stack of the host's own
    // (a fiber or coroutine), whose size the library can't know.
    if (here <= bounds.low || here > bounds.high) return std::numeric_limits<std::size_t>::max();
    return here - bounds.low;
}

}  // namespace ZEM::platform
