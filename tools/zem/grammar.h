// The configuration format as the readers read it: for each place where an
// element can stand, the attributes read on it and the children read inside
// it, and the value types; a bean's attributes are the readers' own list.
// `zem lint` checks documents against this table, and a test holds the XML
// Schema in docs/zem.xsd to the same names.
#pragma once

#include <iterator>
#include <vector>

#include "config/bean_attributes.h"

namespace zemcli {

enum class EPlace {
    Root,
    Include,
    Library,
    Beans,
    Bean,
    InnerBean,
    ConstructorArg,
    Properties,
    Property,
    Arguments,
    Argument,
    Value,
    Nullptr,
    Ref,
    Provides,
    Interface,
    DependsOn,
    BeanName,
    For,
    Foreach,  // the last place
};

struct SChildRule {
    const char* name;
    EPlace place;
    bool firstOnly;
};

struct SPlaceRule {
    std::vector<const char*> attributes;
    std::vector<SChildRule> children;
    bool readsText;
};

inline const std::vector<const char*> kBeanAttributes{std::begin(ZEM::kBeanAttributeNames),
                                                      std::end(ZEM::kBeanAttributeNames)};
inline std::vector<const char*> InnerBeanAttributes() {
    std::vector<const char*> names;
    for (int which = 0; which < ZEM::AttrCount; ++which)
        if (ZEM::ReadOnInnerBean(static_cast<ZEM::EBeanAttribute>(which)))
            names.push_back(ZEM::kBeanAttributeNames[which]);
    return names;
}
inline const std::vector<SChildRule> kBeanChildren{{"constructor-arg", EPlace::ConstructorArg, true},
                                                   {"properties", EPlace::Properties, true},
                                                   {"provides", EPlace::Provides, true},
                                                   {"depends-on", EPlace::DependsOn, true}};
// The value forms in the order in which the readers look for them.
inline const std::vector<SChildRule>& ValueForms() {
    static const std::vector<SChildRule> kForms{{"value", EPlace::Value, true},
                                                {"nullptr", EPlace::Nullptr, true},
                                                {"ref", EPlace::Ref, true},
                                                {"bean", EPlace::InnerBean, true}};
    return kForms;
}

inline std::vector<SChildRule> WithArguments(std::vector<SChildRule> forms) {
    forms.insert(forms.begin(), {"arguments", EPlace::Arguments, true});
    return forms;
}

// What the readers read where an element of `place` stands. A loop's
// children are those of the place that holds the loop. An argument holds one
// value form, a property one value form or `arguments`.
inline const SPlaceRule& Rule(EPlace place) {
    static const SPlaceRule kNone{{}, {}, false};
    static const SPlaceRule kRoot{
        {}, {{"include", EPlace::Include, false}, {"library", EPlace::Library, false}}, false};
    static const SPlaceRule kInclude{{"path"}, {}, false};
    static const SPlaceRule kLibrary{{"path"}, {{"beans", EPlace::Beans, true}}, false};
    static const SPlaceRule kBeans{{},
                                   {{"bean", EPlace::Bean, false},
                                    {"service", EPlace::Bean, false},
                                    {"for", EPlace::For, false},
                                    {"foreach", EPlace::Foreach, false}},
                                   false};
    static const SPlaceRule kBean{kBeanAttributes, kBeanChildren, false};
    static const SPlaceRule kInnerBean{InnerBeanAttributes(), kBeanChildren, false};
    static const SPlaceRule kConstructorArg{{}, {{"argument", EPlace::Argument, false}}, false};
    static const SPlaceRule kProperties{
        {},
        {{"property", EPlace::Property, false}, {"for", EPlace::For, false}, {"foreach", EPlace::Foreach, false}},
        false};
    static const SPlaceRule kArgument{{}, ValueForms(), false};
    static const SPlaceRule kProperty{{"name"}, WithArguments(ValueForms()), false};
    static const SPlaceRule kArguments{{}, {{"argument", EPlace::Argument, false}}, false};
    static const SPlaceRule kValue{{"type"}, {}, true};
    static const SPlaceRule kRef{{"bean", "service"}, {}, false};
    static const SPlaceRule kProvides{
        {},
        {{"interface", EPlace::Interface, false}, {"for", EPlace::For, false}, {"foreach", EPlace::Foreach, false}},
        false};
    static const SPlaceRule kText{{}, {}, true};
    static const SPlaceRule kDependsOn{{}, {{"bean-name", EPlace::BeanName, false}}, false};
    static const SPlaceRule kFor{{"first", "last", "inc", "substitute"}, {}, false};
    static const SPlaceRule kForeach{{"set", "substitute"}, {}, false};
    switch (place) {
        case EPlace::Root:
            return kRoot;
        case EPlace::Include:
            return kInclude;
        case EPlace::Library:
            return kLibrary;
        case EPlace::Beans:
            return kBeans;
        case EPlace::Bean:
            return kBean;
        case EPlace::InnerBean:
            return kInnerBean;
        case EPlace::ConstructorArg:
            return kConstructorArg;
        case EPlace::Properties:
            return kProperties;
        case EPlace::Property:
            return kProperty;
        case EPlace::Arguments:
            return kArguments;
        case EPlace::Value:
            return kValue;
        case EPlace::Ref:
            return kRef;
        case EPlace::Provides:
            return kProvides;
        case EPlace::Interface:
        case EPlace::BeanName:
            return kText;
        case EPlace::DependsOn:
            return kDependsOn;
        case EPlace::For:
            return kFor;
        case EPlace::Foreach:
            return kForeach;
        case EPlace::Argument:
            return kArgument;
        case EPlace::Nullptr:
            return kNone;
    }
    return kNone;
}

// The type names that a `value` may carry.
inline constexpr const char* kTypeNames[] = {
    "bool",     "char",  "int8_t",      "unsigned char", "uint8_t",        "short", "int16_t",       "unsigned short",
    "uint16_6", "int",   "int32_t",     "unsigned int",  "uint32_t",       "long",  "unsigned long", "float",
    "double",   "char*", "const char*", "wchar_t*",      "const wchar_t*", "bean",  "service",       "nullptr"};

}  // namespace zemcli
