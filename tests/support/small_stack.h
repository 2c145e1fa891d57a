// Runs a callable on a thread of its own with a small stack, as hosts that load
// configurations on worker threads do. Tests use it to show that no document
// needs more stack than a fixed amount, whatever its nesting.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <exception>
#include <stdexcept>
#include <utility>

namespace zem_support {

// The stack a test thread gets: 64 KB in an optimised build. The sanitizer
// build adds red zones around every local and keeps all of them in memory,
// unoptimised: it gets twice as much, still far less than any document
// would need if its nesting reached the stack.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t kSmallStack = 128 * 1024;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr std::size_t kSmallStack = 128 * 1024;
#else
inline constexpr std::size_t kSmallStack = 64 * 1024;
#endif
#else
inline constexpr std::size_t kSmallStack = 64 * 1024;
#endif

// Calls `body()` on a new thread with `stackBytes` of stack and waits for it.
// An exception that leaves `body` is thrown again here.
template <class Body>
void RunOnSmallStack(Body&& body, std::size_t stackBytes = kSmallStack) {
    struct SCall {
        Body* body;
        std::exception_ptr failure;
    } call{&body, nullptr};
    auto entry = [](void* argument) -> void* {
        auto* self = static_cast<SCall*>(argument);
        try {
            (*self->body)();
        } catch (...) {
            self->failure = std::current_exception();
        }
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_t thread;
    const int started = pthread_create(&thread, &attributes, entry, &call);
    pthread_attr_destroy(&attributes);
    if (started != 0) throw std::runtime_error("pthread_create failed");
    pthread_join(thread, nullptr);
    if (call.failure) std::rethrow_exception(call.failure);
}

}  // namespace zem_support
