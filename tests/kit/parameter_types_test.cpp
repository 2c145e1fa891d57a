// Every parameter type the kit reads, through a constructor and a property,
// from a document read by the real container.
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <typeinfo>

#include "kit/kit_test_classes.h"
#include "kit/kit_xml.h"
#include "foundation/string_convert.h"
#include "support/message_of.h"
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

// The type names of a document against every kind of parameter the kit reads:
// a name of the parameter's row of the type table loads, any other fails the
// one bean with a message, in a constructor and in a property alike.
TEST(ParameterTypesTest, EveryTypeNameAgainstEveryParameterKind) {
    ZEM::RegisterClass<&BindMarker>("holder::Marker");
    const std::set<std::string> narrow{"char*", "const char*"}, wide{"wchar_t*", "const wchar_t*"};
    const struct { std::string className; std::set<std::string> accepts; std::string takes; } kinds[] = {
        {HolderClass<bool>(), {"bool"}, "bool"},
        {HolderClass<char>(), {"char"}, "char"},
        {HolderClass<signed char>(), {"int8_t"}, "int8_t"},
        {HolderClass<unsigned char>(), {"unsigned char", "uint8_t"}, "unsigned char"},
        {HolderClass<short>(), {"short", "int16_t"}, "short"},
        {HolderClass<unsigned short>(), {"unsigned short", "uint16_6"}, "unsigned short"},
        {HolderClass<int>(), {"int", "int32_t", "long"}, "int"},
        {HolderClass<unsigned int>(), {"unsigned int", "uint32_t", "unsigned long"}, "unsigned int"},
        {HolderClass<float>(), {"float"}, "float"},
        {HolderClass<const double&>(), {"double"}, "double"},
        {HolderClass<const char*>(), narrow, "const char*"},
        {HolderClass<const std::string&>(), narrow, "const char*"},
        {HolderClass<std::string_view>(), narrow, "const char*"},
        {HolderClass<const wchar_t*>(), wide, "const wchar_t*"},
        {HolderClass<std::wstring>(), wide, "const wchar_t*"},
        {HolderClass<std::shared_ptr<IMarker>>(), {"bean", "nullptr"}, "std::shared_ptr<zem_test::IMarker>"},
    };
    const std::vector<std::string> typeNames = {
        "bool", "char", "int8_t", "unsigned char", "uint8_t", "short", "int16_t", "unsigned short", "uint16_6",
        "int", "int32_t", "unsigned int", "uint32_t", "long", "unsigned long", "float", "double", "char*",
        "const char*", "wchar_t*", "const wchar_t*", "bean", "nullptr"};
    auto text = [](const std::string& type) { return type == "bool" ? "true" : type == "bean" ? "m" : "7"; };
    std::string beans = Bean("m", "holder::Marker", "", ConstructorValues({{"char*", "m"}}));
    for (std::size_t k = 0; k < std::size(kinds); ++k)
        for (std::size_t t = 0; t < typeNames.size(); ++t) {
            const std::string id = std::to_string(k) + "_" + std::to_string(t);
            const std::string value = Value(typeNames[t], text(typeNames[t]));
            beans += Bean("c" + id, kinds[k].className, "", ConstructorArgs(Argument(value))) +
                     Bean("p" + id, kinds[k].className, "", Properties(Property("Value", value)));
        }
    ZEM::CContainer container(Document(beans).c_str());
    for (std::size_t k = 0; k < std::size(kinds); ++k)
        for (std::size_t t = 0; t < typeNames.size(); ++t) {
            const std::string& type = typeNames[t];
            SCOPED_TRACE(kinds[k].takes + " given " + type);
            const std::string id = std::to_string(k) + "_" + std::to_string(t);
            for (const std::string place : {"", "property 'Value' of "}) {
                const std::string name = (place.empty() ? "c" : "p") + id;
                const std::string failure = ZEM::Narrow(zem_support::MessageOf([&] { container.Require(name.c_str()); }));
                if (kinds[k].accepts.count(type) != 0)
                    EXPECT_EQ(failure, "");
                else
                    EXPECT_EQ(failure, "Argument 1 of " + place + "bean '" + name + "' has type '" + type +
                                           "', but class '" + kinds[k].className + "' takes '" + kinds[k].takes + "'");
            }
        }
}

// A referenced object that isn't of the parameter's class fails the bean,
// with a message naming both; nothing found and nullptr give an empty pointer.
TEST(ParameterTypesTest, ObjectParametersTakeObjectsOfTheirClassOnly) {
    using Holder = CHolder<std::shared_ptr<IMarker>>;
    const std::string holderClass = HolderClass<std::shared_ptr<IMarker>>();
    ZEM::RegisterClass<&BindMarker>("holder::Marker");
    ZEM::RegisterClass<&BindPlain>("holder::CPlain");

    auto holder = [&](const std::string& name, const std::string& form) {
        return Bean(name, holderClass, "", ConstructorArgs(Argument(form)) + Properties(Property("Value", form)));
    };
    ZEM::CContainer container(Document(
        Bean("m", "holder::Marker", "singleton='true'", ConstructorValues({{"const char*", "m1"}})) +
        Bean("plain", "holder::CPlain") + holder("toMarker", Ref("m")) + holder("toNull", "<nullptr/>") +
        holder("toNothing", Ref("absent")) + holder("toPlain", Ref("plain")) +
        Bean("setPlain", holderClass, "", Properties(Property("Value", Ref("plain"))))).c_str());
    auto marker = container.GetBean<IMarker>("m");
    ASSERT_TRUE(marker);
    for (const auto& [name, expected] : {std::pair{"toMarker", marker}, {"toNull", nullptr}, {"toNothing", nullptr}}) {
        SCOPED_TRACE(name);
        auto holder = container.Require<Holder>(name);
        EXPECT_EQ(holder->constructed, expected);
        EXPECT_EQ(holder->assigned, expected);
    }
    using zem_support::MessageOf;
    EXPECT_EQ(MessageOf([&] { container.Require("toPlain"); }),
              L"Bean 'plain' of class 'holder::CPlain' given to argument 1 of bean 'toPlain' is not a 'zem_test::IMarker'");
    EXPECT_EQ(MessageOf([&] { container.Require("setPlain"); }),
              L"Bean 'plain' of class 'holder::CPlain' given to argument 1 of property 'Value' of bean 'setPlain' is "
              L"not a 'zem_test::IMarker'");
}

// A constructor, factory method or property of an argument count the class
// doesn't have is named with the counts it has.
TEST(ParameterTypesTest, WrongCountsNameTheCountsThatExist) {
    ZEM::RegisterClass<&BindGadget>("typed::Gadget");
    const std::string refs = "<arguments>" + Argument(Ref("x")) + Argument(Ref("x")) + Argument(Ref("x")) + "</arguments>";
    const std::pair<std::string, std::wstring> cases[] = {
        {Bean("b", "typed::Gadget", "", ConstructorValues({{"int", "1"}, {"int", "1"}, {"int", "1"}, {"int", "1"}})),
         L"Class 'typed::Gadget' has no constructor with 4 arguments; it has ones with 0, 1 and 2"},
        {Bean("b", "typed::Gadget", "factory-method='Make'", ConstructorValues({{"int", "1"}, {"int", "1"}})),
         L"Class 'typed::Gadget' has no factory method 'Make' with 2 arguments; it has one with 1"},
        {Bean("b", "typed::Gadget", "factory-method='Build'"),
         L"Class 'typed::Gadget' has no factory method 'Build' with 0 arguments"},
        {Bean("b", "typed::Gadget", "", Properties(Property("Resize", refs))),
         L"Class 'typed::Gadget' has no property 'Resize' with 3 arguments; it has ones with 1 and 2"},
    };
    for (const auto& [bean, message] : cases) {
        SCOPED_TRACE(bean);
        ZEM::CContainer container(Document(bean).c_str());
        EXPECT_EQ(zem_support::MessageOf([&] { container.Require("b"); }), message);
    }
}

// A wrapper of its own that doesn't declare parameters gets each value in the
// type the document names, whatever its property declares: nothing compares.
TEST(ParameterTypesTest, WrappersOutsideTheKitGetTheDocumentsType) {
    static std::vector<std::int32_t> seen;
    struct CRaw : ZEM::IObject {};
    struct CRawWrapper : ZEM::IBeanWrapper {
        const char* GetClassName() const override { return "raw::Raw"; }
        std::unique_ptr<ZEM::IObject> CreateInstance(const char*, std::size_t count, std::vector<void*>* args,
                                                     std::shared_ptr<const IBeanWrapper>, const char*,
                                                     std::vector<std::shared_ptr<ZEM::IObject>>&) const override {
            Read(count, args);
            return std::make_unique<CRaw>();
        }
        bool Invoke(ZEM::IObject*, const char*, std::size_t count, std::vector<void*>* args) const override {
            Read(count, args);
            return true;
        }
        bool HasMethod(const char*, std::size_t) const override { return false; }
        void GetArgumentTypes(const char*, std::size_t, std::vector<std::string>& types) const override {
            types.assign(1, "double");
        }
        static void Read(std::size_t count, const std::vector<void*>* args) {
            if (count == 1) seen.push_back(*static_cast<const std::int32_t*>((*args)[0]));
        }
    };
    ZEM::GetLocalLibrary().RegisterWrapperMaker("create_raw_Raw_Wrapper",
                                                [] { return static_cast<ZEM::IBeanWrapper*>(new CRawWrapper); });
    ZEM::CContainer container(Document(Bean("r", "raw::Raw", "", ConstructorValues({{"int", "7"}}) +
                                                                     Properties(Property("Size", Value("int", "9"))))).c_str());
    ASSERT_NE(container.Require("r"), nullptr);
    EXPECT_EQ(seen, (std::vector<std::int32_t>{7, 9}));
    ZEM::GetLocalLibrary().UnregisterWrapperMaker("create_raw_Raw_Wrapper");
}

// Require gives the object, or throws why there is none: the reason a
// failure handler gets, also with an observer installed, or the class the
// object lacks.
TEST(ParameterTypesTest, RequireThrowsTheReason) {
    struct CQuiet : ZEM::IBeanRequestObserver {
        void OnRequestStart(const ZEM::SBeanRequest&) override {}
        void OnRequestEnd(const ZEM::SBeanRequest&) override {}
    };
    ZEM::RegisterClass<&BindGadget>("typed::Gadget");
    ZEM::RegisterClass<&BindMarker>("holder::Marker");
    ZEM::CContainer container(Document(Bean("g", "typed::Gadget") +
                                       Bean("m", "holder::Marker", "", ConstructorValues({{"char*", "m"}})) +
                                       Bean("typo", "typed::Gadget", "", Properties(Property("Colour", Ref("g"))))).c_str());
    using zem_support::MessageOf;
    for (bool observed : {false, true}) {
        SCOPED_TRACE(observed);
        if (observed) ZEM::SetBeanRequestObserver(container.Factory(), std::make_shared<CQuiet>());
        EXPECT_NE(container.Require<CGadget>("g"), nullptr);
        EXPECT_EQ(MessageOf([&] { container.Require("nope"); }), L"No definition of bean 'nope'");
        EXPECT_EQ(MessageOf([&] { container.Require<CGadget>("m"); }), L"Bean 'm' is not a 'zem_test::CGadget'");
        EXPECT_EQ(MessageOf([&] { container.Require("typo"); }),
                  L"Class 'typed::Gadget' has no property 'Colour' with 1 argument");
    }
}

}  // namespace
}  // namespace zem_test
