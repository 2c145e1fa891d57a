// How much stack the calling thread has left. Bean requests nest through
// bean code, so a chain of references can be as deep as a document makes it:
// the request that would run out of stack gives up instead.
#pragma once

#include <cstddef>

namespace ZEM::platform {

// Bytes between the caller's frame and the lowest address of the thread's
// stack; the largest size_t if the thread's stack can't be found out, or the
// caller runs on another stack (a fiber's).
std::size_t StackLeft() noexcept;

}  // namespace ZEM::platform
