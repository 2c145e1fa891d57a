// Reading `bean` and `service` elements: attributes and their defaults, the
// class with its library part, the factory method, generated names, the list
// of eager beans, the order of definitions and the interfaces a bean provides.
#include <gtest/gtest.h>

#include <cwctype>
#include <string>
#include <vector>

#include "library/library.h"
#include "platform/module.h"
#include "reader_test_support.h"

namespace {

using zem_test::BeanNames;
using zem_test::FindBean;
using zem_test::FindLibrary;
using zem_test::LibraryPaths;
using zem_test::ReadText;
using zem_test::TextMessage;
using Names = std::vector<std::string>;

std::string InBeans(const std::string& body) {
    return "<zem><library path='x.so'><beans>" + body + "</beans></library></zem>";
}

bool IsLowerUuid(const std::string& text) {
    if (text.size() != 36) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash != (text[i] == '-')) return false;
        if (!dash && !std::isdigit(static_cast<unsigned char>(text[i])) && (text[i] < 'a' || text[i] > 'f'))
            return false;
    }
    return true;
}

TEST(BeanReader, AbsentAttributesTakeTheirDefaults) {
    auto configuration = ReadText(InBeans("<bean name='b' class='a::b::C'/>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->className, "a::b::C");
    EXPECT_EQ(bean->factoryMethod, "C");
    EXPECT_FALSE(bean->singleton);
    EXPECT_TRUE(bean->lazy);
    EXPECT_TRUE(bean->exported);
    EXPECT_FALSE(bean->autoname);
    EXPECT_TRUE(bean->initMethod.empty() && bean->exitMethod.empty() && bean->factoryBean.empty());
    EXPECT_TRUE(bean->arguments.empty() && bean->properties.empty());
    EXPECT_TRUE(bean->dependsOn.empty() && bean->interfaces.empty());
    EXPECT_TRUE(configuration.Store().eagerBeans.empty());
    EXPECT_TRUE(configuration.Store().path.empty());
}

TEST(BeanReader, EveryAttributeReachesItsField) {
    auto configuration = ReadText(InBeans(
        "<bean name='pool' class='net::Pool' singleton='true' lazy='false' exported='false' autoname='true'"
        " init-method='Start' exit-method='Stop' factory-bean='maker' factory-method='Make'/>"));
    const auto* bean = FindBean(configuration, "pool");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->className, "net::Pool");
    EXPECT_EQ(bean->factoryMethod, "Make");
    EXPECT_TRUE(bean->singleton);
    EXPECT_FALSE(bean->lazy);
    EXPECT_FALSE(bean->exported);
    EXPECT_TRUE(bean->autoname);
    EXPECT_EQ(bean->initMethod, "Start");
    EXPECT_EQ(bean->exitMethod, "Stop");
    EXPECT_EQ(bean->factoryBean, "maker");
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"pool"});
}

TEST(BeanReader, ElementAndAttributeNamesIgnoreCase) {
    auto configuration = ReadText(
        "<ZEM><Library PATH='x.so'><BEANS><Bean NAME='b' Class='C' Lazy='false' SINGLETON='true'"
        " Factory-Method='Make'/><SERVICE name='s' class='S'/></BEANS></Library></ZEM>");
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    EXPECT_FALSE(bean->lazy);
    EXPECT_TRUE(bean->singleton);
    EXPECT_EQ(bean->factoryMethod, "Make");
    EXPECT_NE(FindBean(configuration, "s"), nullptr);
}

TEST(BeanReader, FlagsCanComeFromALoopVariable) {
    auto configuration = ReadText(InBeans(
        "<foreach set='true|false' substitute='s'>"
        "<bean name='b-%s%' class='C' singleton='%s%' lazy='%s%' autoname='%s%' exported='%s%'/></foreach>"));
    const auto* on = FindBean(configuration, "b-true");
    const auto* off = FindBean(configuration, "b-false");
    ASSERT_TRUE(on != nullptr && off != nullptr);
    EXPECT_TRUE(on->singleton && on->lazy && on->autoname && on->exported);
    EXPECT_FALSE(off->singleton || off->lazy || off->autoname || off->exported);
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"b-false"});
}

TEST(BeanReader, ClassSplitsAtTheFirstAtSignAfterItsStart) {
    struct SCase {
        const char* className;
        const char* expectedClass;
        const char* expectedLibrary;
    };
    const SCase cases[] = {
        {"Foo@bar.so", "Foo", "bar.so"},
        {"Foo@", "Foo", ""},  // no executable path stands in here
        {"@Foo", "@Foo", "x.so"},
        {"a@b@c", "a", "b@c"},
        {"ns::Foo@/opt/lib/ns.so", "ns::Foo", "/opt/lib/ns.so"},
        {"@Foo@bar.so", "@Foo@bar.so", "x.so"},  // only the first '@' is looked at
        {"Foo@x.so", "Foo", "x.so"},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.className);
        auto configuration = ReadText(InBeans(std::string("<bean name='b' class='") + c.className + "'/>"));
        const auto* library = FindLibrary(configuration, c.expectedLibrary);
        ASSERT_NE(library, nullptr);
        ASSERT_EQ(BeanNames(*library), Names{"b"});
        EXPECT_EQ(library->beans[0].className, c.expectedClass);
        // The enclosing library is named first, whether or not it gets the bean.
        EXPECT_EQ(LibraryPaths(configuration)[0], "x.so");
    }
}

TEST(BeanReader, SubstitutionComesBeforeTheLibrarySplit) {
    auto configuration =
        ReadText(InBeans("<for first='1' last='2' substitute='i'><bean name='b%i%' class='Foo%i%@lib%i%.so'/></for>"));
    EXPECT_EQ(LibraryPaths(configuration), (Names{"x.so", "lib1.so", "lib2.so"}));
    const auto* first = FindLibrary(configuration, "lib1.so");
    const auto* second = FindLibrary(configuration, "lib2.so");
    ASSERT_TRUE(first != nullptr && second != nullptr);
    ASSERT_EQ(BeanNames(*first), Names{"b1"});
    ASSERT_EQ(BeanNames(*second), Names{"b2"});
    EXPECT_EQ(first->beans[0].className, "Foo1");
    EXPECT_EQ(second->beans[0].factoryMethod, "Foo2");
}

TEST(BeanReader, FactoryMethodIsWhatFollowsTheLastColon) {
    struct SCase {
        const char* attributes;
        const char* expected;
    };
    const SCase cases[] = {
        {"class='Foo'", "Foo"},
        {"class='a::b::C'", "C"},
        {"class='a::b::C@lib.so'", "C"},
        {"class=':Foo'", ":Foo"},  // a ':' at the start cuts nothing
        {"class='::Foo'", "Foo"},
        {"class='Foo' factory-method=''", ""},  // present but empty stays empty
        {"class='Foo' factory-method=':Make'", ":Make"},
        {"class='Foo' factory-method='X::Make'", "Make"},
        {"class='Foo' factory-method='Make:'", ""},
        {"class='Foo' factory-method", "Foo"},  // written without '=' counts as absent
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.attributes);
        auto configuration = ReadText(InBeans(std::string("<bean name='b' ") + c.attributes + "/>"));
        const auto* bean = FindBean(configuration, "b");
        ASSERT_NE(bean, nullptr);
        EXPECT_EQ(bean->factoryMethod, c.expected);
    }
}

TEST(BeanReader, UnnamedBeansGetFreshLowerCaseUuids) {
    auto configuration = ReadText(InBeans("<bean class='A' lazy='false'/><bean name='' class='B'/>"));
    const auto& beans = configuration.Store().libraries.at(0)->beans;
    ASSERT_EQ(beans.size(), 2u);
    EXPECT_TRUE(IsLowerUuid(beans[0].name)) << beans[0].name;
    EXPECT_TRUE(IsLowerUuid(beans[1].name)) << beans[1].name;
    EXPECT_NE(beans[0].name, beans[1].name);
    // An eager bean without a name is still made at load, under that name.
    EXPECT_EQ(configuration.Store().eagerBeans, Names{beans[0].name});
}

TEST(BeanReader, PercentOutsideLoopsStandsForItself) {
    auto configuration = ReadText("<zem><library path='lib%i%.so'><beans>"
                                  "<bean name='100%' class='C%x%' init-method='%'/></beans></library></zem>");
    const auto* bean = FindBean(configuration, "100%");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->className, "C%x%");
    EXPECT_EQ(bean->initMethod, "%");
    EXPECT_EQ(LibraryPaths(configuration), Names{"lib%i%.so"});  // library paths never substitute
}

TEST(BeanReader, DefinitionsFollowTheFixedOrderNotTheFile) {
    auto configuration = ReadText(InBeans(
        "<foreach set='x|y' substitute='v'><service name='fe-%v%' class='C' lazy='false'/></foreach>"
        "<service name='s1' class='C' lazy='false'/>"
        "<for first='1' last='2' substitute='i'><bean name='for%i%' class='C' lazy='false'/>"
        "<for first='1' last='1' substitute='i'><bean name='inner%i%' class='C'/></for></for>"
        "<bean name='b1' class='C' lazy='false'/>"
        "<service name='s2' class='C'/>"
        "<bean name='b2' class='C'/>"
        "<bean name='b1' class='C@other.so' lazy='false'/>"));
    const Names expected{"b1", "b2", "s1", "s2", "for1", "inner1", "for2", "inner1", "fe-x", "fe-y"};
    EXPECT_EQ(BeanNames(*configuration.Store().libraries.at(0)), expected);
    // A name defined twice is listed twice, wherever its library is.
    EXPECT_EQ(configuration.Store().eagerBeans, (Names{"b1", "b1", "s1", "for1", "for2", "fe-x", "fe-y"}));
}

TEST(BeanReader, DependsOnKeepsEveryNameInOrder) {
    auto configuration = ReadText(InBeans(
        "<for first='7' last='7' substitute='i'><bean name='b' class='C'>"
        "<depends-on><bean-name>x%i%</bean-name><bean-name/><bean-name>  y  </bean-name></depends-on>"
        "<depends-on><bean-name>ignored</bean-name></depends-on></bean></for>"
        "<bean name='empty' class='C'><depends-on/></bean>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->dependsOn, (Names{"x7", "", "y"}));
    EXPECT_TRUE(FindBean(configuration, "empty")->dependsOn.empty());
}

TEST(BeanReader, OnlyTheFirstBeansElementAndOnlyBeansInsideItAreRead) {
    auto configuration = ReadText(
        "<zem><bean name='top' class='C'/><library path='x.so'><bean name='loose' class='C'/>"
        "<beans><bean name='first' class='C'/></beans><beans><bean name='second' class='C'/></beans></library>"
        "<library path='x.so'><beans><bean name='again' class='C'/></beans></library>"
        "<library path='empty.so'/></zem>");
    EXPECT_EQ(LibraryPaths(configuration), (Names{"x.so", "empty.so"}));
    EXPECT_EQ(BeanNames(*configuration.Store().libraries[0]), (Names{"first", "again"}));
    EXPECT_TRUE(configuration.Store().libraries[1]->beans.empty());
}

TEST(BeanReader, LibraryWithoutPathIsTheRunningProgram) {
    auto configuration = ReadText(
        "<zem><library><beans><bean name='a' class='C'/></beans></library>"
        "<library path=''><beans><bean name='b' class='C'/></beans></library></zem>");
    const std::string self = ZEM::platform::ExecutablePath();
    ASSERT_FALSE(self.empty());
    EXPECT_EQ(LibraryPaths(configuration), Names{self});
    EXPECT_EQ(BeanNames(*configuration.Store().libraries[0]), (Names{"a", "b"}));
}

// `provides` binds the bean's library first, so a library without a path (the
// test program itself) can be loaded; the type ids come from the local library.
class ProvidesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        auto& local = ZEM::LocalLibrary();
        local.RegisterTypeId("test::IReader1", "id-reader-1");
        local.RegisterTypeId("test::IReader2", "id-reader-2");
        local.RegisterTypeId("test::IPlain", "id-plain");
    }
    static std::string InSelf(const std::string& body) {
        return "<zem><library><beans>" + body + "</beans></library></zem>";
    }
};

TEST_F(ProvidesTest, InterfacesAreStoredAsTypeIdsAndLoopsAreRead) {
    auto configuration = ReadText(InSelf(
        "<bean name='b' class='C'><provides><for first='1' last='2' substitute='i'>"
        "<interface>test::IReader%i%</interface></for><interface>test::IPlain</interface></provides>"
        "<provides><interface>test::Nope</interface></provides></bean>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->interfaces, (Names{"id-plain", "id-reader-1", "id-reader-2"}));
    EXPECT_EQ(configuration.Store().loadedLibraries.size(), 1u);
}

TEST_F(ProvidesTest, FaultsOfProvidesComeUpWhileReading) {
    EXPECT_EQ(TextMessage(InSelf("<bean name='b' class='C'><provides><interface>test::INope</interface>"
                                 "</provides></bean>")),
              L"No type id for class 'test::INope' registered");
    EXPECT_EQ(TextMessage(InSelf("<bean name='b' class='C'><provides><interface/></provides></bean>")),
              L"Error while parsing interface: Missing interface name");
    // The library is bound before the text is looked at.
    EXPECT_EQ(TextMessage("<zem><library path='/nonexistent/libnothing.so'><beans><bean name='b' class='C'>"
                          "<provides><interface/></provides></bean></beans></library></zem>"),
              L"Could not load library '/nonexistent/libnothing.so'");
    // A provides without interfaces binds nothing and is no error.
    auto configuration =
        ReadText(InBeans("<bean name='b' class='C'><provides/><provides><interface/></provides></bean>"));
    EXPECT_TRUE(configuration.Store().loadedLibraries.empty());
}

}  // namespace
