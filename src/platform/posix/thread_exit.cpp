// Thread-exit slots through the POSIX thread-specific data keys, whose
// destructors run when a thread ends.
#include "platform/thread_exit.h"

#include <pthread.h>

namespace ZEM::platform {

static_assert(sizeof(pthread_key_t) <= sizeof(unsigned), "a key fits the slot");

CThreadExitSlot::CThreadExitSlot(void (*clean)(void*)) noexcept {
    pthread_key_t key;
    valid_ = ::pthread_key_create(&key, clean) == 0;
    if (valid_) key_ = static_cast<unsigned>(key);
}

bool CThreadExitSlot::Set(void* value) noexcept {
    return valid_ && ::pthread_setspecific(static_cast<pthread_key_t>(key_), value) == 0;
}

}  // namespace ZEM::platform
