// What is left of a thread's stack, on a thread of known size and on a
// fiber, whose stack the system keeps apart from the thread's.
#include "platform/stack.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <limits>

namespace {

struct SMeasured {
    std::size_t onThread = 0;
    std::size_t onFiber = 0;
    void* threadFiber = nullptr;
};

void CALLBACK OnFiber(void* parameter) {
    auto* measured = static_cast<SMeasured*>(parameter);
    measured->onFiber = ZEM::platform::StackLeft();
    ::SwitchToFiber(measured->threadFiber);
}

DWORD WINAPI OnThread(void* parameter) {
    auto* measured = static_cast<SMeasured*>(parameter);
    measured->onThread = ZEM::platform::StackLeft();
    measured->threadFiber = ::ConvertThreadToFiber(nullptr);
    void* fiber = ::CreateFiber(256 * 1024, OnFiber, measured);
    if (measured->threadFiber != nullptr && fiber != nullptr) ::SwitchToFiber(fiber);
    if (fiber != nullptr) ::DeleteFiber(fiber);
    ::ConvertFiberToThread();
    return 0;
}

TEST(StackLeft, MeasuresTheThreadsOwnStackOnly) {
    SMeasured measured;
    // Windows gives no thread less than the program's default reservation.
    HANDLE thread = ::CreateThread(nullptr, 4 << 20, OnThread, &measured, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    EXPECT_GT(measured.onThread, 3u << 20);
    EXPECT_LT(measured.onThread, 4u << 20);
    // A fiber's stack is not the thread's: the system's bounds of the thread
    // don't hold it, so nothing is known of its size and nothing is refused.
    EXPECT_EQ(measured.onFiber, std::numeric_limits<std::size_t>::max());
}

}  // namespace
