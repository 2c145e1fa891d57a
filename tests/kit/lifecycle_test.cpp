// Kit-bound host classes through the real container: overloads, exit methods,
// and failures of bean code turned into empty beans.
#include <gtest/gtest.h>

#include "kit/kit_test_classes.h"
#include "kit/kit_xml.h"
#include "support/message_of.h"
#include "zem/zem.h"

namespace zem_test {
namespace {

using namespace xml;
using Events = std::vector<std::string>;

std::string Labelled(const char* label) { return ConstructorValues({{"const char*", label}}); }
std::string Gadget(const std::string& name, const std::string& attributes = "", const std::string& children = "") {
    return Bean(name, "zem_test::Gadget", attributes, children);
}

class LifecycleTest : public ::testing::Test {
protected:
    void SetUp() override {
        ZEM::RegisterClass<&BindGadget>("zem_test::Gadget");
        Journal().clear();
    }
};

TEST_F(LifecycleTest, OverloadsAreChosenByArgumentCount) {
    const std::string resize = "<arguments>" + Argument(Value("int", "3")) + Argument(Value("int", "4")) + "</arguments>";
    ZEM::CContainer container(Document(
        Gadget("none") +
        Gadget("one", "", Labelled("one") + Properties(Property("Resize", Value("int", "5")) +
                                                       Property("Adjust", Value("int", "2")) +
                                                       Property("Note", Value("char*", "n")))) +
        Gadget("two", "", ConstructorValues({{"char*", "two"}, {"int", "9"}}) + Properties(Property("Resize", resize))) +
        Gadget("made", "factory-method='Make'", Labelled("m")) +
        Gadget("raw", "factory-method='MakeRaw'", ConstructorValues({{"int", "3"}}))).c_str());
    const struct { const char* bean; std::string label; int size; } expected[] = {
        {"none", "default", -1}, {"one", "one", 7}, {"two", "two", 12}, {"made", "m*", -1}, {"raw", "raw", 3}};
    for (const auto& e : expected) {
        SCOPED_TRACE(e.bean);
        auto gadget = container.GetBean<CGadget>(e.bean);
        ASSERT_NE(gadget, nullptr);
        EXPECT_EQ(gadget->Label() + " " + std::to_string(gadget->Size()), e.label + " " + std::to_string(e.size));
    }
    EXPECT_EQ(container.GetBean<CGadget>("one")->note, "n");  // a data member and a free function as properties
}

// The exit method runs at each way an object ends, also after its factory;
// depends-on objects live as long as the bean.
TEST_F(LifecycleTest, ExitMethodRunsAtTheObjectsEnd) {
    const std::string text = Document(Gadget("kept", "singleton='true' exit-method='Stop'", Labelled("kept")) +
                                      Gadget("held", "singleton='true' exit-method='Stop'", Labelled("held")) +
                                      Gadget("g", "exit-method='Stop'", Labelled("g")) +
                                      Gadget("dependent", "", Labelled("dependent") +
                                                                  "<depends-on><bean-name>g</bean-name></depends-on>"));
    std::shared_ptr<CGadget> held;
    {
        ZEM::CContainer container(text.c_str());
        auto first = container.GetBean("g");
        EXPECT_NE(first, container.GetBean("g"));  // not a singleton: each request its own object
        EXPECT_EQ(Journal(), (Events{"stop g size -1", "~g"}));  // the second, let go at once
        Journal().clear();
        auto dependent = container.GetBean("dependent");
        EXPECT_TRUE(Journal().empty());  // the dependency isn't a singleton, yet it lives on
        dependent.reset();
        EXPECT_EQ(Journal(), (Events{"~dependent", "stop g size -1", "~g"}));
        Journal().clear();
        ASSERT_NE(container.GetBean("kept"), nullptr);  // the host's pointer goes at once
        held = container.GetBean<CGadget>("held");
        EXPECT_TRUE(Journal().empty());
        container.Reset();
        EXPECT_EQ(Journal(), (Events{"stop kept size -1", "~kept"}));
        container.Reset(text.c_str());  // a new load makes a new object
        EXPECT_NE(container.GetBean<CGadget>("held"), held);
    }
    // The old object ends with its holder, after its factory is gone.
    Journal().clear();
    held->Resize(2);
    held.reset();
    EXPECT_EQ(Journal(), (Events{"stop held size 2", "~held"}));
}

TEST_F(LifecycleTest, FailingBeanCodeGivesAnEmptyBean) {
    const std::pair<const char*, std::string> cases[] = {
        {"constructor throws",
         Gadget("b", "factory-method='Risky'", ConstructorValues({{"int", "1"}, {"int", "1"}, {"bool", "true"}}))},
        {"init method throws", Gadget("b", "init-method='Explode'")},
        {"init method says false", Gadget("b", "init-method='Check'")},
        {"property says false", Gadget("b", "", Properties(Property("Adjust", Value("int", "0"))))},
        {"unknown exit method", Gadget("b", "exit-method='End'")},
        {"exit method for a factory function", Gadget("b", "factory-method='Make' exit-method='Stop'", Labelled("x"))},
    };
    for (const auto& [what, bean] : cases) {
        SCOPED_TRACE(what);
        ZEM::CContainer container(Document(bean).c_str());
        EXPECT_TRUE(container.Exists("b"));
        EXPECT_EQ(container.GetBean("b"), nullptr);
    }
    // A property the class doesn't have is refused when the class is bound.
    ZEM::CContainer container(Document(Gadget("b", "", Properties(Property("Colour", Value("int", "1"))))).c_str());
    EXPECT_EQ(zem_support::MessageOf([&] { container.Exists("b"); }), L"Missing argument type for property 'Colour'");
}

}  // namespace
}  // namespace zem_test
