// Folding one configuration store into another: the one check of bean names,
// libraries joined by exact path, eager names and the services of beans.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "library/service_registry.h"
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

TEST(ConfigurationMergeTest, MergingIntoAnEmptyTargetNeverRefuses) {
    CConfiguration target(nullptr);
    CConfiguration source =
        Build(nullptr, {{"lib", {Bean("twice", "Widget").Eager(), Bean("twice", "Gadget").Eager(), Bean("other", "Peer")}}});
    target.MergeConfiguration(source);
    ASSERT_EQ(target.Store().libraries.size(), 1u);
    EXPECT_EQ(Names(*target.Store().libraries[0]), (Lines{"twice", "twice", "other"}));
    EXPECT_EQ(target.Store().eagerBeans, (Lines{"twice", "twice"}));
    // A target with libraries but no beans is still empty.
    CConfiguration empty(nullptr);
    empty.FindOrAddLibrary("lib");
    CConfiguration again = Build(nullptr, {{"lib", {Bean("twice", "Widget")}}});
    EXPECT_NO_THROW(empty.MergeConfiguration(again));
}

// The first source bean, in order, whose name the target has anywhere is
// refused, and neither store changes.
TEST(ConfigurationMergeTest, ANameTakenAnywhereIsRefused) {
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
// target's beans; paths compare byte for byte.
TEST(ConfigurationMergeTest, LibrariesJoinByExactPath) {
    CConfiguration target(nullptr);
    CConfiguration first = Build(nullptr, {{"dir/lib.so", {Bean("t1", "W"), Bean("t2", "W")}}, {"other.so", {Bean("o", "W")}}});
    target.MergeConfiguration(first);
    CConfiguration second = Build(nullptr, {{"dir\\lib.so", {Bean("back", "W")}},
                                            {"dir/lib.so", {Bean("s1", "W").Eager(), Bean("s2", "W")}},
                                            {"DIR/lib.so", {Bean("upper", "W")}}});
    target.MergeConfiguration(second);
    EXPECT_EQ(Paths(target), (Lines{"dir/lib.so", "other.so", "dir\\lib.so", "DIR/lib.so"}));
    EXPECT_EQ(Names(*target.Store().libraries[0]), (Lines{"t1", "t2", "s1", "s2"}));
    // An eager bean of a joined library is asked for with the target's record.
    auto eager = target.GetEagerBeans();
    ASSERT_EQ(eager.size(), 1u);
    EXPECT_EQ(eager[0].first, "s1");
    EXPECT_EQ(eager[0].second, target.Store().libraries[0].get());
    EXPECT_EQ(target.FindOrAddLibrary("dir/lib.so"), target.Store().libraries[0].get());
    ZEM::SLibrary* added = target.FindOrAddLibrary("dir//lib.so");
    EXPECT_EQ(added, target.Store().libraries.back().get());
    EXPECT_EQ(target.Store().libraries.size(), 5u);
}

// The eager names of all loads, earlier loads first, each with the library of
// its bean; a lazy singleton is on no list.
TEST(ConfigurationMergeTest, EagerNamesAcrossMerges) {
    CConfiguration target(nullptr);
    CConfiguration first = Build(nullptr, {{"x", {Bean("x1", "W").Eager(), Bean("lazy", "W").Singleton()}}});
    CConfiguration second = Build(nullptr, {{"y", {Bean("y1", "W").Eager().Singleton()}}, {"x", {Bean("x2", "W").Eager()}}});
    target.MergeConfiguration(first);
    target.MergeConfiguration(second);
    std::vector<std::pair<std::string, std::string>> eager;
    for (const auto& [name, library] : target.GetEagerBeans()) eager.emplace_back(name, library->path);
    EXPECT_EQ(eager, (std::vector<std::pair<std::string, std::string>>{{"x1", "x"}, {"y1", "y"}, {"x2", "x"}}));
}

// Many beans on both sides: the check is not quadratic, and still reports the
// first conflict in the source's order.
TEST(ConfigurationMergeTest, LargeMerges) {
    const int count = 20000;
    CConfiguration target(nullptr);
    Library big{"big", {}};
    for (int i = 0; i < count; ++i) big.beans.push_back(Bean("t" + std::to_string(i), "W"));
    CConfiguration seed = Build(nullptr, {big});
    target.MergeConfiguration(seed);
    Library more{"more", {}};
    for (int i = 0; i < count; ++i) more.beans.push_back(Bean("s" + std::to_string(i), "W"));
    more.beans.push_back(Bean("t19999", "W"));
    more.beans.push_back(Bean("t0", "W"));
    CConfiguration source = Build(nullptr, {more});
    EXPECT_EQ(MessageOf([&] { target.MergeConfiguration(source); }), L"Overriding bean 't19999' is not allowed");
    more.beans.erase(more.beans.begin() + count, more.beans.end());
    CConfiguration fine = Build(nullptr, {more});
    target.MergeConfiguration(fine);
    EXPECT_EQ(target.Store().libraries.size(), 2u);
    EXPECT_EQ(target.Store().libraries[1]->beans.size(), static_cast<std::size_t>(count));
}

// A store's look-ups: a name that no library holds loads nothing; the first
// library that holds a name is the one bound.
TEST(ConfigurationMergeTest, BeanTypesAndServiceCounts) {
    CConfiguration store(nullptr);
    CConfiguration source = Build(nullptr, {{"never-loaded.so", {Bean("x", "W")}}});
    store.MergeConfiguration(source);
    EXPECT_EQ(store.GetBeanType("absent"), nullptr);
    EXPECT_TRUE(store.Store().loadedLibraries.empty());
    EXPECT_EQ(store.GetServiceCount("nobody"), 0u);
    EXPECT_EQ(ZEM::Narrow(MessageOf([&] { store.GetBeanType("x"); })), "Could not load library 'never-loaded.so'");
}

// One registration per bean, on the lists of all its interfaces, made at the
// merge; each later configuration's services come first.
TEST(ConfigurationMergeTest, ServicesOfTheSourceBeans) {
    CConfiguration target(nullptr);
    CConfiguration first = Build(nullptr, {{"lib", {Bean("one", "W").Provides("A").Provides("B"), Bean("plain", "W")}}});
    target.MergeConfiguration(first);
    CConfiguration second = Build(nullptr, {{"lib", {Bean("two", "W").Singleton().Provides("A")}}});
    target.MergeConfiguration(second);
    const ZEM::ServiceList& a = *target.Store().services.Find("A");
    const ZEM::ServiceList& b = *target.Store().services.Find("B");
    ASSERT_EQ(a.size(), 2u);
    ASSERT_EQ(b.size(), 1u);
    EXPECT_EQ(a.back(), b.front()) << "one registration for both interfaces of a bean";
    EXPECT_FALSE(a.back()->IsSingleton());
    EXPECT_TRUE(a.front()->IsSingleton());
    EXPECT_EQ(target.Store().services.Size(), 2u);
}

}  // namespace
