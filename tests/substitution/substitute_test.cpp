// Tests of SubstituteParameters and ParameterToBool: the pattern rules, the
// flags, the rescan of inserted values and the cut-off of runaway values.
#include "substitution/substitute.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <utility>

#include "zem/exception.h"

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

struct SCase {
    const char* text;
    const wchar_t* outcome;
};

void CheckTable(const ParameterMap& map, std::initializer_list<SCase> cases) {
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Outcome(c.text, map), c.outcome);
    }
}

const wchar_t* const kInvalid = L"error: Invalid substitution pattern";
const wchar_t* const kMissing = L"error: Missing substitution";

TEST(SubstituteParameters, EmptyMapOnlyDecodes) {
    CheckTable(ParameterMap(), {{"100%", L"100%"}, {"%x%", L"%x%"}, {"%%", L"%%"},
                                {"caf\xC3\xA9 \xE2\x82\xAC", L"caf\u00E9 \u20AC"}, {"a\xFF", L"a\uFFFD"}});
    EXPECT_EQ(Outcome(nullptr, ParameterMap()), L"");
}

TEST(SubstituteParameters, Patterns) {
    ParameterMap map = MakeMap({{L"i", L"7"}, {L"e", L""}, {L"a.b", L"dotted"}, {L"x", L"plain"},
                                {L"_x", L"unreachable"}, {L"w", L"\u00E9t\u00E9"}, {L" sp ", L"blank"}});
    CheckTable(map, {
        {"bean%i%", L"bean7"}, {"%i%%i%", L"77"}, {"a%i%b%i%c", L"a7b7c"},
        {"%w%-\xC3\xA9", L"\u00E9t\u00E9-\u00E9"},
        {"x%e%", L"x"}, {"%e%%i%", L"7"},  // an empty value simply disappears
        {"%a.b%", L"dotted"},              // a flag character inside the name is part of it
        {"%_x%", L"plain"},                // ...but at its start it is a flag
        {"% sp %", L"blank"},              // blanks belong to the name
        {"100%", kInvalid}, {"%i", kInvalid}, {"%i%%", kInvalid},
        {"%%", kMissing}, {"%.%", kMissing}, {"%I%", kMissing},
    });
    EXPECT_EQ(Outcome(nullptr, map), L"");
}

TEST(SubstituteParameters, FlagsApplyInFixedOrder) {
    CheckTable(MakeMap({{L"n", L"Big Name"}}), {
        {"%n%", L"Big Name"}, {"%.n%", L"BigName"}, {"%_n%", L"big name"}, {"%^n%", L"BIG NAME"},
        {"%._n%", L"bigname"}, {"%_.n%", L"bigname"}, {"%_^n%", L"BIG NAME"}, {"%^_n%", L"BIG NAME"},
        {"%..n%", L"BigName"}, {"%.n%%n%", L"BigNameBig Name"},
    });
}

TEST(SubstituteParameters, InsertedValueIsScannedAgain) {
    ParameterMap map = MakeMap({{L"a", L"%b%"}, {L"b", L"x"}, {L"c", L"<%a%|%b%>"}, {L"f", L"50%"},
                                {L"open", L"%b"}, {L"n", L"Big Name"}, {L"ref", L"%.n%"}});
    CheckTable(map, {
        {"%a%", L"x"}, {"1%c%2", L"1<x|x>2"}, {"%f%", kInvalid},
        // Flags shape the inserted text before it is scanned, not what it expands to.
        {"%^c%", kMissing}, {"%_ref%", L"BigName"},
        // The scan resumes at the insertion point, so an inserted "%b" pairs
        // with the '%' that follows it in the text.
        {"%open%%", L"x"}, {"%open%", kInvalid},
    });
}

TEST(SubstituteParameters, RunawayValuesAreRefused) {
    ParameterMap map = MakeMap({{L"a", L"%a%"}, {L"b", L"%c%"}, {L"c", L"x%b%%b%"}, {L"i", L"7"}});
    CheckTable(map, {{"%a%", L"error: Substitution of '%a%' does not terminate"},
                     {"pre %b% post", L"error: Substitution of 'pre %b% post' does not terminate"}});

    // The limit counts replacements, so a long but finite text is fine up to it.
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
    for (const wchar_t* text : {L"True", L"TRUE", L"1", L"", L"false ", static_cast<const wchar_t*>(nullptr)}) {
        try {
            ParameterToBool(text);
            ADD_FAILURE() << "accepted";
        } catch (const CException& e) {
            EXPECT_EQ(e.GetMessageW(), L"Value of bool parameter must be 'true' or 'false'");
        }
    }
}

// The engine step by step, on one string edited in place. A budget of
// replacements marks a runaway: the short texts below, when finite, stay far
// below it.
std::wstring Model(const std::string& text, const ParameterMap& map, int budget) {
    std::wstring work(text.begin(), text.end());  // ASCII only
    std::size_t p = map.IsEmpty() ? std::wstring::npos : work.find(L'%');
    for (int replacements = 1; p != std::wstring::npos; ++replacements) {
        std::size_t q = work.find(L'%', p + 1);
        if (q == std::wstring::npos) return kInvalid;
        std::wstring name = work.substr(p + 1, q - p - 1);
        work.erase(p, q - p + 1);
        std::size_t flags = name.find_first_not_of(L"._^");
        flags = flags == std::wstring::npos ? name.size() : flags;
        const KtWStr* found = map.Find(std::wstring_view(name).substr(flags));
        if (found == nullptr) return kMissing;
        if (replacements > budget) return L"runaway";
        std::wstring value = found->ToStd();
        if (name.find(L'.') < flags) std::erase(value, L' ');
        if (name.find(L'_') < flags) for (wchar_t& c : value) c = static_cast<wchar_t>(std::towlower(c));
        if (name.find(L'^') < flags) for (wchar_t& c : value) c = static_cast<wchar_t>(std::towupper(c));
        work.insert(p, value);
        p = p < work.size() ? work.find(L'%', p) : std::wstring::npos;
    }
    return work;
}

TEST(SubstituteParameters, AgreesWithStepByStepModel) {
    // Texts and values are strung from pieces, so that they hold whole
    // patterns as well as stray marks and flag characters.
    const char* const pieces[] = {"%a%", "%b%", "%A%", "%a b%", "%.a%", "%_b%", "%^.a%", "%", "x", "B", " ", ".", "_"};
    std::mt19937 random(20240611);
    auto make = [&](int maxPieces) {
        std::string s;
        for (int n = std::uniform_int_distribution<int>(0, maxPieces)(random); n > 0; --n)
            s += pieces[std::uniform_int_distribution<std::size_t>(0, std::size(pieces) - 1)(random)];
        return s;
    };
    int runaways = 0, results = 0;
    for (int round = 0; round < 500; ++round) {
        ParameterMap map;
        for (const wchar_t* name : {L"a", L"b", L"A", L"a b"}) {
            std::string value = make(3);
            if (random() % 4 != 0) map[KtWStr(name)] = KtWStr(std::wstring(value.begin(), value.end()));
        }
        std::string text = make(4);
        SCOPED_TRACE(text);
        std::wstring expected = Model(text, map, 200);
        std::wstring actual = Outcome(text.c_str(), map);
        if (expected == L"runaway") {
            ++runaways;
            EXPECT_NE(actual.find(L"does not terminate"), std::wstring::npos);
        } else {
            results += expected.rfind(L"error: ", 0) != 0;
            EXPECT_TRUE(actual == expected);
        }
    }
    // The inputs reach every kind of outcome.
    EXPECT_GT(runaways, 20);
    EXPECT_GT(results, 100);
}

}  // namespace
}  // namespace ZEM
