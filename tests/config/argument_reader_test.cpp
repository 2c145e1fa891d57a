// Reading constructor arguments, properties and the four value forms,
// including inner beans and their place in the library's list.
#include <gtest/gtest.h>

#include <cwctype>
#include <string>
#include <vector>

#include "reader_test_support.h"

namespace {

using zem_test::BeanNames;
using zem_test::FindBean;
using zem_test::FindLibrary;
using zem_test::ReadText;
using Names = std::vector<std::string>;
using ZEM::SArgument;

std::string InBeans(const std::string& body) {
    return "<zem><library path='x.so'><beans>" + body + "</beans></library></zem>";
}

std::string WithArguments(const std::string& arguments) {
    return InBeans("<bean name='b' class='C'><constructor-arg>" + arguments + "</constructor-arg></bean>");
}

void ExpectArgument(const SArgument& argument, const std::string& type, const std::wstring& value) {
    EXPECT_EQ(argument.type, type);
    EXPECT_EQ(argument.value, value);
}

// "unnamed bean " + 36 upper-case UUID characters + " " + the class as written.
bool IsInnerName(const std::string& name, const std::string& className) {
    const std::string prefix = "unnamed bean ";
    if (name.size() != prefix.size() + 36 + 1 + className.size()) return false;
    if (name.compare(0, prefix.size(), prefix) != 0) return false;
    for (std::size_t i = prefix.size(); i < prefix.size() + 36; ++i) {
        const char c = name[i];
        if (!(c == '-' || std::isdigit(static_cast<unsigned char>(c)) || (c >= 'A' && c <= 'F'))) return false;
    }
    return name.substr(prefix.size() + 36) == " " + className;
}

TEST(ArgumentReader, ValueFormsGiveTypeAndText) {
    auto configuration = ReadText(WithArguments(
        "<argument><value type='int'>8</value></argument>"
        "<argument><value type='const char*'>  main  </value></argument>"
        "<argument><value type=''/></argument>"
        "<argument><nullptr/></argument>"
        "<argument><ref bean='logger'/></argument>"
        "<argument><ref service='net::IPool'/></argument>"
        "<argument><ref bean='first' service='second'/></argument>"
        "<argument><ref bean='' service='svc'/></argument>"
        "<argument><value type='bean'>logger</value></argument>"
        "<argument><value type='double'>1.5<x/>ignored</value></argument>"
        "<argument><value type='int'>50%</value></argument>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    ASSERT_EQ(bean->arguments.size(), 11u);
    ExpectArgument(bean->arguments[0], "int", L"8");
    ExpectArgument(bean->arguments[1], "const char*", L"main");
    ExpectArgument(bean->arguments[2], "", L"");  // an empty type is no error here
    ExpectArgument(bean->arguments[3], "nullptr", L"");
    ExpectArgument(bean->arguments[4], "bean", L"logger");
    ExpectArgument(bean->arguments[5], "service", L"net::IPool");
    ExpectArgument(bean->arguments[6], "bean", L"first");
    ExpectArgument(bean->arguments[7], "service", L"svc");
    ExpectArgument(bean->arguments[8], "bean", L"logger");
    ExpectArgument(bean->arguments[9], "double", L"1.5");  // the text in front of a child only
    ExpectArgument(bean->arguments[10], "int", L"50%");
}

TEST(ArgumentReader, FirstFormInFixedOrderDecides) {
    auto configuration = ReadText(WithArguments(
        "<argument><bean class='D'/><ref bean='r'/><nullptr/><value type='int'>1</value></argument>"
        "<argument><bean class='D'/><ref bean='r'/><nullptr/></argument>"
        "<argument><bean class='D'/><ref bean='r'/></argument>"
        "<argument><value type='int'>1</value><value type='int'>2</value></argument>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    ASSERT_EQ(bean->arguments.size(), 4u);
    ExpectArgument(bean->arguments[0], "int", L"1");
    ExpectArgument(bean->arguments[1], "nullptr", L"");
    ExpectArgument(bean->arguments[2], "bean", L"r");
    ExpectArgument(bean->arguments[3], "int", L"1");
    // No inner bean was read for any of them.
    EXPECT_EQ(BeanNames(*FindLibrary(configuration, "x.so")), Names{"b"});
}

TEST(ArgumentReader, ValuesSubstituteInsideLoops) {
    auto configuration = ReadText(InBeans(
        "<foreach set='7| ' substitute='v'><bean name='b%v%' class='C'><constructor-arg>"
        "<argument><value type='%v%int'>%v%0</value></argument><argument><ref bean='%v%'/></argument>"
        "</constructor-arg><properties><property name='%v%'><nullptr/></property></properties></bean></foreach>"));
    const auto* seven = FindBean(configuration, "b7");
    const auto* empty = FindBean(configuration, "b");
    ASSERT_TRUE(seven != nullptr && empty != nullptr);
    ExpectArgument(seven->arguments[0], "7int", L"70");
    ExpectArgument(seven->arguments[1], "bean", L"7");
    // Empty after substitution but not as written: a bean reference with an
    // empty name, and a property with an empty name.
    ExpectArgument(empty->arguments[1], "bean", L"");
    EXPECT_EQ(empty->properties.at(0).name, "");
}

TEST(ArgumentReader, PropertiesKeepTheirOrderAndForms) {
    auto configuration = ReadText(InBeans(
        "<bean name='b' class='C'><properties>"
        "<foreach set='a|b' substitute='n'><property name='each%n%'><nullptr/></property></foreach>"
        "<for first='1' last='2' substitute='i'><property name='Slot%i%'><value type='int'>%i%</value></property>"
        "<foreach set='x' substitute='n'><property name='%n%%i%'><nullptr/></property></foreach></for>"
        "<property name='Timeout'><value type='double'>1.5</value><nullptr/></property>"
        "<property name='Endpoint'><value type='int'>0</value><arguments>"
        "<argument><value type='const char*'>main</value></argument><argument><ref bean='r'/></argument>"
        "</arguments></property>"
        "</properties><properties><property name='ignored'><nullptr/></property></properties></bean>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    Names names;
    for (const auto& property : bean->properties) names.push_back(property.name);
    EXPECT_EQ(names, (Names{"Timeout", "Endpoint", "Slot1", "x1", "Slot2", "x2", "eacha", "eachb"}));

    const auto& timeout = bean->properties[0];  // `value` wins over `nullptr`
    ASSERT_EQ(timeout.arguments.size(), 1u);
    ExpectArgument(timeout.arguments[0], "double", L"1.5");

    const auto& endpoint = bean->properties[1];  // `arguments` wins over a value beside it
    ASSERT_EQ(endpoint.arguments.size(), 2u);
    ExpectArgument(endpoint.arguments[0], "const char*", L"main");
    ExpectArgument(endpoint.arguments[1], "bean", L"r");

    ExpectArgument(bean->properties[4].arguments.at(0), "int", L"2");
}

TEST(ArgumentReader, InnerBeanStandsBeforeItsHolderWithFixedFlags) {
    auto configuration = ReadText(InBeans(
        "<bean name='first' class='C'/>"
        "<bean name='holder' class='C' lazy='false'><constructor-arg><argument>"
        "<bean class='net::Codec' name='ignored' singleton='true' lazy='false' exported='false' autoname='true'"
        " init-method='Init' factory-method='Make'/>"
        "</argument></constructor-arg></bean>"));
    const auto& beans = FindLibrary(configuration, "x.so")->beans;
    ASSERT_EQ(beans.size(), 3u);
    EXPECT_EQ(beans[0].name, "first");
    EXPECT_EQ(beans[2].name, "holder");

    const auto& inner = beans[1];
    EXPECT_TRUE(IsInnerName(inner.name, "net::Codec")) << inner.name;
    EXPECT_EQ(inner.className, "net::Codec");
    EXPECT_EQ(inner.factoryMethod, "Make");
    EXPECT_EQ(inner.initMethod, "Init");
    EXPECT_FALSE(inner.singleton);
    EXPECT_TRUE(inner.lazy);
    EXPECT_TRUE(inner.exported);
    EXPECT_TRUE(inner.autoname);

    ASSERT_EQ(beans[2].arguments.size(), 1u);
    ExpectArgument(beans[2].arguments[0], "bean", ZEM::Widen(inner.name));
    // An inner bean is never eager.
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"holder"});
}

TEST(ArgumentReader, InnerBeanNameHoldsTheClassAsWritten) {
    auto configuration = ReadText(InBeans(
        "<for first='1' last='1' substitute='i'><bean name='holder' class='C'><properties>"
        "<property name='Codec'><bean class='Codec%i%@codec%i%.so'/></property></properties></bean></for>"));
    const auto* library = FindLibrary(configuration, "codec1.so");
    ASSERT_NE(library, nullptr);
    ASSERT_EQ(library->beans.size(), 1u);
    const auto& inner = library->beans[0];
    EXPECT_EQ(inner.className, "Codec1");
    // The name passes substitution like any name, so the pattern is expanded.
    EXPECT_TRUE(IsInnerName(inner.name, "Codec1@codec1.so")) << inner.name;

    const auto* holder = FindBean(configuration, "holder");
    ASSERT_NE(holder, nullptr);
    ExpectArgument(holder->properties.at(0).arguments.at(0), "bean", ZEM::Widen(inner.name));
    EXPECT_EQ(BeanNames(*FindLibrary(configuration, "x.so")), Names{"holder"});
}

TEST(ArgumentReader, NestedInnerBeansPrecedeTheirHolders) {
    auto configuration = ReadText(InBeans(
        "<bean name='outer' class='C'><constructor-arg><argument><bean class='Middle'><constructor-arg>"
        "<argument><bean class='Leaf'/></argument></constructor-arg></bean></argument>"
        "<argument><bean class='Other'/></argument></constructor-arg></bean>"));
    const auto& beans = FindLibrary(configuration, "x.so")->beans;
    ASSERT_EQ(beans.size(), 4u);
    EXPECT_TRUE(IsInnerName(beans[0].name, "Leaf")) << beans[0].name;
    EXPECT_TRUE(IsInnerName(beans[1].name, "Middle")) << beans[1].name;
    EXPECT_TRUE(IsInnerName(beans[2].name, "Other")) << beans[2].name;
    EXPECT_EQ(beans[3].name, "outer");
    ExpectArgument(beans[1].arguments.at(0), "bean", ZEM::Widen(beans[0].name));
    ExpectArgument(beans[3].arguments.at(0), "bean", ZEM::Widen(beans[1].name));
    ExpectArgument(beans[3].arguments.at(1), "bean", ZEM::Widen(beans[2].name));
    EXPECT_NE(beans[0].name.substr(13, 36), beans[2].name.substr(13, 36));
}

}  // namespace
