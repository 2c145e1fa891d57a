// Shared and private containers made and dropped on many threads at once.
#include <atomic>
#include <thread>

#include "container/lifecycle.h"
#include "container/process_objects.h"
#include "support/records.h"
#include "zem/zem.h"

namespace {

using namespace zem_support;
using ZEM::CContainer;

class CService : public ZEM::IObject {};

class ContainerThreadsTest : public RecordingTest {};

TEST_F(ContainerThreadsTest, ContainersOnManyThreads) {
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
    EXPECT_FALSE(ZEM::LockSharedFactory());
    EXPECT_EQ(FixtureLog::LivingObjects(), livingBefore);
}

}  // namespace
