// Documents built to exhaust a host: deep nesting read on a small thread
// stack, loops that would run for hours, chains of references deeper than
// the stack can hold. Each loads or is refused with a message; none crashes.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "foundation/string_convert.h"
#include "kit/kit_xml.h"
#include "platform/stack.h"
#include "support/message_of.h"
#include "support/small_stack.h"
#include "support/temp_dir.h"
#include "zem/class.h"
#include "zem/container.h"
#include "zem/diagnostics.h"

namespace {

using zem_test::xml::Document;

// A bean that holds another, given to its constructor or as a property.
struct SLink : ZEM::IObject {
    SLink() = default;
    explicit SLink(std::shared_ptr<ZEM::IObject> to) : next(std::move(to)) {}
    std::shared_ptr<ZEM::IObject> next;
};
ZEM::CClass<SLink> BindLink() {
    return ZEM::CClass<SLink>().Constructor<>().Constructor<std::shared_ptr<ZEM::IObject>>().Property("Next",
                                                                                                     &SLink::next);
}

class HostileDocuments : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ZEM::RegisterClass<BindLink>("Link"); }
};

std::string Repeat(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

// `levels` inner beans, each the property of the one around it.
std::string InnerBeans(int levels) {
    std::string bean = "<bean class='Link'/>";
    for (int i = 0; i < levels; ++i)
        bean = "<bean class='Link'><properties><property name='Next'>" + bean + "</property></properties></bean>";
    return bean.replace(0, 5, "<bean name='top'");
}

// `levels` loops of one round each around one bean.
std::string NestedLoops(int levels) {
    std::string body = "<bean name='b' class='Link'/>";
    for (int i = levels - 1; i >= 0; --i)
        body = "<for substitute='v" + std::to_string(i) + "' first='1' last='1'>" + body + "</for>";
    return body;
}

// The message of loading `source` (the text, or a file's wide path) on a
// small stack; empty if it loaded.
template <class C>
std::wstring LoadOnSmallStack(const C* source) {
    std::wstring message;
    zem_support::RunOnSmallStack([&] { message = zem_support::MessageOf([&] { ZEM::CContainer c(source); }); });
    return message;
}

TEST_F(HostileDocuments, DeepDocumentsLoadOrAreRefusedOnASmallStack) {
    const struct {
        std::string text;
        std::wstring message;
    } cases[] = {
        // As deep as the parser goes, in elements the readers pass by.
        {"<zem>" + Repeat("<a>", 998) + Repeat("</a>", 998) + "</zem>", L""},
        {Document(InnerBeans(8)), L""},
        {Document(InnerBeans(9)), L"Inner beans nested too deeply in bean 'top'"},
        {Document(InnerBeans(300)), L"Inner beans nested too deeply in bean 'top'"},
        {Document(NestedLoops(16)), L""},
        {Document(NestedLoops(200)), L"Loops nested too deeply at loop over 'v16'"},
        // The deepest reading the limits allow: inner beans inside every loop.
        {Document(NestedLoops(16).replace(NestedLoops(16).find("<bean"), 29, InnerBeans(8))), L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 120));
        EXPECT_EQ(LoadOnSmallStack(c.text.c_str()), c.message);
    }
}

TEST_F(HostileDocuments, IncludeChainsAndLoopBudgetsNameTheFile) {
    // A chain of includes as long as allowed, its last file the deepest
    // reading, on a small stack; the loop budget spans all files of a reading.
    zem_support::TempDir folder;
    for (int i = 0; i < 63; ++i)
        std::ofstream(folder.Path("f" + std::to_string(i) + ".xml"))
            << "<zem><include path='f" << i + 1 << ".xml'/></zem>";
    std::ofstream(folder.Path("f63.xml")) << Document(NestedLoops(16).replace(NestedLoops(16).find("<bean"), 29,
                                                                              InnerBeans(8)));
    std::ofstream(folder.Path("half.xml")) << Document("<foreach substitute='s' set='" + std::string(500000, '|') +
                                                       "'/>");
    std::ofstream(folder.Path("budget.xml")) << "<zem><include path='half.xml'/>"
                                             << Document("<foreach substitute='s' set='" + std::string(500001, '|') +
                                                         "'/>").substr(5);
    auto load = [&](const std::string& name) { return LoadOnSmallStack(ZEM::Widen(folder.Path(name)).c_str()); };
    EXPECT_EQ(load("f0.xml"), L"");
    EXPECT_EQ(load("budget.xml"),
              L"Loops in file '" + ZEM::Widen(folder.Path("budget.xml")) +
                  L"' repeat more than 1000000 times at loop over 's'");
}

TEST_F(HostileDocuments, ReferenceChainsEndInAnEmptyLinkInsteadOfOverflowing) {
    // 300 beans, each made with the next: the 257th nested request is cut
    // off at the nesting limit of requests, and its bean's link is empty.
    std::string beans;
    for (int i = 0; i < 300; ++i)
        beans += "<bean name='b" + std::to_string(i) + "' class='Link'>" +
                 (i < 299 ? "<constructor-arg><argument><ref bean='b" + std::to_string(i + 1) +
                                "'/></argument></constructor-arg>"
                          : "") +
                 "</bean>";
    const std::string text = Document(beans);
    auto length = [](std::shared_ptr<ZEM::IObject> link) {
        int count = 0;
        for (; link; link = std::static_pointer_cast<SLink>(link)->next) ++count;
        return count;
    };
    ZEM::CContainer container(text.c_str());
    EXPECT_EQ(length(container.GetBean("b0")), 256);  // the main thread's stack holds it all
    int onSmallStack = -1;
    std::size_t stack = 0;
    zem_support::RunOnSmallStack([&] {
        stack = ZEM::platform::StackLeft();
        onSmallStack = length(container.GetBean("b0"));
    });
    EXPECT_GE(onSmallStack, 0);
    // Wine gives no thread less than 1 MiB of stack, which holds the whole chain.
    if (stack <= 2 * zem_support::kSmallStack) EXPECT_LT(onSmallStack, 256);
    EXPECT_EQ(length(container.GetBean("b200")), 100);  // the container still works
}

TEST_F(HostileDocuments, AFanOfReferencesEndsAtTheBudgetOfARequest) {
    // Each level holds ten beans of the next: 10^7 objects for one request.
    // After a million every further one comes back empty, and the request
    // ends with its links cut. The eager beans of a load share one budget:
    // l0 spends it, so l6 gets nothing, though it would need only 111.
    std::string beans = "<bean name='l7' class='Link'/>";
    for (int level = 0; level < 7; ++level) {
        std::string properties;
        for (int i = 0; i < 10; ++i)
            properties += "<property name='Next'><ref bean='l" + std::to_string(level + 1) + "'/></property>";
        beans += "<bean name='l" + std::to_string(level) + "' class='Link'" +
                 (level == 0 || level == 6 ? " lazy='false'" : "") + "><properties>" + properties +
                 "</properties></bean>";
    }
    ZEM::CContainer container(nullptr);
    std::vector<std::string> refused;  // outermost requests that failed, with the reason
    ZEM::SetBeanFailureHandler(container.Factory(),
                               [&](const char* name, const std::wstring& why, const std::vector<std::string>& chain) {
                                   if (chain.empty()) refused.push_back(name + (": " + ZEM::Narrow(why)));
                               });
    container.Reset(Document(beans).c_str());
    EXPECT_EQ(refused, std::vector<std::string>{"l6: More than 1000000 beans made for one request"});
    refused.clear();
    EXPECT_NE(container.GetBean("l2"), nullptr);  // a request of its own has a budget of its own
    EXPECT_NE(container.GetBean("l6"), nullptr);
    EXPECT_TRUE(refused.empty());
}

}  // namespace
