// The comparison of a bean's values with the parameters that a typed wrapper
// declares (zem/typed_wrapper.h): type names, argument counts, and the class
// of referenced objects. Wrappers that declare nothing are never compared.
#pragma once

#include <cstddef>
#include <string>
#include <typeinfo>
#include <vector>

#include "config/records.h"
#include "zem/object.h"
#include "zem/typed_wrapper.h"

namespace ZEM {

constexpr std::size_t kWholeCall = static_cast<std::size_t>(-1);

// One thing that keeps a bean from being made. `property` is kWholeCall for
// the constructor's arguments, `argument` kWholeCall for the whole call.
struct STypeProblem {
    std::size_t property = kWholeCall;
    std::size_t argument = kWholeCall;
    std::wstring message;
};

// A `bean` or `service` argument whose object must be of the parameter's
// class; checked each time the argument is evaluated.
struct SReferenceCheck {
    std::size_t property = kWholeCall;
    std::size_t argument = 0;
    const std::type_info* objectClass = nullptr;
    bool (*accepts)(const IObject& object) = nullptr;
    bool (*catches)(MadeClassThrower thrower) = nullptr;
};

struct STypeCheck {
    std::vector<STypeProblem> problems;  // in the order of the definition
    std::vector<SReferenceCheck> references;
};

// Compares `bean` with what `creator` (the wrapper that makes its objects, of
// class `creatorClass` as the document names it) and `classWrapper` (that of
// its own class) declare. Either may be a wrapper that declares nothing.
STypeCheck CheckBeanTypes(const SBean& bean, const IBeanWrapper& creator, const std::string& creatorClass,
                          const IBeanWrapper& classWrapper);

// Whether the objects that `creator` makes for the bean `referenced` are
// known, without making one, not to be of the class `check` wants.
bool MadeOfOtherClass(const SReferenceCheck& check, const SBean& referenced, const IBeanWrapper& creator);

// "Bean 'a' of class 'x::A' given to argument 1 of bean 't' is not a 'x::B'",
// or the same for a service, or for an argument of a property.
std::wstring WrongClassMessage(const SBean& bean, const SReferenceCheck& check, const SArgument& argument,
                               const std::string& referencedClass);

// The class of a type as C++ writes it ("x::B").
std::string ReadableClassName(const std::type_info& type);

}  // namespace ZEM
