// KtStrT: sharing and copy on write, the one-pointer layout that wrappers
// rely on, range failures, and the conversions between the string families.
#include "foundation/kt_string.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/string_convert.h"

TEST(KtStr, AddressReadsAsCharPointer) {
    KtStr narrow("value");
    KtWStr wide(L"wert");
    EXPECT_EQ(*reinterpret_cast<const char* const*>(&narrow), narrow.c_str());
    EXPECT_EQ(*reinterpret_cast<const wchar_t* const*>(&wide), wide.c_str());
    EXPECT_STREQ(narrow.c_str(), "value");
    EXPECT_STREQ(wide.c_str(), L"wert");
}

TEST(KtStr, NullAndEmptyShareOneRepresentation) {
    KtStr fromNull(static_cast<const char*>(nullptr));
    KtStr fromEmpty("");
    KtStr cut("abc", 0);
    KtWStr wideNull(static_cast<const wchar_t*>(nullptr));
    for (const KtStr* s : {&fromNull, &fromEmpty, &cut}) {
        EXPECT_TRUE(s->IsEmpty());
        EXPECT_EQ(s->Length(), 0);
        EXPECT_EQ(s->c_str()[0], '\0');
    }
    EXPECT_EQ(fromNull.c_str(), fromEmpty.c_str());
    EXPECT_EQ(wideNull.Length(), 0);
    EXPECT_TRUE(fromNull == fromEmpty);
    EXPECT_TRUE(fromNull == static_cast<const char*>(nullptr));
}

TEST(KtStr, WritesDetachSharedCopies) {
    const KtStr original("shared text");
    struct Case {
        const char* name;
        void (*write)(KtStr&);
        const char* expected;
    };
    const Case cases[] = {
        {"Append", [](KtStr& s) { s.Append('!'); }, "shared text!"},
        {"Append string", [](KtStr& s) { s += KtStr(" more"); }, "shared text more"},
        {"Insert", [](KtStr& s) { s.Insert(0, KtStr(">")); }, ">shared text"},
        {"Erase", [](KtStr& s) { s.Erase(0, 7); }, "text"},
        {"Buffer", [](KtStr& s) { s.Buffer()[0] = 'S'; }, "Shared text"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KtStr copy(original);
        KtStr other = original;
        EXPECT_EQ(copy.c_str(), original.c_str());  // shared until written
        c.write(copy);
        EXPECT_STREQ(copy.c_str(), c.expected);
        EXPECT_EQ(copy.Length(), static_cast<std::int32_t>(std::char_traits<char>::length(c.expected)));
        EXPECT_STREQ(original.c_str(), "shared text");
        EXPECT_EQ(other.c_str(), original.c_str());
    }
    // Writing into an empty string must not touch the shared empty rep.
    KtStr empty;
    empty.Append("x", 1);
    EXPECT_STREQ(empty.c_str(), "x");
    EXPECT_STREQ(KtStr().c_str(), "");
}

TEST(KtStr, AppendAndInsertOfItself) {
    KtStr s("ab");
    s.Append(s);
    EXPECT_STREQ(s.c_str(), "abab");
    s.Append(s.c_str() + 1, 2);  // a piece of itself, while it grows
    EXPECT_STREQ(s.c_str(), "ababba");
    s.Insert(2, s);
    EXPECT_STREQ(s.c_str(), "abababbaabba");
    EXPECT_EQ(s.Length(), 12);

    // Many small appends stay correct across reallocations.
    KtWStr wide;
    std::wstring expected;
    for (int i = 0; i < 1000; ++i) {
        wchar_t c = static_cast<wchar_t>(L'a' + i % 26);
        wide.Append(c);
        expected.push_back(c);
    }
    EXPECT_EQ(wide.ToStd(), expected);
}

TEST(KtStr, RangesAreChecked) {
    KtStr s("abcdef");
    EXPECT_STREQ(s.Mid(2, 3).c_str(), "cde");
    EXPECT_STREQ(s.Mid(6, 0).c_str(), "");
    EXPECT_THROW(s.Mid(4, 3), std::out_of_range);
    EXPECT_THROW(s.Mid(-1, 1), std::out_of_range);
    EXPECT_THROW(s.Erase(7, 0), std::out_of_range);
    EXPECT_THROW(s.Insert(7, KtStr("x")), std::out_of_range);
    EXPECT_STREQ(s.c_str(), "abcdef");
    EXPECT_EQ(s.Find('d'), 3);
    EXPECT_EQ(s.Find('a', 1), -1);
}

TEST(KtStr, ComparesByContent) {
    EXPECT_TRUE(KtStr("abc") == KtStr("abc"));
    EXPECT_FALSE(KtStr("abc") == KtStr("abd"));
    EXPECT_FALSE(KtStr("ab") == KtStr("abc"));
    EXPECT_TRUE(KtWStr(L"x") == L"x");
    std::string withZero("a\0b", 3);
    EXPECT_EQ(KtStr(withZero).Length(), 3);
    EXPECT_FALSE(KtStr(withZero) == KtStr("a"));
}

// Copies made and dropped on many threads at once: a refcount that isn't
// atomic shows here as a double free or a leak under the sanitizer build.
TEST(KtStr, CopiesOnManyThreads) {
    const KtWStr shared(L"one text for all threads");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared, t] {
            for (int i = 0; i < 20000; ++i) {
                KtWStr copy(shared);
                KtWStr second;
                second = copy;
                if (i % 100 == t) second.Append(L'!');
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_STREQ(shared.c_str(), L"one text for all threads");
}

TEST(StringConvert, GoesThroughUtf8) {
    const char* utf8 = "na\xC3\xAFve \xE2\x82\xAC \xF0\x9F\x98\x80";
    const wchar_t* wide = L"na\u00EFve \u20AC \U0001F600";
    EXPECT_EQ(ZEM::Widen(utf8), wide);
    EXPECT_EQ(ZEM::Narrow(wide), utf8);
    EXPECT_STREQ(ZEM::WidenStr(utf8).c_str(), wide);
    EXPECT_STREQ(ZEM::NarrowStr(wide).c_str(), utf8);
    EXPECT_EQ(ZEM::Narrow(std::wstring(1, static_cast<wchar_t>(0xD800))), "?");
    EXPECT_EQ(ZEM::Widen(""), L"");

    EXPECT_EQ(ZEM::Message(L"Could not find type bean '", "t\xC3\xA9", L"'"),
              L"Could not find type bean 't\u00E9'");
}
