// Bean requests from many threads on one factory while another thread lets
// the objects go: singletons stay single, and the census ends empty.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

#include "container/lifecycle.h"
#include "support/records.h"

namespace {

using namespace zem_support;

class ConcurrencyTest : public RecordingTest {};

TEST_F(ConcurrencyTest, ManyThreadsAskOneFactory) {
    const char* names[] = {"stress.single", "stress.each", "stress.chain"};
    Load(*factory_, {{RecordingLibrary(),
                     {Bean(names[0], "Widget").Singleton().Init("init"),
                      Bean(names[1], "Gadget").Method("make(i32,obj)").Arg("int", "5").Arg("bean", names[0])
                          .Property("keep(obj)", {Arg("bean", names[0])}),
                      Bean(names[2], "Peer").DependsOn(names[1]).Autoname().Property("keep(obj)", {Arg("bean", names[1])})}}});
    FixtureLog::Enable(false);
    std::size_t livingBefore = FixtureLog::LivingObjects();

    // A host thread lets the objects go, outside the queue's lock.
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<std::shared_ptr<ZEM::IObject>> queue;
    bool closed = false;
    std::thread host([&] {
        std::unique_lock<std::mutex> lock(mutex);
        while (ready.wait(lock, [&] { return closed || !queue.empty(); }), !queue.empty()) {
            auto batch = std::exchange(queue, {});
            lock.unlock();
            batch.clear();
            lock.lock();
        }
    });
    std::atomic<int> wrong{0};
    std::shared_ptr<ZEM::IObject> single = factory_->GetBean(names[0], nullptr);
    std::vector<std::thread> workers;
    for (int t = 0; t < 8; ++t) {
        workers.emplace_back([&, t] {
            for (int round = 0; round < 400; ++round) {
                const char* name = names[(round + t) % 3];
                std::shared_ptr<ZEM::IObject> object = factory_->GetBean(name, nullptr);
                if (!object || (name == names[0] && object != single)) ++wrong;
                std::lock_guard<std::mutex> guard(mutex);
                queue.push_back(std::move(object));
                ready.notify_one();
            }
        });
    }
    for (std::thread& worker : workers) worker.join();
    {
        std::lock_guard<std::mutex> guard(mutex);
        closed = true;
        ready.notify_one();
    }
    host.join();

    EXPECT_EQ(wrong.load(), 0);
    ZEM::CInstanceCensus& census = ZEM::InstanceCensus();
    EXPECT_EQ(census.Count(names[0]).total, 1u);
    EXPECT_EQ(census.Count(names[1]).alive + census.Count(names[2]).alive, 0u);
    single.reset();
    factory_->ResetFactory();
    for (const char* name : names) EXPECT_EQ(census.Count(name).total, 0u) << name;
    EXPECT_EQ(FixtureLog::LivingObjects(), livingBefore) << "every object made has ended";
}

}  // namespace
