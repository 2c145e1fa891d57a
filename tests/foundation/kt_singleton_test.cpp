// KtSingleton: one instance under a race, a failed construction that can be
// retried, nesting through the recursive lock, and the end at process exit.
#include "foundation/kt_singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

class Slow : public KtSingleton<Slow> {
public:
    static inline std::atomic<int> constructed{0};
    Slow() {
        ++constructed;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // widen the race
    }
};

class Flaky : public KtSingleton<Flaky> {
public:
    static inline bool failNext = true;
    Flaky() {
        if (failNext) {
            failNext = false;
            throw std::runtime_error("first construction fails");
        }
    }
};

class Inner : public KtSingleton<Inner> {};

class Outer : public KtSingleton<Outer> {
public:
    Outer() : inner(&Inner::Instance()) {}
    Inner* inner;
};

}  // namespace

TEST(KtSingleton, RacingThreadsGetOneInstance) {
    constexpr int kThreads = 8;
    std::latch start(kThreads);
    std::vector<Slow*> seen(kThreads, nullptr);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            seen[t] = &Slow::Instance();
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(Slow::constructed.load(), 1);
    for (Slow* instance : seen) EXPECT_EQ(instance, seen[0]);
    EXPECT_EQ(&Slow::Instance(), seen[0]);
}

TEST(KtSingleton, FailedConstructionIsRetried) {
    int live = kt_detail::SingletonLiveCount();
    EXPECT_THROW(Flaky::Instance(), std::runtime_error);
    EXPECT_EQ(kt_detail::SingletonLiveCount(), live);
    // The lock was released by the failure: another thread can take it.
    std::thread([] { std::lock_guard<std::recursive_mutex> hold(kt_detail::SingletonLock()); }).join();
    Flaky& instance = Flaky::Instance();
    EXPECT_EQ(&instance, &Flaky::Instance());
    EXPECT_EQ(kt_detail::SingletonLiveCount(), live + 1);
}

TEST(KtSingleton, ConstructorMayReachAnotherSingleton) {
    Outer& outer = Outer::Instance();
    EXPECT_EQ(outer.inner, &Inner::Instance());
}

namespace {

class FirstAtExit : public KtSingleton<FirstAtExit> {
public:
    ~FirstAtExit() override { std::fprintf(stderr, "[first gone, %d live]", kt_detail::SingletonLiveCount()); }
};

class SecondAtExit : public KtSingleton<SecondAtExit> {
public:
    ~SecondAtExit() override {
        // The registry's lock outlives every instance.
        std::lock_guard<std::recursive_mutex> hold(kt_detail::SingletonLock());
        std::fprintf(stderr, "[second gone, %d live]", kt_detail::SingletonLiveCount());
    }
};

}  // namespace

// At process end the instances go in reverse order of first use, each while
// still counted as live.
TEST(KtSingletonDeathTest, ExitTableEndsInstancesNewestFirst) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            FirstAtExit::Instance();
            SecondAtExit::Instance();
            std::fflush(stderr);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "\\[second gone, 2 live\\]\\[first gone, 1 live\\]");
}
