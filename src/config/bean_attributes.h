// The attributes of a bean element, named once: the bean reader looks them up
// by these names, and `zem lint` checks documents against them.
#pragma once

namespace ZEM {

enum EBeanAttribute {
    AttrName, AttrClass, AttrSingleton, AttrLazy, AttrExported,
    AttrAutoname, AttrFactoryBean, AttrFactoryMethod, AttrInitMethod, AttrExitMethod, AttrCount
};

// In lower case; a document may write them in any case.
inline constexpr const char* kBeanAttributeNames[AttrCount] = {
    "name", "class", "singleton", "lazy", "exported",
    "autoname", "factory-bean", "factory-method", "init-method", "exit-method",
};

// An inner bean takes its name from its holder, and is a lazy, exported
// bean that is no singleton, as the defaults have it: those attributes are
// not read on it.
constexpr bool ReadOnInnerBean(EBeanAttribute attribute) {
    return attribute != AttrName && attribute != AttrSingleton && attribute != AttrLazy && attribute != AttrExported;
}

}  // namespace ZEM
