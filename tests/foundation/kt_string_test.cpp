// KtStrT: copy on write, the shared empty string, ranges, conversions. (The
// one-pointer layout that wrappers read: the string rows of the conversion test.)
#include "foundation/kt_string.h"

#include <gtest/gtest.h>

#include <thread>

#include "foundation/string_convert.h"

// Null, empty and zero-length all share the one empty representation.
TEST(KtStr, NullEmptyAndComparison) {
    KtStr fromNull(static_cast<const char*>(nullptr));
    EXPECT_EQ(fromNull.c_str(), KtStr("").c_str());
    EXPECT_EQ(KtStr("abc", 0).c_str(), fromNull.c_str());
    EXPECT_TRUE(fromNull == static_cast<const char*>(nullptr));
    EXPECT_FALSE(KtStr("ab") == KtStr("abc") || KtStr(std::string("a\0b", 3)) == KtStr("a"));
}

TEST(KtStr, WritesDetachSharedCopies) {
    const KtStr original("shared text");
    const struct { const char* name; void (*write)(KtStr&); const char* expected; } cases[] = {
        {"Append", [](KtStr& s) { s.Append('!'); }, "shared text!"},
        {"Erase", [](KtStr& s) { s.Erase(0, 7); }, "text"},
        {"Buffer", [](KtStr& s) { s.Buffer()[0] = 'S'; }, "Shared text"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KtStr copy(original);
        EXPECT_EQ(copy.c_str(), original.c_str());  // shared until written
        c.write(copy);
        EXPECT_STREQ(copy.c_str(), c.expected);
        EXPECT_EQ(copy.Length(), static_cast<std::int32_t>(std::char_traits<char>::length(c.expected)));
        EXPECT_STREQ(original.c_str(), "shared text");
    }
    // Writing into an empty string must not touch the shared empty rep.
    KtStr empty;
    empty.Append("x", 1);
    EXPECT_STREQ(KtStr().c_str(), "");
}

TEST(KtStr, AppendAndInsertOfItselfAndRanges) {
    KtStr s("ab");
    s.Append(s);
    s.Append(s.c_str() + 1, 2);  // a piece of itself, while it grows
    s.Insert(2, s);
    EXPECT_STREQ(s.c_str(), "abababbaabba");
    EXPECT_EQ(s.Length(), 12);
    EXPECT_STREQ(s.Mid(2, 3).c_str(), "aba");
    EXPECT_THROW(s.Mid(10, 3), std::out_of_range);
    EXPECT_THROW(s.Mid(-1, 1), std::out_of_range);
    EXPECT_THROW(s.Insert(13, KtStr("x")), std::out_of_range);
    EXPECT_EQ(s.Find('b', 2), 3);
}

// A refcount that isn't atomic shows here under the sanitizer build.
TEST(KtStr, CopiesOnTwoThreads) {
    const KtWStr shared(L"one text for all threads");
    auto copies = [&shared] {
        for (int i = 0; i < 20000; ++i) KtWStr(shared).Append(L'!');
    };
    std::thread other(copies);
    copies();
    other.join();
    EXPECT_STREQ(shared.c_str(), L"one text for all threads");
}

// A message decodes the name between its two fixed parts.
TEST(StringConvert, MessageDecodesTheName) {
    EXPECT_EQ(ZEM::Message(L"Could not find type bean '", "t\xC3\xA9", L"'"), L"Could not find type bean 't\u00E9'");
}
