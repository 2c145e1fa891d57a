// Bean requests from many threads on one factory, while another thread lets
// the objects go: nothing is lost or counted twice, singletons stay single,
// and the census is back to no entries at the end.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "container/lifecycle.h"
#include "support/records.h"

namespace {

using namespace zem_support;

// Objects handed from the requesting threads to the one that lets them go.
class CDropQueue {
public:
    void Push(std::shared_ptr<ZEM::IObject> object) {
        {
            std::lock_guard<std::mutex> guard(mutex_);
            objects_.push_back(std::move(object));
        }
        ready_.notify_one();
    }
    void Close() {
        {
            std::lock_guard<std::mutex> guard(mutex_);
            closed_ = true;
        }
        ready_.notify_one();
    }
    // Drops objects, outside the queue's lock, until closed and empty.
    void Drain() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (true) {
            ready_.wait(lock, [&] { return closed_ || !objects_.empty(); });
            if (objects_.empty()) return;
            std::deque<std::shared_ptr<ZEM::IObject>> batch;
            batch.swap(objects_);
            lock.unlock();
            batch.clear();
            lock.lock();
        }
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::shared_ptr<ZEM::IObject>> objects_;
    bool closed_ = false;
};

class ConcurrencyTest : public RecordingTest {};

TEST_F(ConcurrencyTest, ManyThreadsAskOneFactory) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 400;
    const char* names[] = {"stress.single", "stress.each", "stress.chain"};
    auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
    Load(*factory, {{RecordingLibrary(),
                     {Bean(names[0], "Widget").Singleton().Init("init"),
                      Bean(names[1], "Gadget")
                          .Method("make(i32,obj)")
                          .Arg("int", "5")
                          .Arg("bean", names[0])
                          .Property("keep(obj)", {Arg("bean", names[0])}),
                      Bean(names[2], "Peer").DependsOn(names[1]).Autoname().Property("keep(obj)", {Arg("bean", names[1])})}}});
    FixtureLog::Enable(false);
    std::size_t livingBefore = FixtureLog::LivingObjects();

    CDropQueue queue;
    std::thread host([&] { queue.Drain(); });
    std::atomic<int> empty{0};
    std::atomic<int> foreignSingletons{0};
    std::shared_ptr<ZEM::IObject> single = factory->GetBean(names[0], nullptr);
    std::vector<std::thread> workers;
    for (int t = 0; t < kThreads; ++t) {
        workers.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                const char* name = names[(round + t) % 3];
                std::shared_ptr<ZEM::IObject> object = factory->GetBean(name, nullptr);
                if (!object) ++empty;
                if (name == names[0] && object != single) ++foreignSingletons;
                queue.Push(std::move(object));
            }
        });
    }
    for (std::thread& worker : workers) worker.join();
    queue.Close();
    host.join();

    EXPECT_EQ(empty.load(), 0);
    EXPECT_EQ(foreignSingletons.load(), 0);
    ZEM::CInstanceCensus& census = ZEM::InstanceCensus();
    EXPECT_EQ(census.Count(names[0]).alive, 1u);
    EXPECT_EQ(census.Count(names[0]).total, 1u);
    EXPECT_EQ(census.Count(names[1]).alive, 0u);
    EXPECT_EQ(census.Count(names[2]).alive, 0u);

    single.reset();
    factory->ResetFactory();
    for (const char* name : names) EXPECT_EQ(census.Count(name).total, 0u) << name;
    EXPECT_EQ(FixtureLog::LivingObjects(), livingBefore) << "every object made has ended";
}

// Threads that each work on a factory of their own do not meet at all, apart
// from the process-wide tables they share.
TEST_F(ConcurrencyTest, FactoriesOfTheirOwn) {
    FixtureLog::Enable(false);
    std::size_t livingBefore = FixtureLog::LivingObjects();
    // The class library is loaded once beforehand, so that no thread runs a
    // module's initialisers beside another's look-ups.
    {
        auto warm = std::make_shared<ZEM::CBeanFactoryImpl>();
        Load(*warm, {{RecordingLibrary(), {Bean("warm", "Widget")}}});
        ASSERT_TRUE(warm->GetBean("warm", nullptr));
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 30; ++round) {
                auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
                Load(*factory, {{RecordingLibrary(),
                                 {Bean("own.single", "Widget").Singleton().Eager().Provides("own.I"),
                                  Bean("own.each", "Gadget").Method("make(obj)").Arg("service", "zem.missing")}}});
                auto single = factory->GetService("own.I");
                if (!single || single != factory->GetBean("own.single", nullptr)) ++failures;
                if (factory->GetBean("own.each", nullptr)) ++failures;  // the service class has no type id
                if (round % 2 == 0) factory->ResetFactory();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(ZEM::InstanceCensus().Count("own.single").total, 0u);
    EXPECT_EQ(FixtureLog::LivingObjects(), livingBefore);
}

}  // namespace
