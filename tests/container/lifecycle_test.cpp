// The end of bean objects, and the census of living ones.
#include "container/lifecycle.h"
#include "support/records.h"

namespace {

using namespace zem_support;

class LifecycleTest : public RecordingTest {};

// Singletons go in the order of their names in the map (ascending bucket,
// newest first within one): "a" and "xi" share a bucket, below "b" and "c".
// A reset also forgets definitions, services and wrappers, and may come
// before any configuration. (A singleton held by the host outlives both:
// tests/kit/lifecycle_test.cpp.)
TEST_F(LifecycleTest, SingletonsGoInTheOrderOfTheirNames) {
    for (bool byReset : {true, false}) {
        SCOPED_TRACE(byReset ? "ResetFactory" : "end of the factory");
        FixtureLog::Reset();
        auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
        factory->ResetFactory();
        Library library{RecordingLibrary(), {Bean("s", "Gadget").Provides("I")}};
        for (const std::string& name : {"a", "b", "c", "xi"}) library.beans.push_back(Bean(name, "Widget").Singleton());
        Load(*factory, {library});
        for (const char* name : {"c", "xi", "b", "a"}) ASSERT_TRUE(factory->GetBean(name, nullptr));
        FixtureLog::Take();
        if (byReset)
            factory->ResetFactory();
        else
            factory.reset();
        EXPECT_EQ(FixtureLog::Take(), (Lines{"~Widget#4", "~Widget#2", "~Widget#3", "~Widget#1"}));
        if (!byReset) continue;
        EXPECT_FALSE(factory->Exists("a"));
        EXPECT_EQ(factory->GetServiceCount("I") + factory->InstanceCount() + factory->WrapperCount(), 0u);
    }
}

// "kept" comes before "keeper" in the map, but "keeper" holds it.
TEST_F(LifecycleTest, ASingletonHeldByAnotherEndsAfterIt) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("keeper", "Gadget").Singleton().Property("keep(obj)", {Arg("bean", "kept")}),
                       Bean("kept", "Peer").Singleton()}}});
    ASSERT_TRUE(factory_->GetBean("keeper", nullptr));
    FixtureLog::Take();
    factory_->ResetFactory();
    EXPECT_EQ(FixtureLog::Take(), (Lines{"~Gadget#1", "~Peer#2"}));
}

// The census counts living objects by bean name, across factories. (Singletons
// counted once and failed objects not at all: bean_creation_test and
// concurrency_test.)
TEST_F(LifecycleTest, TheCensus) {
    ZEM::CInstanceCensus& census = ZEM::InstanceCensus();
    auto other = std::make_shared<ZEM::CBeanFactoryImpl>();
    for (auto* factory : {factory_.get(), other.get()})
        Load(*factory, {{RecordingLibrary(), {Bean("census.each", "Widget")}}});
    auto first = factory_->GetBean("census.each", nullptr);
    auto second = other->GetBean("census.each", nullptr);
    EXPECT_EQ(census.Count("census.each").alive, 2u);
    first.reset();
    EXPECT_EQ(census.Count("census.each").total, 2u);
    EXPECT_EQ(census.Count("census.each").alive, 1u);
    second.reset();
    EXPECT_EQ(census.Count("census.each").total, 0u) << "the name's entry goes with its last object";

    // An object the census never saw is deleted all the same.
    struct SPlain : ZEM::IObject {
        ~SPlain() override { zem_fixture_record("~plain"); }
    };
    const std::uint32_t objects = census.ObjectCount();
    FixtureLog::Take();
    ZEM::SDeleter()(nullptr);
    ZEM::SDeleter()(new SPlain);
    EXPECT_EQ(FixtureLog::Lines(), Lines{"~plain"});
    EXPECT_EQ(census.ObjectCount(), objects);
}

}  // namespace
