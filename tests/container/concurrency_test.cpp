// Many threads at once: bean requests on one factory while another thread
// lets the objects go, and shared and private containers made and dropped.
// Singletons stay single, the census ends empty, and every object ends.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

#include "container/lifecycle.h"
#include "container/process_objects.h"
#include "support/records.h"
#include "zem/zem.h"

namespace {

using namespace zem_support;
using ZEM::CContainer;

class ConcurrencyTest : public RecordingTest {};
class CService : public ZEM::IObject {};

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

// Handles of the shared factory, and private factories with services of
// their own loaded, reset and dropped, on several threads at once.
TEST_F(ConcurrencyTest, ContainersOnManyThreads) {
    FixtureLog::Enable(false);
    std::size_t livingBefore = FixtureLog::LivingObjects();
    // The shared factory and the class library come first, on this thread.
    CContainer shared(Document({{RecordingLibrary(),
                                 {Bean("threads.single", "Widget").Singleton().Eager(), Bean("threads.each", "Gadget")}}})
                          .c_str(),
                      true);
    std::string privateText =
        Document({{RecordingLibrary(),
                   {Bean("own.single", "Widget").Singleton().Eager(),
                    Bean("own.each", "Peer").Method("make(obj)").Arg("bean", "own.single").Init("init")}}});
    std::shared_ptr<ZEM::IObject> single = shared.GetBean("threads.single");
    ASSERT_TRUE(single);

    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 25; ++round) {
                CContainer handle;  // the shared factory, alive all along
                CContainer copy = handle;
                if (copy.GetBean("threads.single") != single || !copy.GetBean("threads.each")) ++failures;

                CContainer own(privateText.c_str());
                if (&own.Factory() == &handle.Factory()) ++failures;
                auto service = std::make_shared<CService>();
                own.Factory().RegisterService("threads.I", round % 2 == 0, service, nullptr);
                if (own.Factory().GetService("threads.I") != service || !own.GetBean("own.each")) ++failures;
                own.ReleaseInstance(service);
                if (own.Factory().GetServiceCount("threads.I") != 0) ++failures;
                if (t % 2 == 0) own.Reset();
                CContainer moved(std::move(own));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(ZEM::InstanceCensus().Count("own.single").alive, 0u) << "every private factory has gone";
    EXPECT_EQ(ZEM::InstanceCensus().Count("threads.each").alive, 0u);
    single.reset();
    shared = CContainer(nullptr);
    EXPECT_FALSE(ZEM::LockSharedFactory()) << "the shared factory lives as long as its handles";
    EXPECT_EQ(FixtureLog::LivingObjects(), livingBefore);
    EXPECT_FALSE(CContainer().Exists("threads.single")) << "the next shared factory is a new one";
}

// A class library that registers its classes as it loads for one container,
// while another container resolves `ref service` through the same local
// library: the registrations and the look-ups must not race.
TEST_F(ConcurrencyTest, LocalLibraryRegistrationsBesideServiceLookups) {
    ZEM::ILibraryConfiguration& local = ZEM::GetLocalLibrary();
    local.RegisterTypeId("IThreadKnown", "zem.test.IThreadKnown");
    factory_->RegisterService("zem.test.IThreadKnown", false, std::make_shared<CService>(), nullptr);
    Load(*factory_, {{RecordingLibrary(), {Bean("needs", "Widget").Method("make(obj)").Arg("service", "IThreadKnown")}}});
    FixtureLog::Enable(false);

    std::thread loading([&] {
        for (int i = 0; i < 2000; ++i) {
            const std::string name = "IThread" + std::to_string(i);
            local.RegisterTypeId(name.c_str(), name.c_str());
            local.RegisterWrapperMaker("create_" + name + "_Wrapper", nullptr);
            local.UnregisterWrapperMaker("create_" + name + "_Wrapper");
        }
    });
    int made = 0;
    for (int i = 0; i < 500; ++i) made += factory_->GetBean("needs", nullptr) ? 1 : 0;
    loading.join();
    EXPECT_EQ(made, 500);
}

}  // namespace
