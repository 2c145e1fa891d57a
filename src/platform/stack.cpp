// The thread's stack bounds come from the thread library once per thread;
// after that a question costs a comparison.
#include "platform/stack.h"

#include <pthread.h>

#include <cstdint>
#include <limits>

namespace ZEM::platform {

namespace {

constexpr std::uintptr_t kUnknown = 0;

// The lowest usable address of this thread's stack, or kUnknown.
std::uintptr_t FindStackLow() noexcept {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return kUnknown;
    void* low = nullptr;
    std::size_t size = 0;
    const bool known = pthread_attr_getstack(&attributes, &low, &size) == 0 && size != 0;
    pthread_attr_destroy(&attributes);
    return known ? reinterpret_cast<std::uintptr_t>(low) : kUnknown;
}

}  // namespace

std::size_t StackLeft() noexcept {
    // 1 marks "not asked yet" (no stack starts at address 1).
    thread_local std::uintptr_t low = 1;
    if (low == 1) low = FindStackLow();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    if (low == kUnknown || here <= low) return low == kUnknown ? std::numeric_limits<std::size_t>::max() : 0;
    return here - low;
}

}  // namespace ZEM::platform
