// The UTF-8 and UTF-16 codecs and ASCII case-insensitive comparison.
#include <gtest/gtest.h>

#include <vector>

#include "platform/text.h"
#include "platform/utf8.h"

using namespace ZEM::platform;

// Valid text decodes and encodes back to the same bytes; each bad byte
// decodes to one replacement character.
TEST(Utf8, RoundTripsAndReplacesEachBadByte) {
    const std::wstring R(1, L'\uFFFD');
    const struct { std::string bytes; std::wstring text; bool valid; } cases[] = {
        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF", true},  // highest code point
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3), true},
        {"x\xC3\xA9y\xE2\x82\xACz\xF0\x9F\x98\x80", L"x\u00E9y\u20ACz\U0001F600", true},
        {"\x80", R, false},                                   // stray continuation
        {"\xC3" "A", R + L"A", false},                        // cut by an ASCII byte
        {"\xE2\x82" "A\xC3\xA9", R + R + L"A\u00E9", false},
        {"\xC0\xAF", R + R, false},                           // overlong 2-byte
        {"\xF0\x80\x80\x80", R + R + R + R, false},           // overlong 4-byte
        {"\xED\xA0\x80", R + R + R, false},                   // a surrogate
        {"\xF4\x90\x80\x80", R + R + R + R, false},           // above U+10FFFF
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        std::wstring decoded = L">";  // both append to what is there
        DecodeUtf8(c.bytes.data(), c.bytes.size(), decoded);
        EXPECT_EQ(decoded, L">" + c.text);
        std::string encoded;
        EncodeUtf8(c.text.data(), c.text.size(), encoded);
        if (c.valid) EXPECT_EQ(encoded, c.bytes);
    }
    // Surrogates that pair with nothing; beyond U+10FFFF where wchar_t can hold it.
    std::wstring uncarriable{L'a', static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0xD800), L'b'};
    std::string expected = "<a??b";
    if constexpr (sizeof(wchar_t) == 4) {
        uncarriable += {static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1)};
        expected += "??";
    }
    std::string encoded = "<";
    EncodeUtf8(uncarriable.data(), uncarriable.size(), encoded);
    EXPECT_EQ(encoded, expected);
}

TEST(Utf16, ReadsLittleEndianUnitsToUtf8) {
    const struct { std::vector<unsigned char> bytes; std::string utf8; } cases[] = {
        {{0xE9, 0x00, 0xAC, 0x20}, "\xC3\xA9\xE2\x82\xAC"},
        {{0x3D, 0xD8, 0x00, 0xDE}, "\xF0\x9F\x98\x80"},  // a surrogate pair
        {{0x3D, 0xD8, 'a', 0}, "?a"},                    // high surrogate alone
        {{0x00, 0xDE, 'a', 0}, "?a"},                    // low surrogate alone
        {{0x3D, 0xD8}, "?"},                             // pair cut at the end
        {{'a', 0, 0, 0, 'b', 0}, "a"},                   // a zero unit ends the text
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.utf8));
        std::string out;
        EncodeUtf16Le(c.bytes.data(), c.bytes.size() / 2, out);
        EXPECT_EQ(out, c.utf8);
    }
}

TEST(Utf16, TellsUtf16FromNarrowText) {
    const struct { const char* name; std::string bytes; bool utf16; } cases[] = {
        {"mark only", "\xFF\xFE", true},
        {"UTF-8 with mark", "\xEF\xBB\xBF<zem/>", false},
        {"big-endian mark", "\xFE\xFF", false},
        {"ASCII as UTF-16", std::string("<\0z\0e\0m\0", 8), true},
        {"trailing zero unit", std::string("a\0b\0\0\0", 6), true},
        {"zero unit inside", std::string("a\0\0\0b\0", 6), false},
        {"under half", std::string("a\0bcde", 6), false},
        {"odd size", std::string("a\0b\0c", 5), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(LooksLikeUtf16(reinterpret_cast<const unsigned char*>(c.bytes.data()), c.bytes.size()),
                  c.utf16);
    }
}

TEST(CompareNoCase, FoldsAsciiOnly) {
    EXPECT_EQ(CompareNoCase("Bean", "bEAN"), 0);
    EXPECT_GT(CompareNoCase("beans", "BEAN"), 0);
    EXPECT_NE(CompareNoCase("\xC3\x89", "\xC3\xA9"), 0);  // É and é differ
    EXPECT_LT(CompareNoCase("[", "a"), 0);                 // '[' sorts before letters once they are lowered
    EXPECT_EQ(CompareNoCaseN("include.xml", "INCLUDE", 7), 0);
    EXPECT_NE(CompareNoCaseN("include", "INCLUDE.xml", 8), 0);
}
