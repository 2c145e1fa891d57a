// The hash of each key type of KtMap, against values worked out by hand: a
// changed hash changes the iteration order of every map in the library.
#include "foundation/kt_hash.h"

#include <gtest/gtest.h>

TEST(KtHash, FoldOverNarrowTextTakesBytesAsSigned) {
    const struct { const char* text; std::uint64_t hash; } cases[] = {
        {"", 0},
        {"a", 97},
        {"abc", (97 * 33 + 98) * 33 + 99},
        {"\xE9", 0xFFFFFFFFFFFFFFE9ull},            // -23
        {"\xC3\xA9", 0xFFFFFFFFFFFFF7CCull},  // -61 * 33 - 87
        {"bean.name", 0x8162FC831D65ull},
        {"Gr\xC3\xB6\xC3\x9F" "enwahn-\xC3\x9C" "bung", 0x8BC88D9EDAA46E6Dull},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(KtHash<KtStr>::Hash(KtStr(c.text)), c.hash);
        EXPECT_EQ(KtHash<KtStr>::Hash(std::string(c.text)), c.hash);
    }
}

TEST(KtHash, FoldOverWideTextTakesUnitsAsUnsigned) {
    const wchar_t* longer = L"Gr\u00F6\u00DFenwahn-\u00DCbung\u20AC";
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(L"")), 0u);
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(L"\u00E9")), 0xE9u);
    EXPECT_EQ(KtHash<KtWStr>::Hash(L"x\u20AC"), 120u * 33 + 0x20AC);
    EXPECT_EQ(KtHash<KtWStr>::Hash(std::wstring(L"ab")), 97u * 33 + 98);
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(longer)), 0xF4532E5EF40ADA70ull);
}

// FNV-1a; words are hashed as eight bytes, least significant first.
TEST(KtHash, FnvForStandardStringsAndWords) {
    EXPECT_EQ(KtHash<std::string>::Hash(std::string()), 0xCBF29CE484222325ull);
    EXPECT_EQ(KtHash<std::string>::Hash("foobar"), 0x85944171F73967E8ull);
    EXPECT_EQ(KtHash<const void*>::Hash(nullptr), 0xA8C7F832281A39C5ull);
    EXPECT_EQ(KtHash<const void*>::Hash(reinterpret_cast<const void*>(0x1234)), 0x07B32D0DC6FDF72Bull);
    EXPECT_EQ(KtHash<std::uint32_t>::Hash(0x1234u), 0x07B32D0DC6FDF72Bull);
}
