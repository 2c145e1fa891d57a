// Kit-bound host classes through the real container: overloads chosen by
// argument count, the exit method at each way an object can end, factory
// beans, depends-on objects kept, and failures of bean code turned into
// empty beans.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/kit_test_classes.h"
#include "kit/kit_xml.h"
#include "zem/zem.h"

namespace zem_test {
namespace {

using namespace xml;
using Events = std::vector<std::string>;

std::string Labelled(const std::string& label) {
    return ConstructorArgs(Argument(Value("const char*", label)));
}

class LifecycleTest : public ::testing::Test {
protected:
    void SetUp() override {
        ZEM::RegisterClass<&BindGadget>("zem_test::Gadget");
        ZEM::RegisterClass<&BindWorkshop>("zem_test::Workshop");
        Journal().clear();
    }
};

TEST_F(LifecycleTest, OverloadsAreChosenByArgumentCount) {
    const std::string resize = "<arguments>" + Argument(Value("int", "3")) + Argument(Value("int", "4")) +
                               "</arguments>";
    ZEM::CContainer container(Document(
        Bean("none", "zem_test::Gadget") +
        Bean("one", "zem_test::Gadget", "", Labelled("one") + Properties(Property("Resize", Value("int", "5")))) +
        Bean("two", "zem_test::Gadget", "",
             ConstructorArgs(Argument(Value("char*", "two")) + Argument(Value("int", "9"))) +
                 Properties(Property("Resize", resize))) +
        Bean("three", "zem_test::Gadget", "",
             ConstructorArgs(Argument(Value("int", "1")) + Argument(Value("int", "2")) +
                             Argument(Value("bool", "false")))) +
        Bean("made", "zem_test::Gadget", "factory-method='Make'", Labelled("m")) +
        Bean("raw", "zem_test::Gadget", "factory-method='MakeRaw'", ConstructorArgs(Argument(Value("int", "3")))))
                                  .c_str());

    auto none = container.GetBean<CGadget>("none");
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none->Label(), "default");
    auto one = container.GetBean<CGadget>("one");
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(one->Size(), 5);
    auto two = container.GetBean<CGadget>("two");
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(two->Label(), "two");
    EXPECT_EQ(two->Size(), 12);
    // "three" names no constructor of three arguments under the class's own name.
    EXPECT_EQ(container.GetBean("three"), nullptr);
    auto made = container.GetBean<CGadget>("made");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->Label(), "m*");
    auto raw = container.GetBean<CGadget>("raw");
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(raw->Size(), 3);
}

TEST_F(LifecycleTest, ExitMethodRunsWhenAHostLetsGo) {
    ZEM::CContainer container(Document(Bean("g", "zem_test::Gadget", "exit-method='Stop'", Labelled("g"))).c_str());
    auto first = container.GetBean("g");
    auto second = container.GetBean("g");
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, second);  // not a singleton: each request its own object
    first.reset();
    EXPECT_EQ(Journal(), (Events{"stop g size -1", "~g"}));
    second.reset();
    EXPECT_EQ(Journal().size(), 4u);
}

TEST_F(LifecycleTest, ExitMethodOfASingletonRunsAtResetOrWithItsLastHolder) {
    const std::string text = Document(
        Bean("kept", "zem_test::Gadget", "singleton='true' exit-method='Stop'", Labelled("kept")) +
        Bean("held", "zem_test::Gadget", "singleton='true' exit-method='Stop'", Labelled("held")));
    ZEM::CContainer container(text.c_str());
    ASSERT_NE(container.GetBean("kept"), nullptr);  // the host's pointer goes at once
    auto held = container.GetBean("held");
    ASSERT_NE(held, nullptr);
    EXPECT_TRUE(Journal().empty());

    container.Reset();
    EXPECT_EQ(Journal(), (Events{"stop kept size -1", "~kept"}));

    // A new load makes a new object; the old one still ends with its holder.
    container.Reset(text.c_str());
    auto again = container.GetBean("held");
    ASSERT_NE(again, nullptr);
    EXPECT_NE(again, held);
    Journal().clear();
    held.reset();
    EXPECT_EQ(Journal(), (Events{"stop held size -1", "~held"}));
}

TEST_F(LifecycleTest, ExitMethodRunsAfterTheFactoryIsGone) {
    std::shared_ptr<CGadget> survivor;
    {
        ZEM::CContainer container(
            Document(Bean("s", "zem_test::Gadget", "singleton='true' lazy='false' exit-method='Stop'",
                          Labelled("survivor"))).c_str());
        survivor = container.GetBean<CGadget>("s");
        ASSERT_NE(survivor, nullptr);
    }
    EXPECT_TRUE(Journal().empty());
    survivor->Resize(2);
    survivor.reset();
    EXPECT_EQ(Journal(), (Events{"stop survivor size 2", "~survivor"}));
}

TEST_F(LifecycleTest, FactoryBeanMakesTheBeansThatNameIt) {
    ZEM::CContainer container(Document(
        Bean("workshop", "zem_test::Workshop") +
        Bean("built", "zem_test::Gadget",
             "factory-bean='workshop' factory-method='Build' autoname='true' init-method='Start' exit-method='Stop'",
             ConstructorArgs(Argument(Value("const char*", "b")) + Argument(Value("int", "6")))) +
        Bean("forged", "zem_test::Gadget", "factory-bean='workshop' factory-method='Forge'",
             ConstructorArgs(Argument(Value("int", "8")))) +
        // The products' exit method is called through the factory's binding,
        // which doesn't know Start.
        Bean("refused", "zem_test::Gadget", "factory-bean='workshop' factory-method='Build' exit-method='Start'",
             ConstructorArgs(Argument(Value("const char*", "r")) + Argument(Value("int", "1"))))).c_str());

    auto built = container.GetBean<CGadget>("built");
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(built->Name(), "built");  // SetName went through the factory's binding
    EXPECT_EQ(built->Size(), 6);
    auto forged = container.GetBean<CGadget>("forged");
    ASSERT_NE(forged, nullptr);
    EXPECT_EQ(forged->Size(), 8);
    EXPECT_EQ(container.GetBean("refused"), nullptr);
    built.reset();
    EXPECT_EQ(Journal(), (Events{"start b", "stop b size 6", "~b"}));
}

TEST_F(LifecycleTest, DependsOnObjectsLiveAsLongAsTheBean) {
    ZEM::CContainer container(Document(
        Bean("dependency", "zem_test::Gadget", "", Labelled("dependency")) +
        Bean("dependent", "zem_test::Gadget", "",
             Labelled("dependent") + "<depends-on><bean-name>dependency</bean-name></depends-on>")).c_str());
    auto dependent = container.GetBean("dependent");
    ASSERT_NE(dependent, nullptr);
    EXPECT_TRUE(Journal().empty());  // the dependency isn't a singleton, yet it lives on
    dependent.reset();
    EXPECT_EQ(Journal(), (Events{"~dependent", "~dependency"}));
}

TEST_F(LifecycleTest, FailingBeanCodeGivesAnEmptyBean) {
    struct SCase {
        const char* what;
        std::string bean;
    } const cases[] = {
        {"constructor throws", Bean("b", "zem_test::Gadget", "factory-method='Risky'",
                                    ConstructorArgs(Argument(Value("int", "1")) + Argument(Value("int", "1")) +
                                                    Argument(Value("bool", "true"))))},
        {"init method throws", Bean("b", "zem_test::Gadget", "init-method='Explode'")},
        {"init method says false", Bean("b", "zem_test::Gadget", "init-method='Check'")},
        {"property says false", Bean("b", "zem_test::Gadget", "", Properties(Property("Adjust", Value("int", "0"))))},
        {"unknown factory method", Bean("b", "zem_test::Gadget", "factory-method='Build'")},
        {"unknown init method", Bean("b", "zem_test::Gadget", "init-method='Begin'")},
        {"unknown exit method", Bean("b", "zem_test::Gadget", "exit-method='End'")},
        {"exit method for a factory function", Bean("b", "zem_test::Gadget", "factory-method='Make' exit-method='Stop'",
                                                     Labelled("x"))},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.what);
        ZEM::CContainer container(Document(c.bean).c_str());
        EXPECT_TRUE(container.Exists("b"));
        EXPECT_EQ(container.GetBean("b"), nullptr);
    }
}

TEST_F(LifecycleTest, UnknownPropertyIsRefusedWhenTheClassIsBound) {
    ZEM::CContainer container(
        Document(Bean("b", "zem_test::Gadget", "", Properties(Property("Colour", Value("int", "1"))))).c_str());
    try {
        container.Exists("b");
        FAIL() << "binding accepted a property the class doesn't have";
    } catch (const ZEM::CException& e) {
        EXPECT_EQ(e.GetMessageW(), L"Missing argument type for property 'Colour'");
    }
}

}  // namespace
}  // namespace zem_test
