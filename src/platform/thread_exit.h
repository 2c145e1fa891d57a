// Per-thread state that ends with its thread. A C++ thread_local with a
// destructor registers that destructor at the thread's first use, and the
// runtime aborts the process when there is no memory for the registration;
// a slot set here fails instead, and the caller does without.
#pragma once

namespace ZEM::platform {

class CThreadExitSlot {
public:
    // `clean` gets each thread's value when that thread ends.
    explicit CThreadExitSlot(void (*clean)(void*)) noexcept;
    // Trivial, so that a static slot registers nothing at exit either: the
    // slot stays for the life of the process.
    ~CThreadExitSlot() = default;
    CThreadExitSlot(const CThreadExitSlot&) = delete;
    CThreadExitSlot& operator=(const CThreadExitSlot&) = delete;

    // Makes `value` the calling thread's; false if the system has no room.
    bool Set(void* value) noexcept;

private:
    unsigned key_ = 0;
    bool valid_ = false;
};

}  // namespace ZEM::platform
