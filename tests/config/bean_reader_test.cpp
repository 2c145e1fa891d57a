// Reading `bean` and `service` elements: attributes and their defaults, the
// class with its library part, the factory method, generated names, the list
// of eager beans, the order of definitions and the interfaces a bean provides.
#include <gtest/gtest.h>

#include <regex>
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

TEST(BeanReader, AttributesAndTheirDefaults) {
    auto configuration = ReadText(InBeans(
        "<bean name='d' class='a::b::C'/>"
        "<bean name='pool' class='net::Pool' singleton='true' lazy='false' exported='false' autoname='true'"
        " init-method='Start' exit-method='Stop' factory-bean='maker' factory-method='Make'/>"));
    const auto* d = FindBean(configuration, "d");
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->factoryMethod, "C");
    EXPECT_TRUE(!d->singleton && d->lazy && d->exported && !d->autoname);
    EXPECT_TRUE(d->initMethod.empty() && d->exitMethod.empty() && d->factoryBean.empty());
    const auto* pool = FindBean(configuration, "pool");
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->className, "net::Pool");
    EXPECT_EQ(pool->factoryMethod, "Make");
    EXPECT_TRUE(pool->singleton && !pool->lazy && !pool->exported && pool->autoname);
    EXPECT_EQ(pool->initMethod, "Start");
    EXPECT_EQ(pool->exitMethod, "Stop");
    EXPECT_EQ(pool->factoryBean, "maker");
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"pool"});
}

TEST(BeanReader, ClassSplitsIntoLibraryClassAndFactoryMethod) {
    struct SCase {
        const char* attributes;
        const char* expected;  // library|class|factory method
    };
    const SCase cases[] = {
        {"class='Foo@bar.so'", "bar.so|Foo|Foo"},
        {"class='@Foo@bar.so'", "x.so|@Foo@bar.so|@Foo@bar.so"},  // only an '@' after the start splits
        {"class='a@b@c'", "b@c|a|a"},
        {"class='a::b::C@lib.so'", "lib.so|a::b::C|C"},
        {"class=':Foo'", "x.so|:Foo|:Foo"},  // a ':' at the start cuts nothing
        {"class='Foo' factory-method=''", "x.so|Foo|"},  // present but empty stays empty
        {"class='Foo' factory-method='X::Make'", "x.so|Foo|Make"},
        {"class='Foo' factory-method='Make:'", "x.so|Foo|"},
        {"class='Foo' factory-method", "x.so|Foo|Foo"},  // written without '=' counts as absent
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.attributes);
        auto configuration = ReadText(InBeans(std::string("<bean name='b' ") + c.attributes + "/>"));
        // The enclosing library is named first, whether or not it gets the bean.
        EXPECT_EQ(LibraryPaths(configuration)[0], "x.so");
        const auto& library = *configuration.Store().libraries.back();
        ASSERT_EQ(BeanNames(library), Names{"b"});
        EXPECT_EQ(library.path + "|" + library.beans[0].className + "|" + library.beans[0].factoryMethod, c.expected);
    }
}

TEST(BeanReader, UnnamedBeansGetFreshLowerCaseUuids) {
    auto configuration = ReadText(InBeans("<bean class='A' lazy='false'/><bean name='' class='B'/>"));
    const auto& beans = configuration.Store().libraries.at(0)->beans;
    ASSERT_EQ(beans.size(), 2u);
    EXPECT_TRUE(std::regex_match(beans[0].name, std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")))
        << beans[0].name;
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
        "<depends-on><bean-name>ignored</bean-name></depends-on></bean></for>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->dependsOn, (Names{"x7", "", "y"}));
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
    EXPECT_EQ(LibraryPaths(configuration), Names{ZEM::platform::ExecutablePath()});  // no path: this program
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
