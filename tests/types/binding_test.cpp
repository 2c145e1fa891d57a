// From a definition's arguments to a wrapper call.
#include <set>

#include "support/records.h"
#include "zem/library.h"

namespace {

using namespace zem_support;

class BindingTest : public RecordingTest {
protected:
    static void SetUpTestSuite() { ZEM::GetLocalLibrary().RegisterTypeId("IKnown", "zem.test.IKnown"); }
};

class CService : public ZEM::IObject {};

// A reference that finds nothing is a null entry, "nullptr" an empty pointer.
TEST_F(BindingTest, MissingTargetIsANullEntryAndNullptrAnEmptyPointer) {
    Failures failures(*factory_);
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("peer", "Peer").Singleton(),
                       Bean("holder", "Widget").Method("make(obj,obj,obj,obj,obj)").Arg("bean", "missing").Arg("nullptr")
                           .Arg("bean", "peer").Arg("service", "IKnown").Arg("nullptr", "ignored text")}}});
    ASSERT_TRUE(factory_->GetBean("holder", nullptr));
    // Once a service is registered for the interface, the reference finds it.
    factory_->RegisterService("zem.test.IKnown", false, std::make_shared<CService>(), nullptr);
    ASSERT_TRUE(factory_->GetBean("holder", nullptr));
    const std::string make = "create Widget make(obj,obj,obj,obj,obj) [null, obj(empty), obj(Peer#1), ";
    EXPECT_EQ(FixtureLog::Starting("create Widget"),
              (Lines{make + "null, obj(empty)] -> Widget#2", make + "obj(foreign), obj(empty)] -> Widget#3"}));
    EXPECT_TRUE(failures.Take().empty());
}

// Only plain values and nullptr read an entry of the declared types; the
// wrapper is asked once, with the number of all arguments.
TEST_F(BindingTest, DeclaredTypesAreReadByValuesOnly) {
    const struct { const char* property; std::vector<ZEM::SArgument> arguments; const char* failure; } cases[] = {
        {"refs(-)", {Arg("bean", "peer"), Arg("service", "IKnown")}, ""},
        {"mixed(-,i32)", {Arg("bean", "peer"), Arg("int", "5")}, "Missing argument type for property 'mixed(-,i32)'"},
        {"mixed(i32,-)", {Arg("bean", "peer"), Arg("int", "5")}, ""},
        {"nul(-)", {Arg("nullptr")}, "Missing argument type for property 'nul(-)'"},
        {"nul(obj)", {Arg("nullptr")}, ""},
        {"other(s)", {Arg("int", "5")}, ""},  // a declared type that differs decides nothing
        {"two(i32,-)", {Arg("int", "1"), Arg("int", "2")}, "Missing argument type for property 'two(i32,-)'"},
        {"touch", {}, ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.property);
        auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
        Load(*factory, {{RecordingLibrary(), {Bean("peer", "Peer"), Bean("w", "Widget").Property(row.property, row.arguments)}}});
        FixtureLog::Reset();
        EXPECT_EQ(ZEM::Narrow(MessageOf([&] { factory->Exists("w"); })), row.failure);
        EXPECT_EQ(FixtureLog::Starting("types "),
                  Lines{"types Widget " + std::string(row.property) + "/" + std::to_string(row.arguments.size())});
    }
}

// A service reference to an unknown class name, or a conversion failing in
// the third of four arguments, fails the request quietly: what the arguments
// before it made is let go, and the call isn't made.
TEST_F(BindingTest, AFailedArgumentFailsTheRequestBeforeTheCall) {
    Failures failures(*factory_);
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("peer", "Peer"), Bean("w", "Widget").Method("make(obj,obj,bool,i32)").Arg("bean", "peer")
                                                 .Arg("bean", "peer").Arg("bool", "yes").Arg("int", "1"),
                       Bean("ctor", "Widget").Method("make(obj)").Arg("service", "INobodyKnows"),
                       Bean("prop", "Widget").Property("set(obj)", {Arg("service", "iknown")})}}});
    for (const char* name : {"w", "ctor", "prop"}) EXPECT_FALSE(factory_->GetBean(name, nullptr)) << name;
    EXPECT_EQ(failures.Take(), (Lines{"w: Invalid bool value", "ctor: No type id for class 'INobodyKnows' registered",
                                      "prop: No type id for class 'iknown' registered"}));
    Lines calls = Calls();
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(Lines(calls.begin(), calls.begin() + 2), (Lines{"create Peer Peer [] -> Peer#1", "create Peer Peer [] -> Peer#2"}));
    EXPECT_EQ(std::set<std::string>(calls.begin() + 2, calls.begin() + 4), (std::set<std::string>{"~Peer#1", "~Peer#2"}));
    EXPECT_EQ(Lines(calls.begin() + 4, calls.end()), (Lines{"create Widget Widget [] -> Widget#3", "~Widget#3"}));
}

}  // namespace
