// Folding one configuration store into another: the one check of bean names,
// libraries joined by exact path, and eager names.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/records.h"

namespace {

using namespace zem_support;
using Lines = std::vector<std::string>;
using ZEM::CConfiguration;

Lines Paths(const CConfiguration& configuration) {
    Lines paths;
    for (const auto& library : configuration.Store().libraries) paths.push_back(library->path);
    return paths;
}

Lines Names(const ZEM::SLibrary& library) {
    Lines names;
    for (const ZEM::SBean& bean : library.beans) names.push_back(bean.name);
    return names;
}

// A target without beans takes anything, even a name twice; otherwise the
// first source bean, in order, whose name the target has anywhere is refused,
// and neither store changes.
TEST(ConfigurationMergeTest, ANameTakenAnywhereIsRefused) {
    CConfiguration empty(nullptr);
    empty.FindOrAddLibrary("lib");
    CConfiguration twice = Build(nullptr, {{"lib", {Bean("twice", "Widget").Eager(), Bean("twice", "Gadget").Eager()}}});
    empty.MergeConfiguration(twice);
    EXPECT_EQ(Names(*empty.Store().libraries[0]), (Lines{"twice", "twice"}));
    EXPECT_EQ(empty.Store().eagerBeans, (Lines{"twice", "twice"}));

    struct SCase {
        const char* what;
        std::string library;
        Lines names;
        const char* refused;
    } cases[] = {
        {"in another library", "second", {"fresh", "b"}, "b"},
        {"in the same library", "first", {"a"}, "a"},
        {"the first conflict in source order", "third", {"fresh", "c", "a"}, "c"},
        {"names differ in case", "first", {"A", "B"}, ""},
        {"a name twice in the source alone", "second", {"dup", "dup"}, ""},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.what);
        CConfiguration target(nullptr);
        CConfiguration seed = Build(nullptr, {{"first", {Bean("a", "Widget")}}, {"second", {Bean("b", "Widget"), Bean("c", "Peer")}}});
        target.MergeConfiguration(seed);
        Library added{c.library, {}};
        for (const std::string& name : c.names) added.beans.push_back(Bean(name, "Gadget").Eager());
        CConfiguration source = Build(nullptr, {added});
        std::wstring message = MessageOf([&] { target.MergeConfiguration(source); });
        if (*c.refused == 0) {
            EXPECT_EQ(message, L"");
            continue;
        }
        EXPECT_EQ(ZEM::Narrow(message), std::string("Overriding bean '") + c.refused + "' is not allowed");
        EXPECT_EQ(Paths(target), (Lines{"first", "second"}));
        EXPECT_EQ(Names(*target.Store().libraries[0]), Lines{"a"});
        EXPECT_TRUE(target.Store().eagerBeans.empty());
        EXPECT_EQ(Names(*source.Store().libraries[0]), c.names);
    }
}

// A library of the source whose path the target has joins it, after the
// target's beans; paths compare byte for byte. Eager names of all loads come
// earlier loads first, each with the target's record of its library.
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
    EXPECT_EQ(Paths(target), (Lines{"dir/lib.so", "other.so", "dir\\lib.so", "DIR/lib.so"}));
    EXPECT_EQ(Names(*libraries[0]), (Lines{"t1", "t2", "s1", "s2"}));
    EXPECT_EQ(target.GetEagerBeans(), (std::vector<std::pair<std::string, const ZEM::SLibrary*>>{
                         {"t1", libraries[0].get()}, {"o", libraries[1].get()}, {"s1", libraries[0].get()}}));
    EXPECT_EQ(target.FindOrAddLibrary("dir/lib.so"), libraries[0].get());
    ZEM::SLibrary* added = target.FindOrAddLibrary("dir//lib.so");
    EXPECT_EQ(added, libraries.back().get());
    EXPECT_EQ(libraries.size(), 5u);
}

// Many beans on both sides: the check is not quadratic, and still reports the
// first conflict in the source's order.
TEST(ConfigurationMergeTest, LargeMerges) {
    const int count = 20000;
    CConfiguration target(nullptr);
    Library big{"big", {}}, more{"more", {}};
    for (int i = 0; i < count; ++i) {
        big.beans.push_back(Bean("t" + std::to_string(i), "W"));
        more.beans.push_back(Bean("s" + std::to_string(i), "W"));
    }
    CConfiguration seed = Build(nullptr, {big});
    target.MergeConfiguration(seed);
    CConfiguration fine = Build(nullptr, {more});
    more.beans.push_back(Bean("t19999", "W"));
    more.beans.push_back(Bean("t0", "W"));
    CConfiguration source = Build(nullptr, {more});
    EXPECT_EQ(MessageOf([&] { target.MergeConfiguration(source); }), L"Overriding bean 't19999' is not allowed");
    target.MergeConfiguration(fine);
    EXPECT_EQ(target.Store().libraries.at(1)->beans.size(), static_cast<std::size_t>(count));
}

}  // namespace
