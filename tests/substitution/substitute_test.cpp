// SubstituteParameters and ParameterToBool.
#include "substitution/substitute.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/message_of.h"

namespace ZEM {
namespace {

ParameterMap MakeMap(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> entries) {
    ParameterMap map;
    for (const auto& [name, value] : entries) map[KtWStr(name)] = KtWStr(value);
    return map;
}

// The result, or "error: " and the message.
std::wstring Outcome(const char* text, const ParameterMap& map) {
    try {
        return SubstituteParameters(text, map).ToStd();
    } catch (const CException& e) {
        return L"error: " + e.GetMessageW();
    }
}

const wchar_t* const kInvalid = L"error: Invalid substitution pattern";
const wchar_t* const kMissing = L"error: Missing substitution";

TEST(SubstituteParameters, Table) {
    struct SCase {
        const char* text;
        const wchar_t* outcome;
    };
    // An empty map only decodes: marks stand for themselves.
    for (const SCase& c : {SCase{"100%", L"100%"}, SCase{"%x%", L"%x%"}, SCase{"a\xFF", L"a\uFFFD"}}) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Outcome(c.text, ParameterMap()), c.outcome);
    }
    const ParameterMap map = MakeMap({{L"i", L"7"}, {L"e", L""}, {L"a.b", L"dotted"}, {L"x", L"plain"},
                                      {L"_x", L"unreachable"}, {L" sp ", L"blank"}, {L"n", L"Big Name"},
                                      {L"r", L"%b%"}, {L"b", L"x"}, {L"c", L"<%r%|%b%>"}, {L"f", L"50%"},
                                      {L"open", L"%b"}, {L"ref", L"%.n%"}, {L"self", L"%self%"},
                                      {L"p", L"%q%"}, {L"q", L"x%p%%p%"}, {L"g", L"\U0001F600 Ab"}});
    for (const SCase& c : std::initializer_list<SCase>{
             {"a%i%b%i%c", L"a7b7c"}, {"%i%%i%", L"77"}, {"caf\xC3\xA9%i%", L"caf\u00E9" L"7"},
             {"x%e%%i%", L"x7"},                                  // an empty value simply disappears
             {"%a.b%", L"dotted"}, {"%_x%", L"plain"},           // flags only at the start of the name
             {"% sp %", L"blank"},                                // blanks belong to the name
             {"100%", kInvalid}, {"%i%%", kInvalid}, {"%%", kMissing}, {"%.%", kMissing}, {"%I%", kMissing},
             // Flags: '.' drops blanks, '_' lowers, '^' raises; their order in the pattern does not matter.
             {"%.n%", L"BigName"}, {"%_^n%", L"BIG NAME"}, {"%^_n%", L"BIG NAME"}, {"%_.n%", L"bigname"},
             // A character beyond 16 bits (a surrogate pair where wchar_t has 16) stays whole.
             {"%_.g%\xF0\x9F\x98\x80", L"\U0001F600ab\U0001F600"}, {"%^g%", L"\U0001F600 AB"},
             // An inserted value is scanned again, from the insertion point on.
             {"%r%", L"x"}, {"1%c%2", L"1<x|x>2"}, {"%f%", kInvalid},
             {"%open%%", L"x"}, {"%open%", kInvalid},  // the inserted "%b" pairs with the '%' after it
             // Flags shape the inserted text before it is scanned, not what it expands to.
             {"%^c%", kMissing}, {"%_ref%", L"BigName"},
             {"%self%", L"error: Substitution of '%self%' does not terminate"},
             {"pre %p% post", L"error: Substitution of 'pre %p% post' does not terminate"},
         }) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Outcome(c.text, map), c.outcome);
    }
    EXPECT_EQ(Outcome(nullptr, map), L"");
}

TEST(SubstituteParameters, LimitsOnReplacementsAndLength) {
    const ParameterMap map = MakeMap({{L"i", L"7"}});
    std::string many;
    for (int i = 0; i < kMaxReplacements; ++i) many += "%i%";
    EXPECT_EQ(SubstituteParameters(many.c_str(), map).ToStd(), std::wstring(kMaxReplacements, L'7'));
    many += "%i%";
    EXPECT_THROW(SubstituteParameters(many.c_str(), map), CException);

    // A value that adds much per replacement meets the length limit first.
    std::wstring big = L"%h%" + std::wstring(20000, L'x');
    EXPECT_EQ(Outcome("%h%", MakeMap({{L"h", big.c_str()}})), L"error: Substitution of '%h%' grows too long");
}

TEST(ParameterToBool, OnlyTheTwoWords) {
    EXPECT_TRUE(ParameterToBool(L"true"));
    EXPECT_FALSE(ParameterToBool(L"false"));
    for (const wchar_t* text : {L"True", L"TRUE", L"1", L"", L"false ", static_cast<const wchar_t*>(nullptr)})
        EXPECT_EQ(zem_support::MessageOf([&] { ParameterToBool(text); }),
                  L"Value of bool parameter must be 'true' or 'false'");
}

}  // namespace
}  // namespace ZEM
