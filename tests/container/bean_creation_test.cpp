// Making beans, watched through the calls the fixture wrappers record.
#include "container/lifecycle.h"
#include "support/records.h"
#include "zem/class.h"

namespace {

using namespace zem_support;

class BeanCreationTest : public RecordingTest {};

// Dependencies, constructor arguments with their beans, the object, SetName,
// the properties in order, the init method; dependencies held until the end.
// A reference to a non-singleton gives each call a target of its own.
TEST_F(BeanCreationTest, TheOrderOfOneBeansSetUp) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("main", "Widget").Method("make(i32,obj)").Arg("int", "7").Arg("bean", "peer").Autoname()
                           .Property("first(obj)", {Arg("bean", "peer")}).Property("second(s)", {Arg("char*", "x")})
                           .Init("init").Exit("close").DependsOn("dep").DependsOn("missing"),
                       Bean("dep", "Gadget"), Bean("peer", "Peer")}}});
    std::shared_ptr<ZEM::IObject> main = factory_->GetBean("main", nullptr);
    ASSERT_TRUE(main);
    EXPECT_EQ(Calls(),
              (Lines{"create Gadget Gadget [] -> Gadget#1", "create Peer Peer [] -> Peer#2",
                     "create Widget make(i32,obj) [7, obj(Peer#2)] exit=close deps=[Gadget#1, empty] -> Widget#3",
                     "~Peer#2", "invoke Widget Widget#3 SetName [\"main\"] -> true", "create Peer Peer [] -> Peer#4",
                     "invoke Widget Widget#3 first(obj) [obj(Peer#4)] -> true", "~Peer#4",
                     "invoke Widget Widget#3 second(s) [\"x\"] -> true", "invoke Widget Widget#3 init [] -> true",
                     "~Gadget#1"}));
    main.reset();
    EXPECT_EQ(FixtureLog::Take(), Lines{"~Widget#3"});
}

// A new object with its whole set-up at every request, a singleton once.
// Wrappers are keyed by the class text: two spellings are two wrappers.
TEST_F(BeanCreationTest, NewObjectsSingletonsAndWrappers) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("each", "Widget").Method("make(d,s)").Arg("double", "0.5").Arg("char*", "c")
                           .Property("p(i32)", {Arg("int", "1")}).Property("q(s,u8)", {Arg("char*", "x"), Arg("uint8_t", "300")}),
                       Bean("once", "Gadget").Property("p(i32)", {Arg("int", "2")}).Singleton(), Bean("lower", "widget"),
                       Bean("again", "Widget")}}});
    auto first = factory_->GetBean("each", nullptr);
    factory_->GetBean("each", nullptr);
    auto once = factory_->GetBean("once", nullptr);
    EXPECT_EQ(factory_->GetBean("once", nullptr), once);
    Lines each;
    for (int serial : {1, 2}) {
        const std::string tag = "Widget#" + std::to_string(serial);
        each.insert(each.end(), {"create Widget make(d,s) [0.5, \"c\"] -> " + tag,
                                 "invoke Widget " + tag + " p(i32) [1] -> true",
                                 "invoke Widget " + tag + " q(s,u8) [\"x\", 44] -> true"});
    }
    each.insert(each.end(), {"~Widget#2", "create Gadget Gadget [] -> Gadget#3", "invoke Gadget Gadget#3 p(i32) [2] -> true"});
    EXPECT_EQ(Calls(), each);
    EXPECT_EQ(factory_->InstanceCount(), 1u);
    EXPECT_TRUE(factory_->GetBean("lower", nullptr) && factory_->GetBean("again", nullptr));
    EXPECT_EQ(factory_->WrapperCount(), 3u);
}

// A failed init method or property ends the object at once; a singleton is
// then not stored, and each further request tries anew.
TEST_F(BeanCreationTest, AFailedSetUpDestroysTheObjectEachTry) {
    Failures failures(*factory_);
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("falseInit", "Widget").Singleton().Init("failInit"),
                       Bean("throwingInit", "Widget").Singleton().Init("throwInit"),
                       Bean("failedProperty", "Widget").Singleton().Property("failSet(i32)", {Arg("int", "1")}).Init("init")}}});
    const struct { const char* name; const char* call; const char* failure; } cases[] = {
        {"falseInit", "failInit [] -> false", "falseInit: Init method 'failInit' failed"},
        {"throwingInit", "throwInit [] -> throw", "throwingInit: method failed"},
        {"failedProperty", "failSet(i32) [1] -> false", "failedProperty: Property 'failSet(i32)' failed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (int attempt = 0; attempt < 2; ++attempt) {
            FixtureLog::Reset();
            EXPECT_FALSE(factory_->GetBean(c.name, nullptr));
            EXPECT_EQ(Calls(), (Lines{"create Widget Widget [] -> Widget#1",
                                                 std::string("invoke Widget Widget#1 ") + c.call, "~Widget#1"}));
            EXPECT_EQ(failures.Take(), Lines{c.failure});
            EXPECT_EQ(factory_->InstanceCount(), 0u);
            EXPECT_EQ(ZEM::InstanceCensus().Count(c.name).total, 0u);
        }
    }
}

// Failed requests give an empty result and let go of what they made, the
// object before its dependencies.
TEST_F(BeanCreationTest, FailedRequestsLetGoOfWhatTheyMade) {
    Failures failures(*factory_);
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("throwing", "Widget").Method("throwMake").DependsOn("dep"),
                       Bean("null", "Widget").Method("nullMake"),
                       Bean("noFactory", "Widget").FactoryBean("nobody").DependsOn("dep"),
                       Bean("failing", "Widget").DependsOn("dep").Init("failInit"), Bean("dep", "Gadget")}}});
    for (const char* name : {"throwing", "null", "noFactory", "failing"}) EXPECT_FALSE(factory_->GetBean(name, nullptr)) << name;
    EXPECT_EQ(Calls(),
              (Lines{"create Gadget Gadget [] -> Gadget#1", "create Widget throwMake [] deps=[Gadget#1] -> throw",
                     "~Gadget#1", "create Widget nullMake [] -> null", "create Gadget Gadget [] -> Gadget#2",
                     "~Gadget#2", "create Gadget Gadget [] -> Gadget#3",
                     "create Widget Widget [] deps=[Gadget#3] -> Widget#4", "invoke Widget Widget#4 failInit [] -> false",
                     "~Widget#4", "~Gadget#3"}));
    Lines dropped = failures.Take();
    ASSERT_EQ(dropped.size(), 4u);
    EXPECT_EQ(dropped[0], "throwing: constructor failed");
    EXPECT_EQ(dropped[2], "noFactory: Factory bean 'nobody' not found");
}

// An unexported bean is seen only from its own library, by path, also once
// its singleton exists; a host's dependency on it is empty.
TEST_F(BeanCreationTest, VisibilityByLibrary) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("secret", "Peer").Hidden().Singleton(),
                       Bean("viaReference", "Widget").Method("make(obj)").Arg("bean", "secret"),
                       Bean("viaDependency", "Gadget").DependsOn("secret")}}});
    ZEM::SLibrary foreign{"elsewhere.so", {}};
    ZEM::SLibrary samePath{RecordingLibrary(), {}};
    EXPECT_TRUE(factory_->Exists("secret"));
    auto viaDependency = factory_->GetBean("viaDependency", nullptr);
    auto viaReference = factory_->GetBean("viaReference", nullptr);
    ASSERT_TRUE(viaDependency && viaReference);
    EXPECT_EQ(Calls(), (Lines{"create Gadget Gadget [] deps=[empty] -> Gadget#1", "create Peer Peer [] -> Peer#2",
                                         "create Widget make(obj) [obj(Peer#2)] -> Widget#3"}));
    // The singleton exists now; still only a record of its library's path sees it.
    EXPECT_FALSE(factory_->GetBean("secret", nullptr));
    EXPECT_FALSE(factory_->GetBean("secret", &foreign));
    auto own = factory_->GetBean("secret", factory_->Configuration().Store().libraries.at(0).get());
    EXPECT_EQ(Tag(own), "Peer#2");
    EXPECT_EQ(factory_->GetBean("secret", &samePath), own);
    EXPECT_TRUE(factory_->GetBean("viaDependency", &samePath));
    EXPECT_EQ(FixtureLog::Starting("create "), Lines{"create Gadget Gadget [] deps=[Peer#2] -> Gadget#4"});
}

// The factory bean's wrapper makes and names the object; properties and the
// init method go to the bean's own. No object of the factory bean is made.
TEST_F(BeanCreationTest, AFactoryBeanMakesTheObjectAndNamesIt) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("factory", "Factory").Hidden().Singleton(),
                       Bean("made", "Widget").FactoryBean("factory").Method("build(i32)").Arg("int", "3").Autoname()
                           .Property("p(i32)", {Arg("int", "1")}).Init("init")}}});
    auto made = factory_->GetBean("made", nullptr);
    ASSERT_TRUE(made);
    EXPECT_EQ(Calls(), (Lines{"create Factory build(i32) [3] -> Factory#1",
                                         "invoke Factory Factory#1 SetName [\"made\"] -> true",
                                         "invoke Widget Factory#1 p(i32) [1] -> true",
                                         "invoke Widget Factory#1 init [] -> true"}));
    EXPECT_EQ(factory_->InstanceCount(), 0u);
    EXPECT_EQ(factory_->WrapperCount(), 2u);
}

// Eager beans at each load: singletons once, others made and let go at every
// load, a name listed twice twice, an unexported one with its own library.
TEST_F(BeanCreationTest, EagerBeansAtEachLoad) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("single", "Widget").Singleton().Eager(), Bean("each", "Gadget").Eager().Init("init"),
                       Bean("each", "Gadget").Eager(), Bean("lazy", "Peer").Singleton(),
                       Bean("secret", "Peer").Hidden().Singleton().Eager()}}});
    EXPECT_EQ(Calls(), (Lines{"create Widget Widget [] -> Widget#1", "create Gadget Gadget [] -> Gadget#2",
                              "invoke Gadget Gadget#2 init [] -> true", "~Gadget#2", "create Gadget Gadget [] -> Gadget#3",
                              "invoke Gadget Gadget#3 init [] -> true", "~Gadget#3", "create Peer Peer [] -> Peer#4"}));
    EXPECT_EQ(ZEM::InstanceCensus().Count("each").alive, 0u);
    EXPECT_EQ(factory_->InstanceCount(), 2u);
    Load(*factory_, {{RecordingLibrary(), {Bean("later", "Peer")}}});
    EXPECT_EQ(FixtureLog::Starting("create "),
              (Lines{"create Gadget Gadget [] -> Gadget#5", "create Gadget Gadget [] -> Gadget#6"}));
}

// Cycles end in empty results for the request that would recurse (requests
// nested too deeply: tests/kit/hostile_documents_test.cpp).
TEST_F(BeanCreationTest, CyclesEndInEmptyResults) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("a", "Widget").Method("make(obj)").Arg("bean", "b"),
                       Bean("b", "Peer").Method("make(obj)").Arg("bean", "a"),
                       Bean("self", "Gadget").Singleton().Property("p(obj)", {Arg("bean", "self")}),
                       Bean("c", "Widget").DependsOn("d"), Bean("d", "Peer").DependsOn("c")}}});
    EXPECT_TRUE(factory_->GetBean("a", nullptr));
    EXPECT_EQ(Calls(), (Lines{"create Peer make(obj) [null] -> Peer#1",
                                         "create Widget make(obj) [obj(Peer#1)] -> Widget#2", "~Peer#1", "~Widget#2"}));
    EXPECT_TRUE(factory_->GetBean("self", nullptr));
    EXPECT_EQ(FixtureLog::Starting("invoke "), Lines{"invoke Gadget Gadget#3 p(obj) [null] -> true"});
    FixtureLog::Take();
    EXPECT_TRUE(factory_->GetBean("c", nullptr));
    EXPECT_EQ(FixtureLog::Starting("create "),
              (Lines{"create Peer Peer [] deps=[empty] -> Peer#4", "create Widget Widget [] deps=[Peer#4] -> Widget#5"}));
}

// A singleton whose constructor asks for itself gets a second one, made to the
// end and stored; the outer one, finished later, takes its place, and later
// requests, which find it without the factory's lock, give the outer one.
struct SEcho : ZEM::IObject {
    static inline ZEM::IBeanFactory* factory = nullptr;
    static inline int made = 0;
    SEcho() {
        if (made++ == 0) inner = factory->GetBean("echo", nullptr);
    }
    std::shared_ptr<ZEM::IObject> inner;
};
ZEM::CClass<SEcho> BindEcho() { return ZEM::CClass<SEcho>().Constructor<>(); }

TEST_F(BeanCreationTest, ASingletonAskedForByItsOwnConstructor) {
    ZEM::RegisterClass<&BindEcho>("zem_test::Echo");
    ZEM::CContainer container("<zem><library><beans><bean name='echo' class='zem_test::Echo' singleton='true'/>"
                              "</beans></library></zem>");
    SEcho::factory = &container.Factory();
    SEcho::made = 0;
    auto outer = container.GetBean<SEcho>("echo");
    ASSERT_TRUE(outer && outer->inner);
    EXPECT_NE(outer, outer->inner);
    EXPECT_EQ(container.GetBean("echo"), outer);
    EXPECT_EQ(ZEM::InstanceCensus().Count("echo").total, 2u);
    std::weak_ptr<ZEM::IObject> inner = outer->inner;
    outer->inner.reset();
    EXPECT_TRUE(inner.expired()) << "the factory let go of the first one";
}

}  // namespace
