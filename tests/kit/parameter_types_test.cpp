// Every parameter type the kit reads, through a constructor and a property,
// from a document read by the real container.
#include <gtest/gtest.h>

#include <functional>
#include <typeinfo>

#include "kit/kit_test_classes.h"
#include "kit/kit_xml.h"
#include "zem/zem.h"

namespace zem_test {
namespace {

using namespace xml;

// The class name under which the holder of P is registered on the local library.
template <class P>
std::string HolderClass() {
    static const std::string name = [] {
        std::string className = std::string("holder::") + typeid(CHolder<P>).name();
        ZEM::RegisterClass<&BindHolder<P>>(className.c_str());
        return className;
    }();
    return name;
}

int beanCount = 0;  // bean names must be unique across all P

struct STypeCase { std::string type, beans; std::function<void(const ZEM::CContainer&)> check; };

// A bean of the holder of P that gets `constructed` as a constructor argument
// and `assigned` as its property Value, both written with the type name `type`.
template <class P>
STypeCase Case(const std::string& type, const std::string& constructedText, Owned<P> constructed,
               const std::string& assignedText, Owned<P> assigned) {
    std::string name = "bean" + std::to_string(++beanCount);
    std::string beans = Bean(name, HolderClass<P>(), "",
                             ConstructorArgs(Argument(Value(type, constructedText))) +
                                 Properties(Property("Value", Value(type, assignedText))));
    return {type, beans, [name, constructed, assigned](const ZEM::CContainer& container) {
                auto holder = container.GetBean<CHolder<P>>(name.c_str());
                ASSERT_NE(holder, nullptr);
                EXPECT_EQ(holder->constructed, constructed);
                EXPECT_EQ(holder->assigned, assigned);
            }};
}

TEST(ParameterTypesTest, EachConfiguredTypeReachesItsCppType) {
    const std::vector<STypeCase> cases = {
        Case<bool>("bool", "true", true, "false", false),
        Case<signed char>("int8_t", "-128", -128, "300", 44),
        Case<const std::uint8_t&>("uint8_t", "-1", 255, "255", 255),
        Case<short>("short", "-300", -300, "70000", 4464),
        Case<unsigned short>("unsigned short", "65535", 65535, "-1", 65535),
        Case<unsigned short>("uint16_6", "40000", 40000, "7", 7),
        Case<int>("int", "-70000", -70000, "12abc", 12),
        Case<const int&>("int32_t", "2147483647", 2147483647, "0x10", 0),
        Case<unsigned int>("unsigned int", "-1", 4294967295u, "3000000000", 2147483647u),
        Case<std::int32_t>("long", "-2147483648", INT32_MIN, "99999999999", INT32_MAX),
        Case<std::uint32_t>("unsigned long", "0xFFFFFFFF", 4294967295u, "010", 8u),
        Case<float>("float", "1.5", 1.5f, "-0.25", -0.25f),
        Case<const double&>("double", "2.5e3", 2500.0, "-0.125", -0.125),
        Case<const char*>("const char*", "grüße", "grüße", "", ""),
        Case<const std::string&>("char*", "a b", "a b", "", ""),
        Case<std::string_view>("const char*", "view", "view", "v", "v"),
        Case<std::wstring>("wchar_t*", "wide \U0001F600", L"wide \U0001F600", "", L""),
        Case<const wchar_t*>("const wchar_t*", "grüße €", L"grüße €", "w", L"w"),
        Case<std::wstring_view>("wchar_t*", "ω", L"ω", "", L""),
    };
    std::string beans;
    for (const STypeCase& c : cases) beans += c.beans;
    ZEM::CContainer container(Document(beans).c_str());
    for (const STypeCase& c : cases) {
        SCOPED_TRACE(c.type);
        c.check(container);
    }
}

TEST(ParameterTypesTest, ObjectParametersAreCastFromWhatTheContainerFound) {
    using Holder = CHolder<std::shared_ptr<IMarker>>;
    ZEM::RegisterClass<&BindHolder<std::shared_ptr<IMarker>>>("holder::marker");
    ZEM::RegisterClass<&BindMarker>("holder::Marker");
    ZEM::RegisterClass<&BindPlain>("holder::CPlain");

    auto holder = [](const std::string& name, const std::string& form) {
        return Bean(name, "holder::marker", "", ConstructorArgs(Argument(form)) + Properties(Property("Value", form)));
    };
    ZEM::CContainer container(Document(
        Bean("m", "holder::Marker", "singleton='true'", ConstructorValues({{"const char*", "m1"}})) +
        Bean("plain", "holder::CPlain") + holder("toMarker", Ref("m")) + holder("toNull", "<nullptr/>") +
        holder("toNothing", Ref("absent")) + holder("toPlain", Ref("plain"))).c_str());
    auto marker = container.GetBean<IMarker>("m");
    ASSERT_TRUE(marker);
    // An empty object is an answer, not a failure.
    for (const auto& [name, expected] : {std::pair{"toMarker", marker}, {"toNull", nullptr}, {"toNothing", nullptr},
                                         {"toPlain", nullptr}}) {
        SCOPED_TRACE(name);
        auto holder = container.GetBean<Holder>(name);
        ASSERT_NE(holder, nullptr);
        EXPECT_EQ(holder->constructed, expected);
        EXPECT_EQ(holder->assigned, expected);
    }
}

}  // namespace
}  // namespace zem_test
