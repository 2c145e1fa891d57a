// Reading constructor arguments, properties, value forms and inner beans.
#include <regex>

#include "reader_test_support.h"

namespace {

using namespace zem_test;

// Each argument as "type=value".
Names Arguments(const std::vector<ZEM::SArgument>& arguments) {
    Names out;
    for (const auto& argument : arguments) out.push_back(argument.type + "=" + argument.value);
    return out;
}

// "unnamed bean " + an upper-case UUID + " " + the class as written.
bool IsInnerName(const std::string& name, const std::string& className) {
    return std::regex_match(name, std::regex("unnamed bean [0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12} .*")) &&
           name.substr(49) == " " + className;
}

TEST(ArgumentReader, ValueFormsAndTheFirstFormInFixedOrderDecides) {
    auto configuration = ReadText(InBeans(
        "<bean name='b' class='C'><constructor-arg>"
        "<argument><value type='const char*'>  main  </value></argument>"
        "<argument><value type=''/></argument>"
        "<argument><nullptr/></argument>"
        "<argument><ref service='net::IPool'/></argument>"
        "<argument><ref bean='first' service='second'/></argument>"
        "<argument><ref bean='' service='svc'/></argument>"
        "<argument><value type='double'>1.5<x/>ignored</value></argument>"
        "<argument><value type='int'>50%</value></argument>"
        "<argument><bean class='D'/><ref bean='r'/><nullptr/><value type='int'>1</value></argument>"
        "<argument><bean class='D'/><ref bean='r'/><nullptr/></argument>"
        "<argument><bean class='D'/><ref bean='r'/></argument>"
        "<argument><value type='int'>1</value><value type='int'>2</value></argument>"
        "</constructor-arg></bean>"));
    EXPECT_EQ(Arguments(FindBean(configuration, "b")->arguments),
              (Names{"const char*=main", "=", "nullptr=", "service=net::IPool", "bean=first", "service=svc",
                     "double=1.5", "int=50%", "int=1", "nullptr=", "bean=r", "int=1"}));
    // No inner bean was read for any of them.
    EXPECT_EQ(BeanNames(*FindLibrary(configuration, "x.so")), Names{"b"});
}

// Properties come plain first, then from `for`, then from `foreach` loops;
// values substitute inside loops, and may be empty after substitution.
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
        "</properties><properties><property name='ignored'><nullptr/></property></properties></bean>"
        "<foreach set='7| ' substitute='v'><bean name='v%v%' class='C'><constructor-arg>"
        "<argument><value type='%v%int'>%v%0</value></argument><argument><ref bean='%v%'/></argument>"
        "</constructor-arg><properties><property name='%v%'><nullptr/></property></properties></bean></foreach>"));
    const auto* bean = FindBean(configuration, "b");
    ASSERT_NE(bean, nullptr);
    Names names;
    for (const auto& property : bean->properties) names.push_back(property.name);
    EXPECT_EQ(names, (Names{"Timeout", "Endpoint", "Slot1", "x1", "Slot2", "x2", "eacha", "eachb"}));
    EXPECT_EQ(Arguments(bean->properties[0].arguments), Names{"double=1.5"});  // `value` wins over `nullptr`
    EXPECT_EQ(Arguments(bean->properties[1].arguments), (Names{"const char*=main", "bean=r"}));  // `arguments` wins
    EXPECT_EQ(Arguments(bean->properties[4].arguments), Names{"int=2"});

    EXPECT_EQ(Arguments(FindBean(configuration, "v7")->arguments), (Names{"7int=70", "bean=7"}));
    const auto* empty = FindBean(configuration, "v");  // empty after substitution but not as written: no error
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(Arguments(empty->arguments), (Names{"int=0", "bean="}));
    EXPECT_EQ(empty->properties.at(0).name, "");
}

TEST(ArgumentReader, InnerBeansStandBeforeTheirHoldersWithFixedFlags) {
    auto configuration = ReadText(InBeans(
        "<bean name='first' class='C'/>"
        "<bean name='outer' class='C' lazy='false'><constructor-arg><argument><bean class='Middle'"
        " name='ignored' singleton='true' lazy='false' exported='false' init-method='Init' factory-method='Make'>"
        "<constructor-arg><argument><bean class='Leaf'/></argument></constructor-arg></bean></argument>"
        "<argument><bean class='Other%@y.so'/></argument></constructor-arg></bean>"));
    const auto& beans = FindLibrary(configuration, "x.so")->beans;
    ASSERT_EQ(beans.size(), 4u);
    EXPECT_EQ(beans[0].name, "first");
    EXPECT_TRUE(IsInnerName(beans[1].name, "Leaf")) << beans[1].name;
    EXPECT_TRUE(IsInnerName(beans[2].name, "Middle")) << beans[2].name;
    EXPECT_EQ(beans[3].name, "outer");
    const auto& other = FindLibrary(configuration, "y.so")->beans.at(0);
    EXPECT_TRUE(IsInnerName(other.name, "Other%@y.so")) << other.name;  // the class as written
    EXPECT_EQ(other.className, "Other%");

    // Only class, factory and init method are read; never singleton or eager.
    const auto& middle = beans[2];
    EXPECT_EQ(middle.factoryMethod + "|" + middle.initMethod, "Make|Init");
    EXPECT_TRUE(!middle.singleton && middle.lazy && middle.exported);
    EXPECT_EQ(Arguments(middle.arguments), Names{"bean=" + beans[1].name});
    EXPECT_EQ(Arguments(beans[3].arguments), (Names{"bean=" + middle.name, "bean=" + other.name}));
    EXPECT_EQ(configuration.Store().eagerBeans, Names{"outer"});
}

}  // namespace
