// What is left of a thread's stack, on threads of known size and on a stack
// the thread library knows nothing of.
#include "platform/stack.h"

#include <gtest/gtest.h>
#include <ucontext.h>

#include <limits>
#include <vector>

#include "support/small_stack.h"

namespace {

std::size_t g_onFiber = 0;
ucontext_t g_main, g_fiber;

void OnFiber() {
    g_onFiber = ZEM::platform::StackLeft();
    swapcontext(&g_fiber, &g_main);
}

TEST(StackLeft, MeasuresTheThreadsOwnStackOnly) {
    std::size_t left = 0;
    zem_support::RunOnSmallStack([&] { left = ZEM::platform::StackLeft(); }, 256 * 1024);
    // The thread library keeps the thread's static TLS in the same mapping,
    // and a sanitizer's runtime has a large one: most, not all, is left.
    EXPECT_GT(left, 64u * 1024);
    EXPECT_LT(left, 256u * 1024);

    // A fiber's stack is none of the thread's: nothing is known of its size,
    // and nothing may be refused for it.
    std::vector<char> stack(256 * 1024);
    getcontext(&g_fiber);
    g_fiber.uc_stack.ss_sp = stack.data();
    g_fiber.uc_stack.ss_size = stack.size();
    g_fiber.uc_link = &g_main;
    makecontext(&g_fiber, OnFiber, 0);
    swapcontext(&g_main, &g_fiber);
    EXPECT_EQ(g_onFiber, std::numeric_limits<std::size_t>::max());
}

}  // namespace
