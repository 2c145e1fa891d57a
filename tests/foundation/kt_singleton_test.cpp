// KtSingleton: races, retries, nesting, and the end at process exit.
#include "foundation/kt_singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

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
        if (std::exchange(failNext, false)) throw std::runtime_error("first construction fails");
    }
};

class Inner : public KtSingleton<Inner> {};

class Outer : public KtSingleton<Outer> {
public:
    Outer() : inner(&Inner::Instance()) {}
    Inner* inner;
};

// At exit each reports how many instances are still counted as live.
template <int N>
class AtExit : public KtSingleton<AtExit<N>> {
public:
    ~AtExit() override {
        std::lock_guard<std::recursive_mutex> hold(kt_detail::SingletonLock());  // outlives every instance
        std::fprintf(stderr, "[%d gone, %d live]", N, kt_detail::SingletonLiveCount());
    }
};

}  // namespace

TEST(KtSingleton, RacingThreadsGetOneInstance) {
    // Both threads start asking at once. A spin rather than std::latch, whose
    // wait MinGW-w64's C++ library now and then never wakes from.
    std::atomic<int> arrived{0};
    auto arrive = [&] {
        arrived.fetch_add(1);
        while (arrived.load() < 2) std::this_thread::yield();
    };
    Slow* seen[2] = {};
    std::thread first([&] { arrive(); seen[0] = &Slow::Instance(); });
    std::thread second([&] { arrive(); seen[1] = &Slow::Instance(); });
    first.join();
    second.join();
    EXPECT_EQ(Slow::constructed.load(), 1);
    EXPECT_EQ(seen[0], seen[1]);
}

TEST(KtSingleton, FailedConstructionIsRetriedAndNestingWorks) {
    int live = kt_detail::SingletonLiveCount();
    EXPECT_THROW(Flaky::Instance(), std::runtime_error);
    EXPECT_EQ(kt_detail::SingletonLiveCount(), live);
    // The lock was released by the failure: another thread can take it.
    std::thread([] { std::lock_guard<std::recursive_mutex> hold(kt_detail::SingletonLock()); }).join();
    EXPECT_EQ(&Flaky::Instance(), &Flaky::Instance());
    EXPECT_EQ(kt_detail::SingletonLiveCount(), live + 1);
    EXPECT_EQ(Outer::Instance().inner, &Inner::Instance());
}

// At process end the instances go in reverse order of first use, each while
// still counted as live.
TEST(KtSingletonDeathTest, ExitTableEndsInstancesNewestFirst) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            AtExit<1>::Instance();
            AtExit<2>::Instance();
            std::fflush(stderr);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "\\[2 gone, 2 live\\]\\[1 gone, 1 live\\]");
}
