// Thread-exit slots through fiber-local storage, whose callback the system
// runs with a thread's value when that thread ends.
#include "platform/thread_exit.h"

#include <windows.h>

namespace ZEM::platform {

static_assert(sizeof(DWORD) <= sizeof(unsigned), "an index fits the slot");

CThreadExitSlot::CThreadExitSlot(void (*clean)(void*)) noexcept {
    // On x86-64 the system's calling convention is the only one, so `clean`
    // is called as it is.
    const DWORD index = ::FlsAlloc(reinterpret_cast<PFLS_CALLBACK_FUNCTION>(clean));
    valid_ = index != FLS_OUT_OF_INDEXES;
    if (valid_) key_ = static_cast<unsigned>(index);
}

bool CThreadExitSlot::Set(void* value) noexcept {
    return valid_ && ::FlsSetValue(static_cast<DWORD>(key_), value) != FALSE;
}

}  // namespace ZEM::platform
