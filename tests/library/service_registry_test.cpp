// The service registry of a factory.
#include "fixtures/common/recording_wrapper.h"
#include "library/release_table.h"
#include "support/records.h"

namespace {

using namespace zem_support;
using ZEM::IObject;

// Service objects that note their end in the fixture log as "~name".
std::shared_ptr<IObject> Probe(const std::string& name) { return std::make_shared<CRecordedObject>(name); }
std::string NameOf(const std::shared_ptr<IObject>& object) { return object ? FixtureLog::TagOf(object.get()) : "empty"; }

// An owning maker that counts its calls and names each object it makes.
std::function<std::unique_ptr<IObject>()> Maker(const std::string& prefix, int& calls) {
    return [prefix, &calls] { return std::make_unique<CRecordedObject>(prefix + std::to_string(++calls)); };
}

class ServiceRegistryTest : public RecordingTest {
protected:
    Lines List(const char* typeId) {
        Lines names;
        for (std::uint32_t i = 0; i < factory_->GetServiceCount(typeId); ++i)
            names.push_back(NameOf(factory_->GetService(typeId, i)));
        return names;
    }
    std::wstring Release(std::shared_ptr<IObject> object) {
        return MessageOf([&] { factory_->ReleaseInstance(object); });
    }
};

// A host's registrations go to the back, or to the front when asked; a
// configuration's services stand before them, a later one's first.
TEST_F(ServiceRegistryTest, OrderOfTheList) {
    for (const char* name : {"first", "second"}) factory_->RegisterService("I", false, Probe(name), nullptr);
    factory_->RegisterService("I", true, Probe("front"), nullptr);
    EXPECT_EQ(List("I"), (Lines{"front", "first", "second"}));
    EXPECT_EQ(NameOf(factory_->GetService("I", 3)), "empty");
    EXPECT_EQ(NameOf(factory_->GetService("I", 0xFFFFFFFFu)), "empty");
    EXPECT_EQ(factory_->GetServiceCount("unknown"), 0u);
    EXPECT_FALSE(factory_->GetService("i")) << "type ids compare with case";

    Load(*factory_, {{RecordingLibrary(), {Bean("one", "Widget").Provides("I").Singleton()}}});
    Load(*factory_, {{RecordingLibrary(), {Bean("two", "Gadget").Provides("I").Singleton()}}});
    EXPECT_EQ(List("I"), (Lines{"Gadget#1", "Widget#2", "front", "first", "second"}));
}

TEST_F(ServiceRegistryTest, TheSameInstanceTwiceAndRelease) {
    auto probe = Probe("p");
    factory_->RegisterService("A", false, probe, nullptr);
    factory_->RegisterService("B", false, probe, nullptr);  // another type id: a second entry
    EXPECT_EQ(MessageOf([&] { factory_->RegisterService("A", false, probe, nullptr); }),
              L"Service instance is already registered for interface 'A'");
    EXPECT_EQ(factory_->GetServiceCount("A"), 1u);
    // With a registration given, nothing is tested.
    auto registration = factory_->RegisterService("C", false, probe, nullptr);
    factory_->RegisterService("C", false, probe, registration);
    EXPECT_EQ(factory_->GetServiceCount("C"), 2u);

    // One release takes the instance out of every list, the first match of each.
    factory_->ReleaseInstance(probe);
    EXPECT_EQ(factory_->GetServiceCount("A") + factory_->GetServiceCount("B"), 0u);
    EXPECT_EQ(factory_->GetServiceCount("C"), 1u);
    factory_->ReleaseInstance(probe);
    EXPECT_EQ(factory_->GetServiceCount("C"), 0u);
    EXPECT_EQ(Release(probe), L"Service instance was not registered");

    // Strangers and what a non-singleton registration made are not registered;
    // an empty pointer matches each list's first registration without instance.
    int calls = 0;
    factory_->RegisterService("M", false, Maker("m", calls), nullptr);
    factory_->RegisterService("M", false, Maker("n", calls), nullptr);
    factory_->RegisterService("N", false, Probe("kept"), nullptr);
    EXPECT_EQ(Release(Probe("stranger")), L"Service instance was not registered");
    EXPECT_EQ(Release(factory_->GetService("M")), L"Service instance was not registered");
    EXPECT_EQ(factory_->GetServiceCount("M"), 2u) << "a failed release changes nothing";
    factory_->ReleaseInstance(nullptr);
    EXPECT_EQ(List("N"), Lines{"kept"});
    EXPECT_EQ(List("M"), Lines{"n2"});
}

// A singleton registration keeps its object for all its lists until a release.
TEST_F(ServiceRegistryTest, ARegistrationKeptByASingleton) {
    int calls = 0, unused = 0;
    auto registration = factory_->RegisterService("A", false, Maker("made", calls), nullptr);
    registration->SetSingleton();
    // The second maker is dropped: the registration given is what goes in.
    EXPECT_EQ(factory_->RegisterService("B", true, Maker("other", unused), registration), registration);
    std::shared_ptr<IObject> viaA = factory_->GetService("A"), viaB = factory_->GetService("B");
    EXPECT_EQ(viaA, viaB);
    EXPECT_EQ(NameOf(viaA), "made1");
    EXPECT_EQ(calls + unused, 1);

    factory_->ReleaseInstance(viaA);
    EXPECT_EQ(factory_->GetServiceCount("A") + factory_->GetServiceCount("B"), 0u);
    registration.reset();
    viaB.reset();
    EXPECT_TRUE(FixtureLog::Starting("~").empty()) << "the host still holds the object";
    viaA.reset();
    EXPECT_EQ(FixtureLog::Starting("~"), Lines{"~made1"});
}

// A maker that gives nothing or throws leaves a singleton without instance
// for the next request to try again; no maker at all is an error.
TEST_F(ServiceRegistryTest, MakersThatGiveNothingOrThrow) {
    int calls = 0;
    bool give = false;
    auto maker = [&]() -> std::unique_ptr<IObject> {
        if (++calls == 2) throw ZEM::CException(L"maker failed");
        return give ? std::make_unique<CRecordedObject>("late") : nullptr;
    };
    factory_->RegisterService("A", false, maker, nullptr)->SetSingleton();
    EXPECT_FALSE(factory_->GetService("A"));
    EXPECT_EQ(MessageOf([&] { factory_->GetService("A"); }), L"maker failed");
    give = true;
    auto object = factory_->GetService("A");
    EXPECT_EQ(NameOf(object), "late");
    EXPECT_EQ(factory_->GetService("A"), object);
    EXPECT_EQ(calls, 3);

    factory_->RegisterService("B", false, std::shared_ptr<IObject>(), nullptr);
    EXPECT_EQ(factory_->GetServiceCount("B"), 1u);
    EXPECT_EQ(MessageOf([&] { factory_->GetService("B"); }), L"No constructor for service type registered");
}

// A release function runs at the last pointer of a made object, before its
// deletion, also after the factory has gone; not for objects made before it
// was set, nor for registrations by instance.
TEST_F(ServiceRegistryTest, ReleaseFunctions) {
    std::size_t tracked = ZEM::ReleaseTable().Size();
    int calls = 0, lateCalls = 0, releases = 0;
    factory_->RegisterService("A", false, Maker("owned", calls), nullptr)->SetReleaseFunction([](IObject* object) {
        zem_fixture_record(("release " + FixtureLog::TagOf(object)).c_str());
    });
    auto late = factory_->RegisterService("L", false, Maker("late", lateCalls), nullptr);
    std::shared_ptr<IObject> early = factory_->GetService("L");
    late->SetReleaseFunction([&](IObject*) { ++releases; });
    early.reset();
    factory_->GetService("L").reset();
    factory_->RegisterService("B", false, Probe("instance"), nullptr)->SetReleaseFunction([&](IObject*) { ++releases; });
    factory_->GetService("B").reset();

    // One that throws ends no process: the object goes all the same, and a
    // release inside a call of the factory is told to its failure handler.
    {
        Failures failures(*factory_);
        int thrown = 0;
        auto throwing = factory_->RegisterService("T", false, Maker("thrown", thrown), nullptr);
        throwing->SetSingleton().SetReleaseFunction([](IObject*) { throw ZEM::CException(L"the device is gone"); });
        IObject* held = factory_->GetService("T").get();
        throwing.reset();
        FixtureLog::Take();
        factory_->ReleaseInstance(std::shared_ptr<IObject>(std::shared_ptr<IObject>(), held));  // owning nothing
        EXPECT_EQ(FixtureLog::Take(), Lines{"~thrown1"});
        EXPECT_EQ(failures.Take(), Lines{": Release function failed: the device is gone"});
    }

    std::shared_ptr<IObject> object = factory_->GetService("A");
    ASSERT_TRUE(object);
    EXPECT_EQ(ZEM::ReleaseTable().Size(), tracked + 1);
    FixtureLog::Take();
    factory_.reset();
    EXPECT_EQ(FixtureLog::Take(), Lines{"~instance"});
    object.reset();
    EXPECT_EQ(FixtureLog::Take(), (Lines{"release owned1", "~owned1"}));
    EXPECT_EQ(ZEM::ReleaseTable().Size(), tracked);
    EXPECT_EQ(releases, 1) << "only the object made after the function was set goes through it";
}

// A bean that provides interfaces: one registration on all their lists, its
// object the bean's singleton; an unexported one gives an empty service.
TEST_F(ServiceRegistryTest, ServicesOfBeans) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("single", "Widget").Singleton().Provides("A").Provides("B").Provides("C"),
                       Bean("many", "Gadget").Provides("M"), Bean("hidden", "Peer").Hidden().Provides("H"),
                       Bean("plain", "Peer")}}});
    std::shared_ptr<IObject> viaA = factory_->GetService("A");
    ASSERT_TRUE(viaA);
    for (const char* id : {"B", "C"}) EXPECT_EQ(factory_->GetService(id), viaA) << id;
    EXPECT_EQ(factory_->GetBean("single", nullptr), viaA);
    factory_->ReleaseInstance(viaA);
    EXPECT_EQ(factory_->GetServiceCount("A") + factory_->GetServiceCount("B") + factory_->GetServiceCount("C"), 0u);
    EXPECT_EQ(factory_->InstanceCount(), 1u) << "the bean's own singleton entry stays";

    auto first = factory_->GetService("M");
    ASSERT_TRUE(first);
    EXPECT_NE(factory_->GetService("M"), first) << "not a singleton: a new object each time";
    EXPECT_EQ(factory_->GetServiceCount("H"), 1u);
    EXPECT_FALSE(factory_->GetService("H"));
}

}  // namespace
