// Reading `bean` and `service` elements into records.
#include <regex>

#include "library/library.h"
#include "platform/module.h"
#include "reader_test_support.h"

namespace {

using namespace zem_test;

// The fields of a record in one line; flags show only where they differ
// from a fresh record's.
std::string Summary(const ZEM::SBean& bean) {
    std::string flags = std::string(bean.singleton ? " singleton" : "") + (bean.lazy ? "" : " eager") +
                        (bean.exported ? "" : " hidden") + (bean.autoname ? " autoname" : "");
    return bean.className + " " + bean.factoryMethod + flags + " init=" + bean.initMethod + " exit=" +
           bean.exitMethod + " factory-bean=" + bean.factoryBean;
}

// Attribute names are found without regard to case.
TEST(BeanReader, AttributesAndTheirDefaults) {
    auto configuration = ReadText(InBeans(
        "<bean name='d' class='a::b::C'/>"
        "<bean name='pool' class='net::Pool' Singleton='true' LAZY='false' exported='false' autoname='true'"
        " init-method='Start' exit-method='Stop' factory-bean='maker' factory-method='Make'/>"));
    EXPECT_EQ(Summary(*FindBean(configuration, "d")), "a::b::C C init= exit= factory-bean=");
    EXPECT_EQ(Summary(*FindBean(configuration, "pool")),
              "net::Pool Make singleton eager hidden autoname init=Start exit=Stop factory-bean=maker");
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"pool"});
}

TEST(BeanReader, ClassSplitsIntoLibraryClassAndFactoryMethod) {
    const struct { const char* attributes; const char* expected; /* library|class|factory method */ } cases[] = {
        {"class='Foo@bar.so'", "bar.so|Foo|Foo"},
        {"class='@Foo@bar.so'", "x.so|@Foo@bar.so|@Foo@bar.so"},  // only an '@' after the start splits
        {"class='Foo@'", "|Foo|Foo"},  // an empty path, not the program's
        {"class='a@b@c'", "b@c|a|a"},
        {"class='a::b::C@lib.so'", "lib.so|a::b::C|C"},
        {"class=':Foo'", "x.so|:Foo|:Foo"},  // a ':' at the start cuts nothing
        {"class='C%x%'", "x.so|C%x%|C%x%"},  // outside loops '%' stands for itself
        {"class='Foo' factory-method=''", "x.so|Foo|"},  // present but empty stays empty
        {"class='Foo' factory-method=':Make'", "x.so|Foo|:Make"},
        {"class='Foo' factory-method='X::Make'", "x.so|Foo|Make"},
        {"class='Foo' factory-method='Make:'", "x.so|Foo|"},
        {"class='Foo' factory-method", "x.so|Foo|Foo"},  // written without '=' counts as absent
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.attributes);
        auto configuration = ReadText(InBeans(std::string("<bean name='b' ") + c.attributes + "/>"));
        // The enclosing library is named first, whether or not it gets the bean.
        EXPECT_EQ(LibraryPaths(configuration)[0], "x.so");
        const auto& library = *configuration.Store().libraries.back();
        ASSERT_EQ(BeanNames(library), Names{"b"});
        EXPECT_EQ(library.path + "|" + library.beans[0].className + "|" + library.beans[0].factoryMethod, c.expected);
    }
    // Outside loops '%' stands for itself, and a library's path never
    // substitutes; inside a loop the class and its library part do.
    auto configuration = ReadText("<zem><library path='lib%i%.so'><beans><bean name='100%' class='C'/>"
                                  "<for first='2' last='2' substitute='i'><bean name='b' class='Foo%i%@lib%i%.so'/>"
                                  "</for></beans></library></zem>");
    EXPECT_EQ(LibraryPaths(configuration), (Names{"lib%i%.so", "lib2.so"}));
    EXPECT_EQ(BeanNames(*configuration.Store().libraries[0]), Names{"100%"});
    EXPECT_EQ(FindBean(configuration, "b")->className, "Foo2");
}

// Version 4 UUIDs, each one new; an eager one is made under that name.
TEST(BeanReader, UnnamedBeansGetFreshLowerCaseUuids) {
    auto configuration = ReadText(InBeans("<bean class='A' lazy='false'/><bean name='' class='B'/>"));
    const auto& beans = configuration.Store().libraries.at(0)->beans;
    ASSERT_EQ(beans.size(), 2u);
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(beans[0].name, form) && std::regex_match(beans[1].name, form)) << beans[0].name;
    EXPECT_NE(beans[0].name, beans[1].name);
    EXPECT_EQ(configuration.Store().eagerBeans, Names{beans[0].name});
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

// Only the first `beans` of a library and the first `depends-on` of a bean
// are read, and only the beans inside `beans`; names keep their order.
TEST(BeanReader, OnlyTheFirstOfEachListIsRead) {
    auto configuration = ReadText(
        "<zem><bean name='top' class='C'/><library path='x.so'><bean name='loose' class='C'/>"
        "<beans><for first='7' last='7' substitute='i'><bean name='first' class='C'>"
        "<depends-on><bean-name>x%i%</bean-name><bean-name/><bean-name>  y  </bean-name></depends-on>"
        "<depends-on><bean-name>ignored</bean-name></depends-on></bean></for></beans>"
        "<beans><bean name='second' class='C'/></beans></library>"
        "<library path='x.so'><beans><bean name='again' class='C'/></beans></library>"
        "<library path='empty.so'/></zem>");
    EXPECT_EQ(LibraryPaths(configuration), (Names{"x.so", "empty.so"}));
    EXPECT_EQ(BeanNames(*configuration.Store().libraries[0]), (Names{"first", "again"}));
    EXPECT_TRUE(configuration.Store().libraries[1]->beans.empty());
    EXPECT_EQ(FindBean(configuration, "first")->dependsOn, (Names{"x7", "", "y"}));
}

// `provides` binds the bean's library (here this program) first; the type ids
// come from the local library.
TEST(BeanReader, ProvidesStoresTypeIdsAndReadsLoops) {
    auto& local = ZEM::LocalLibrary();
    for (const char* name : {"test::IReader1", "test::IReader2", "test::IPlain"})
        local.RegisterTypeId(name, (std::string("id-") + name).c_str());
    auto InSelf = [](const std::string& body) { return "<zem><library><beans>" + body + "</beans></library></zem>"; };
    auto configuration = ReadText(InSelf(
        "<bean name='b' class='C'><provides><for first='1' last='2' substitute='i'>"
        "<interface>test::IReader%i%</interface></for><interface>test::IPlain</interface></provides>"
        "<provides><interface>test::Nope</interface></provides></bean>"));
    EXPECT_EQ(FindBean(configuration, "b")->interfaces,
              (Names{"id-test::IPlain", "id-test::IReader1", "id-test::IReader2"}));
    EXPECT_EQ(LibraryPaths(configuration), Names{ZEM::platform::ExecutablePath()});  // no path: this program
    EXPECT_EQ(configuration.Store().loadedLibraries.size(), 1u);

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
    configuration = ReadText(InBeans("<bean name='b' class='C'><provides/><provides><interface/></provides></bean>"));
    EXPECT_TRUE(configuration.Store().loadedLibraries.empty());
}

}  // namespace
