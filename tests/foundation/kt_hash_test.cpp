// The hash of each key type of KtMap, against a plain fold and values worked out by hand.
#include "foundation/kt_hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

// Narrow text folds as h * 33 + byte, each byte taken as signed. The
// word-at-a-time fold gives the plain loop's value at every length, also for a
// view that fills its allocation exactly (checked by the sanitizer); the map
// tests pin the values of a few keys through their buckets.
TEST(KtHash, NarrowFoldTakesBytesAsSignedAtEveryLength) {
    for (int shift = 0; shift < 255; shift += 37) {
        std::string text;
        for (int i = 0; i < 40; ++i) text.push_back(static_cast<char>(1 + (i * 77 + shift) % 255));
        for (std::size_t length = 0; length <= text.size(); ++length) {
            const std::string piece = text.substr(text.size() - length);
            std::uint64_t expected = 0;
            for (char c : piece) expected = expected * 33 + static_cast<std::uint64_t>(static_cast<signed char>(c));
            const std::unique_ptr<char[]> exact(new char[length]);
            std::copy(piece.begin(), piece.end(), exact.get());
            SCOPED_TRACE(testing::Message() << "length " << length << ", shift " << shift);
            EXPECT_EQ(KtHash<KtStr>::Hash(KtStr(piece)), expected);
            EXPECT_EQ(KtHash<KtStr>::Hash(piece), expected);
            EXPECT_EQ(KtHash<KtStr>::Hash(piece.c_str()), expected);
            EXPECT_EQ(KtHash<KtStr>::Hash(std::string_view(exact.get(), length)), expected);
        }
    }
}

TEST(KtHash, WideTextUnitsAsUnsignedAndFnv) {
    const wchar_t* longer = L"Gr\u00F6\u00DFenwahn-\u00DCbung\u20AC";
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(L"")), 0u);
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(L"\u00E9")), 0xE9u);
    EXPECT_EQ(KtHash<KtWStr>::Hash(L"x\u20AC"), 120u * 33 + 0x20AC);
    EXPECT_EQ(KtHash<KtWStr>::Hash(std::wstring(L"ab")), 97u * 33 + 98);
    EXPECT_EQ(KtHash<KtWStr>::Hash(KtWStr(longer)), 0xF4532E5EF40ADA70ull);
    // FNV-1a for standard strings and words, a word as eight bytes, least significant first.
    EXPECT_EQ(KtHash<std::string>::Hash(std::string()), 0xCBF29CE484222325ull);
    EXPECT_EQ(KtHash<std::string>::Hash("foobar"), 0x85944171F73967E8ull);
    EXPECT_EQ(KtHash<const void*>::Hash(nullptr), 0xA8C7F832281A39C5ull);
    EXPECT_EQ(KtHash<const void*>::Hash(reinterpret_cast<const void*>(0x1234)), 0x07B32D0DC6FDF72Bull);
    EXPECT_EQ(KtHash<std::uint32_t>::Hash(0x1234u), 0x07B32D0DC6FDF72Bull);
}
