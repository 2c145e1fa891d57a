// The UTF-8 codec, the UTF-16 reading of files, the test that tells UTF-16
// from narrow text, and ASCII case-insensitive comparison.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/text.h"
#include "platform/utf8.h"

using namespace ZEM::platform;

namespace {

std::wstring Decode(const std::string& bytes) {
    std::wstring out;
    DecodeUtf8(bytes.data(), bytes.size(), out);
    return out;
}

std::string Encode(const std::wstring& text) {
    std::string out;
    EncodeUtf8(text.data(), text.size(), out);
    return out;
}

std::string Hex(const std::string& bytes) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char b : bytes) {
        out += kDigits[b >> 4];
        out += kDigits[b & 15];
        out += ' ';
    }
    return out;
}

}  // namespace

TEST(Utf8, RoundTripsOneToFourBytes) {
    const struct {
        std::string bytes;
        std::wstring text;
    } cases[] = {
        {"plain", L"plain"},
        {"\xC3\xA9", L"\u00E9"},                 // 2 bytes
        {"\xDF\xBF", L"\u07FF"},                 // highest 2-byte
        {"\xE2\x82\xAC", L"\u20AC"},             // 3 bytes
        {"\xEF\xBF\xBD", L"\uFFFD"},             // the replacement itself
        {"\xF0\x9F\x98\x80", L"\U0001F600"},     // 4 bytes
        {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},     // highest code point
        {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
        {"x\xC3\xA9y\xE2\x82\xACz\xF0\x9F\x98\x80", L"x\u00E9y\u20ACz\U0001F600"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Hex(c.bytes));
        EXPECT_EQ(Decode(c.bytes), c.text);
        EXPECT_EQ(Encode(c.text), c.bytes);
    }
}

TEST(Utf8, EachBadByteBecomesOneReplacement) {
    const std::wstring R(1, L'\uFFFD');
    const struct {
        std::string bytes;
        std::wstring text;
    } cases[] = {
        {"\x80", R},                                 // stray continuation
        {"\xBF\x80", R + R},
        {"\xC3", R},                                 // cut at the end
        {"\xC3" "A", R + L"A"},                      // cut by an ASCII byte
        {"\xE2\x82", R + R},
        {"\xE2\x82" "A\xC3\xA9", R + R + L"A\u00E9"},
        {"\xF0\x9F\x98", R + R + R},
        {"\xC0\xAF", R + R},                         // overlong 2-byte
        {"\xC1\xBF", R + R},
        {"\xE0\x80\x80", R + R + R},                 // overlong 3-byte
        {"\xF0\x80\x80\x80", R + R + R + R},         // overlong 4-byte
        {"\xED\xA0\x80", R + R + R},                 // a surrogate
        {"\xF4\x90\x80\x80", R + R + R + R},         // above U+10FFFF
        {"\xF5\x80", R + R},
        {"\xFE\xFF", R + R},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Hex(c.bytes));
        EXPECT_EQ(Decode(c.bytes), c.text);
    }
}

TEST(Utf8, UncarriableCodePointsEncodeAsQuestionMark) {
    const std::wstring text{L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF),
                            static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1), L'b'};
    EXPECT_EQ(Encode(text), "a????b");
}

TEST(Utf8, AppendsToWhatIsThere) {
    std::wstring wide = L">";
    DecodeUtf8("\xC3\xA9", 2, wide);
    EXPECT_EQ(wide, L">\u00E9");
    std::string narrow = "<";
    EncodeUtf8(L"\u00E9", 1, narrow);
    EXPECT_EQ(narrow, "<\xC3\xA9");

    // Piece by piece: the result is the concatenation.
    std::wstring pieces;
    for (int i = 0; i < 5000; ++i) DecodeUtf8("ab\xE2\x82\xAC", 5, pieces);
    EXPECT_EQ(pieces.size(), 15000u);
}

TEST(Utf16, ReadsLittleEndianUnitsToUtf8) {
    const struct {
        std::vector<unsigned char> bytes;
        std::string utf8;
    } cases[] = {
        {{'h', 0, 'i', 0}, "hi"},
        {{0xE9, 0x00, 0xAC, 0x20}, "\xC3\xA9\xE2\x82\xAC"},
        {{0x3D, 0xD8, 0x00, 0xDE}, "\xF0\x9F\x98\x80"},  // a surrogate pair
        {{0x3D, 0xD8, 'a', 0}, "?a"},                    // high surrogate alone
        {{0x00, 0xDE, 'a', 0}, "?a"},                    // low surrogate alone
        {{0x3D, 0xD8}, "?"},                             // pair cut at the end
        {{'a', 0, 0, 0, 'b', 0}, "a"},                   // a zero unit ends the text
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Hex(std::string(c.bytes.begin(), c.bytes.end())));
        std::string out;
        EncodeUtf16Le(c.bytes.data(), c.bytes.size() / 2, out);
        EXPECT_EQ(out, c.utf8);
    }
}

TEST(Utf16, TellsUtf16FromNarrowText) {
    const struct {
        const char* name;
        std::string bytes;
        bool utf16;
    } cases[] = {
        {"mark only", "\xFF\xFE", true},
        {"mark and text", std::string("\xFF\xFE<\0z\0", 6), true},
        {"ASCII", "<zem></zem>", false},
        {"UTF-8 with mark", "\xEF\xBB\xBF<zem/>", false},
        {"UTF-8", "<z\xC3\xA9m/>", false},
        {"big-endian mark", "\xFE\xFF", false},
        {"one byte", "<", false},
        {"empty", "", false},
        {"ASCII as UTF-16", std::string("<\0z\0e\0m\0", 8), true},
        {"trailing zero unit", std::string("a\0b\0\0\0", 6), true},
        {"zero unit inside", std::string("a\0\0\0b\0", 6), false},
        {"half the units", std::string("a\0bc", 4), true},
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
    EXPECT_LT(CompareNoCase("a", "B"), 0);
    EXPECT_GT(CompareNoCase("beans", "BEAN"), 0);
    EXPECT_LT(CompareNoCase("", "a"), 0);
    EXPECT_EQ(CompareNoCase("", ""), 0);
    EXPECT_NE(CompareNoCase("\xC3\x89", "\xC3\xA9"), 0);  // É and é differ
    EXPECT_LT(CompareNoCase("[", "a"), 0);                 // '[' sorts before letters once they are lowered
    EXPECT_EQ(CompareNoCaseN("include.xml", "INCLUDE", 7), 0);
    EXPECT_NE(CompareNoCaseN("include", "INCLUDE.xml", 8), 0);
    EXPECT_EQ(CompareNoCaseN("ab", "AB", 10), 0);
    EXPECT_EQ(CompareNoCaseN("x", "y", 0), 0);
}
