// The request observer: what it sees of nested, found and failing requests,
// on several threads, and that an observer which throws breaks nothing.
#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "support/records.h"
#include "zem/diagnostics.h"

namespace {

using namespace zem_support;
using ZEM::EBeanRequestOutcome;
using ZEM::SBeanRequest;

// Each call as one line: "+name depth library" at the start,
// "-name depth singleton|new made|found|failed[: reason]" at the end.
class CLineObserver : public ZEM::IBeanRequestObserver {
public:
    void OnRequestStart(const SBeanRequest& request) override {
        std::lock_guard<std::mutex> guard(mutex_);
        threads_[request.thread] += 1;
        lines_.push_back("+" + std::string(request.name) + " " + std::to_string(request.depth) + " " +
                         (request.library == nullptr ? "host" : request.library == RecordingLibrary() ? "lib" : "?"));
        if (throwing_) throw std::runtime_error("observer failed");
    }
    void OnRequestEnd(const SBeanRequest& request) override {
        std::lock_guard<std::mutex> guard(mutex_);
        threads_[request.thread] -= 1;
        static const char* const kOutcomes[] = {"made", "found", "failed"};
        std::string line = "-" + std::string(request.name) + " " + std::to_string(request.depth) + " " +
                           (request.singleton ? "singleton " : "new ") + kOutcomes[static_cast<int>(request.outcome)];
        if (request.outcome == EBeanRequestOutcome::Failed) line += ": " + ZEM::Narrow(request.reason);
        lines_.push_back(line);
        if (throwing_) throw 42;
    }

    bool throwing_ = false;
    std::vector<std::string> lines_;
    std::map<std::thread::id, int> threads_;  // starts less ends, per thread seen
    std::mutex mutex_;
};

class RequestObserverTest : public RecordingTest {
protected:
    void SetUp() override {
        RecordingTest::SetUp();
        Load(*factory_, {{RecordingLibrary(),
                          {Bean("engine", "Widget").Singleton(), Bean("wheel", "Gadget"),
                           Bean("car", "Peer").Method("make(obj,obj)").Arg("bean", "engine").Arg("bean", "wheel"),
                           Bean("broken", "Widget").Init("failNow"), Bean("secret", "Widget").Hidden()}}});
        ZEM::SetBeanRequestObserver(*factory_, observer_);
    }
    std::shared_ptr<CLineObserver> observer_ = std::make_shared<CLineObserver>();
};

TEST_F(RequestObserverTest, NestingOutcomesAndReasons) {
    ASSERT_TRUE(factory_->GetBean("car", nullptr));
    ASSERT_TRUE(factory_->GetBean("car", nullptr));
    EXPECT_FALSE(factory_->GetBean("broken", nullptr));
    EXPECT_FALSE(factory_->GetBean("ghost", nullptr));
    EXPECT_FALSE(factory_->GetBean("secret", nullptr));
    EXPECT_EQ(observer_->lines_,
              (Lines{"+car 0 host", "+engine 1 lib", "-engine 1 singleton made", "+wheel 1 lib", "-wheel 1 new made",
                     "-car 0 new made",
                     // The second car finds the engine made by the first.
                     "+car 0 host", "+engine 1 lib", "-engine 1 singleton found", "+wheel 1 lib", "-wheel 1 new made",
                     "-car 0 new made",
                     "+broken 0 host", "-broken 0 new failed: Init method 'failNow' failed",
                     "+ghost 0 host", "-ghost 0 new failed: No definition of bean 'ghost'",
                     "+secret 0 host", "-secret 0 new failed: Bean 'secret' is not visible outside its library"}));

    observer_->lines_.clear();
    ZEM::SetBeanRequestObserver(*factory_, nullptr);
    EXPECT_TRUE(factory_->GetBean("wheel", nullptr));
    EXPECT_TRUE(observer_->lines_.empty()) << "a removed observer hears nothing";
}

TEST_F(RequestObserverTest, AThrowingObserverBreaksNoRequest) {
    observer_->throwing_ = true;
    std::shared_ptr<ZEM::IObject> car = factory_->GetBean("car", nullptr);
    ASSERT_TRUE(car);
    EXPECT_EQ(observer_->lines_.size(), 6u) << "nested requests are still seen";
    EXPECT_FALSE(factory_->GetBean("broken", nullptr));
}

TEST_F(RequestObserverTest, EachThreadIsSeenWithItsOwnId) {
    constexpr int kThreads = 4, kRounds = 50;
    std::vector<std::thread> threads;
    std::vector<std::thread::id> ids(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &ids] {
            ids[t] = std::this_thread::get_id();
            for (int round = 0; round < kRounds; ++round) factory_->GetBean("car", nullptr);
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::lock_guard<std::mutex> guard(observer_->mutex_);
    EXPECT_EQ(observer_->lines_.size(), std::size_t{kThreads * kRounds * 6});
    ASSERT_EQ(observer_->threads_.size(), std::size_t{kThreads});
    for (std::thread::id id : ids) {
        ASSERT_EQ(observer_->threads_.count(id), 1u);
        EXPECT_EQ(observer_->threads_[id], 0) << "every start has its end on the same thread";
    }
}

}  // namespace
