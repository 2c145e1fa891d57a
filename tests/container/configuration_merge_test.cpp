// Folding one configuration store into another.
#include "support/records.h"

namespace {

using namespace zem_support;
using ZEM::CConfiguration;

// A target without beans takes anything; otherwise the first source name the
// target has anywhere is refused, and neither store changes.
TEST(ConfigurationMergeTest, ANameTakenAnywhereIsRefused) {
    CConfiguration empty(nullptr);
    empty.FindOrAddLibrary("lib");
    CConfiguration twice = Build(nullptr, {{"lib", {Bean("twice", "Widget").Eager(), Bean("twice", "Gadget").Eager()}}});
    empty.MergeConfiguration(twice);
    EXPECT_EQ(BeanNames(*empty.Store().libraries[0]), (Lines{"twice", "twice"}));
    EXPECT_EQ(empty.Store().eagerBeans, (Lines{"twice", "twice"}));

    const struct { const char* what; const char* library; Lines names; const char* refused; } cases[] = {
        {"in another library", "second", {"fresh", "b"}, "b"},
        {"in the same library", "first", {"a"}, "a"},
        {"the first conflict in source order", "third", {"fresh", "c", "a"}, "c"},
        {"names differ in case", "first", {"A", "B"}, ""},
        {"a name twice in the source alone", "second", {"dup", "dup"}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CConfiguration target(nullptr);
        CConfiguration seed = Build(nullptr, {{"first", {Bean("a", "W")}}, {"second", {Bean("b", "W"), Bean("c", "P")}}});
        target.MergeConfiguration(seed);
        Library added{c.library, {}};
        for (const std::string& name : c.names) added.beans.push_back(Bean(name, "Gadget").Eager());
        CConfiguration source = Build(nullptr, {added});
        std::string message = ZEM::Narrow(MessageOf([&] { target.MergeConfiguration(source); }));
        if (*c.refused == 0) {
            EXPECT_EQ(message, "");
            continue;
        }
        EXPECT_EQ(message, std::string("Overriding bean '") + c.refused + "' is not allowed");
        EXPECT_EQ(LibraryPaths(target), (Lines{"first", "second"}));
        EXPECT_EQ(BeanNames(*target.Store().libraries[0]), Lines{"a"});
        EXPECT_TRUE(target.Store().eagerBeans.empty());
        EXPECT_EQ(BeanNames(*source.Store().libraries[0]), c.names);
    }
}

// A source library joins the target's of the same bytes, after its beans;
// eager names come earlier loads first, with the target's library record.
TEST(ConfigurationMergeTest, LibrariesJoinByExactPath) {
    CConfiguration target(nullptr);
    CConfiguration first = Build(nullptr, {{"dir/lib.so", {Bean("t1", "W").Eager(), Bean("t2", "W").Singleton()}},
                                           {"other.so", {Bean("o", "W").Eager()}}});
    target.MergeConfiguration(first);
    CConfiguration second = Build(nullptr, {{"dir\\lib.so", {Bean("back", "W")}},
                                            {"dir/lib.so", {Bean("s1", "W").Eager(), Bean("s2", "W")}},
                                            {"DIR/lib.so", {Bean("upper", "W")}}});
    target.MergeConfiguration(second);
    const auto& libraries = target.Store().libraries;
    EXPECT_EQ(LibraryPaths(target), (Lines{"dir/lib.so", "other.so", "dir\\lib.so", "DIR/lib.so"}));
    EXPECT_EQ(BeanNames(*libraries[0]), (Lines{"t1", "t2", "s1", "s2"}));
    using Eager = std::vector<std::pair<std::string, const ZEM::SLibrary*>>;
    EXPECT_EQ(target.GetEagerBeans(),
              (Eager{{"t1", libraries[0].get()}, {"o", libraries[1].get()}, {"s1", libraries[0].get()}}));
    EXPECT_EQ(target.FindOrAddLibrary("dir/lib.so"), libraries[0].get());
}

}  // namespace
