// The end of bean objects, and the census of living ones.
#include "container/lifecycle.h"
#include "support/records.h"

namespace {

using namespace zem_support;

class LifecycleTest : public RecordingTest {};

// Singletons go in the order of their names in the map (ascending bucket,
// newest first within one): "a" and "xi" share a bucket, below "b" and "c".
TEST_F(LifecycleTest, SingletonsGoInTheOrderOfTheirNames) {
    for (bool byReset : {true, false}) {
        SCOPED_TRACE(byReset ? "ResetFactory" : "end of the factory");
        FixtureLog::Reset();
        auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
        Library library{RecordingLibrary(), {}};
        for (const std::string& name : {"a", "b", "c", "xi"}) library.beans.push_back(Bean(name, "Widget").Singleton());
        Load(*factory, {library});
        for (const char* name : {"c", "xi", "b", "a"}) ASSERT_TRUE(factory->GetBean(name, nullptr));
        FixtureLog::Take();
        if (byReset)
            factory->ResetFactory();
        else
            factory.reset();
        EXPECT_EQ(FixtureLog::Take(), (Lines{"~Widget#4", "~Widget#2", "~Widget#3", "~Widget#1"}));
    }
}

// A held singleton outlives its entry, a reset and the factory.
TEST_F(LifecycleTest, HeldSingletonsOutliveTheirEntry) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("held", "Widget").Singleton(),
                       Bean("keeper", "Gadget").Singleton().Property("keep(obj)", {Arg("bean", "kept")}),
                       Bean("kept", "Peer").Singleton()}}});
    std::shared_ptr<ZEM::IObject> held = factory_->GetBean("held", nullptr);
    held = nullptr;
    held = factory_->GetBean("held", nullptr);
    ASSERT_TRUE(factory_->GetBean("keeper", nullptr));
    EXPECT_TRUE(FixtureLog::Starting("~").empty()) << "letting go of a singleton doesn't end it";
    FixtureLog::Take();

    // "kept" comes before "keeper" in the map, but "keeper" holds it.
    factory_->ResetFactory();
    EXPECT_EQ(FixtureLog::Take(), (Lines{"~Gadget#2", "~Peer#3"}));

    Load(*factory_, {{RecordingLibrary(), {Bean("held", "Widget").Singleton()}}});
    std::shared_ptr<ZEM::IObject> again = factory_->GetBean("held", nullptr);
    ASSERT_TRUE(again);
    EXPECT_NE(again, held) << "after a reset, the name makes another object";
    factory_.reset();
    EXPECT_EQ(FixtureLog::Starting("~"), Lines{}) << "both objects are still held";
    held.reset();
    again.reset();
    EXPECT_EQ(FixtureLog::Starting("~"), (Lines{"~Widget#1", "~Widget#4"}));
}

// The census counts living objects by bean name, across factories.
TEST_F(LifecycleTest, TheCensus) {
    ZEM::CInstanceCensus& census = ZEM::InstanceCensus();
    auto other = std::make_shared<ZEM::CBeanFactoryImpl>();
    for (auto* factory : {factory_.get(), other.get()})
        Load(*factory, {{RecordingLibrary(),
                         {Bean("census.each", "Widget"), Bean("census.single", "Gadget").Singleton(),
                          Bean("census.failing", "Peer").Init("failInit")}}});
    auto first = factory_->GetBean("census.each", nullptr);
    auto second = other->GetBean("census.each", nullptr);
    EXPECT_EQ(census.Count("census.each").alive, 2u);
    first.reset();
    EXPECT_EQ(census.Count("census.each").total, 2u);
    EXPECT_EQ(census.Count("census.each").alive, 1u);
    second.reset();
    EXPECT_EQ(census.Count("census.each").total, 0u) << "the name's entry goes with its last object";

    // A singleton handed out again is not counted again.
    factory_->GetBean("census.single", nullptr);
    factory_->GetBean("census.single", nullptr);
    EXPECT_EQ(census.Count("census.single").total, 1u);
    EXPECT_FALSE(factory_->GetBean("census.failing", nullptr));
    EXPECT_EQ(census.Count("census.failing").total, 0u);

    std::uint32_t objects = census.ObjectCount();
    factory_->ResetFactory();
    EXPECT_EQ(census.Count("census.single").total, 0u);
    EXPECT_EQ(census.ObjectCount(), objects - 1);

    // An object the census never saw is deleted all the same.
    struct SPlain : ZEM::IObject {
        ~SPlain() override { zem_fixture_record("~plain"); }
    };
    FixtureLog::Take();
    ZEM::SDeleter()(nullptr);
    ZEM::SDeleter()(new SPlain);
    EXPECT_EQ(FixtureLog::Lines(), Lines{"~plain"});
    EXPECT_EQ(census.ObjectCount(), objects - 1);
}

}  // namespace
