// ForEachElement on parsed documents; the callbacks read a loop element again
// as its parent, as the element readers do.
#include "substitution/loops.h"

#include <gtest/gtest.h>

#include "foundation/string_convert.h"
#include "substitution/reading.h"
#include "substitution/substitute.h"
#include "support/message_of.h"
#include "xml/xml_document.h"

namespace ZEM {
namespace {

using Tags = std::vector<const char*>;

// Appends the name of every element read, with its patterns replaced.
void Read(const XMLNode& parent, const Tags& tags, const ParameterMap& map, CReading& reading,
          std::vector<std::string>& names) {
    ForEachElement(
        parent, tags, map, reading,
        [&](const XMLNode& element) {
            names.push_back(Narrow(SubstituteParameters(element.AttributeValue("name"), map, &reading).View()));
        },
        [&](const XMLNode& loop, const ParameterMap& inner) { Read(loop, tags, inner, reading, names); });
}

// The names read from <beans>body</beans>, joined by ',', followed by
// "error: " and the message if the walk failed.
std::string Walk(const std::string& body, const ParameterMap& map = ParameterMap(),
                 const Tags& tags = {"bean", "service"}) {
    std::string text = "<beans>" + body + "</beans>";
    SXmlParseResult result;
    XMLNode beans = ParseText(text.c_str(), "beans", &result);
    EXPECT_EQ(result.error, 0u) << text;
    std::vector<std::string> names;
    CReading reading;
    std::wstring failure = zem_support::MessageOf([&] { Read(beans, tags, map, reading, names); });
    std::string out;
    for (const std::string& name : names) out += (out.empty() ? "" : ",") + name;
    if (!failure.empty()) out += (out.empty() ? "error: " : " error: ") + Narrow(failure);
    return out;
}

struct SCase { const char* attributes; const char* outcome; };

const char* const kNumeric = "error: Value of numeric parameter must be numeric";
const char* const kForName = "error: Empty attribute 'substitute' in bean for loop";
const char* const kForEachName = "error: Empty attribute 'substitute' in bean foreach loop";
const char* const kWraps = "error: Loop over 'i' wraps around before passing its last value";

TEST(ForEachElement, ForLoop) {
    for (const SCase& c : std::initializer_list<SCase>{
             {R"(first="1" last="3" substitute="i")", "v1,v2,v3"},
             {R"(first="1" last="4" inc="2" substitute="i")", "v1,v3"},
             {R"(first="3" last="1" substitute="i")", ""},
             {R"(first="5" last="5" substitute="i")", "v5"},
             {R"(first="12abc" last="13" substitute="i")", "v12,v13"},
             {R"(first="-2" last="2" substitute="i")", "v-2,v-1,v0,v1,v2"},
             {R"(first="4294967295" last="0" substitute="i")", "v-1,v0"},  // read unsigned, used signed
             // At the ends of the 32-bit range; a loop that would wrap is
             // refused before its first iteration, as is one that never ends.
             {R"(first="2147483645" last="2147483646" substitute="i")", "v2147483645,v2147483646"},
             {R"(first="2147483646" last="2147483647" substitute="i")", kWraps},
             {R"(first="0" last="2000000000" inc="1000000000" substitute="i")", kWraps},
             {R"(first="1" last="3" inc="-1" substitute="i")", kWraps},
             {R"(first="1" last="3" inc="0" substitute="i")", "error: Loop over 'i' has a step of 0"},
             // Bad attributes, tested in the order first, last, inc, substitute.
             {R"(first="abc" last="3" substitute="i")", kNumeric},
             {R"(last="3" substitute="i")", kNumeric},
             {R"(first="1" last="3" inc="" substitute="i")", kNumeric},
             {R"(first="1" last="3")", kForName},
             {R"(first="3" last="1" substitute="")", kForName},
             {R"(first="1" last="3" inc="0" substitute="")", kForName},
         }) {
        SCOPED_TRACE(c.attributes);
        EXPECT_EQ(Walk(std::string("<for ") + c.attributes + R"(><bean name="v%i%"/></for>)"), c.outcome);
    }
}

TEST(ForEachElement, ForEachLoop) {
    for (const SCase& c : std::initializer_list<SCase>{
             {R"(set="a|b|c" substitute="s")", "[a],[b],[c]"},
             {R"(set="a | b" substitute="s")", "[a],[b]"},
             {R"(set=" a ||b|" substitute="s")", "[a],[],[b]"},
             {R"(set="|a" substitute="s")", "[],[a]"},
             {R"(set="a|  " substitute="s")", "[a],[]"},
             {R"(set="" substitute="s")", "[]"},
             {R"(substitute="s")", "[]"},
             {R"(set="a|b" substitute="")", kForEachName},
         }) {
        SCOPED_TRACE(c.attributes);
        EXPECT_EQ(Walk(std::string("<foreach ") + c.attributes + R"(><bean name="[%s%]"/></foreach>)"), c.outcome);
    }
}

TEST(ForEachElement, WalkOrder) {
    // Whatever the order in the file: the tags in list order, then the for
    // loops, then the foreach loops, each kind in document order.
    const std::string body = R"(<foreach set="x" substitute="s"><bean name="each-%s%"/></foreach>)"
                             R"(<for first="1" last="1" substitute="i"><bean name="for-%i%"/></for>)"
                             R"(<bean name="b1"/><service name="s1"/><property name="not-wanted"/><bean name="b2"/>)"
                             R"(<foreach set="y" substitute="s"><service name="each-%s%"/></foreach>)"
                             R"(<For first="2" last="2" substitute="i"><service name="for-%i%"/></For>)";
    EXPECT_EQ(Walk(body), "b1,b2,s1,for-1,for-2,each-x,each-y");
    EXPECT_EQ(Walk(body, ParameterMap(), {"service", "bean"}), "s1,b1,b2,for-1,for-2,each-x,each-y");
    // The same with enough children that they are sorted in one pass.
    std::string many, beans, services, fors, eaches;
    for (int i = 0; i < 5; ++i) {
        many += body;
        beans += "b1,b2,";
        services += "s1,";
        fors += "for-1,for-2,";
        eaches += i != 0 ? ",each-x,each-y" : "each-x,each-y";
    }
    EXPECT_EQ(Walk(many), beans + services + fors + eaches);

    // A loop's attributes are tested when the walk reaches it: what comes
    // before it has been read, and earlier loops have run.
    EXPECT_EQ(Walk(R"(<for first="x" last="1" substitute="i"/><bean name="a"/>)"), "a " + std::string(kNumeric));
    EXPECT_EQ(Walk(R"(<foreach set="q"/><for first="1" last="1" substitute="i"><bean name="%i%"/></for>)"),
              "1 " + std::string(kForEachName));
}

TEST(ForEachElement, NestedLoops) {
    // The inner variable hides the outer one of the same name, and each outer
    // iteration sees its own value again; the caller's map stays unchanged.
    ParameterMap outer;
    outer[KtWStr(L"i")] = KtWStr(L"0");
    EXPECT_EQ(Walk(R"(
        <for first="1" last="2" substitute="i">
          <for first="10" last="11" substitute="i"><bean name="in%i%"/></for>
          <bean name="out%i%"/>
        </for>
        <bean name="top%i%"/>)",
                   outer),
              "top0,out1,in10,in11,out2,in10,in11");
    EXPECT_TRUE(*outer.Find(std::wstring_view(L"i")) == L"0");

    // A failure inside an iteration ends the whole walk.
    EXPECT_EQ(Walk(R"(
        <bean name="first"/>
        <for first="1" last="3" substitute="i">
          <bean name="x%i%"/>
          <foreach set="p|q" substitute="s"><bean name="%s%%i%%"/></foreach>
        </for>
        <foreach set="z" substitute="s"><bean name="never"/></foreach>)"),
              "first,x1 error: Invalid substitution pattern");
}

}  // namespace
}  // namespace ZEM
