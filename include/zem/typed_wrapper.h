// Declared parameter types, an addition a wrapper may offer beside
// IBeanWrapper. A wrapper that also derives from ITypedWrapper tells the
// container the C++ parameters of each way it makes an object and of each
// method; the container then compares every value of a bean with them once,
// before the bean's first object is made, and checks the class of every
// object a reference gives such a parameter. A wrapper that doesn't derive
// from it gets each value in the type the document names, unchecked. Classes
// bound with the kit (zem/class.h) derive from it.
#pragma once

#include <cstddef>
#include <typeinfo>
#include <vector>

#include "zem/export.h"
#include "zem/object.h"

namespace ZEM {

// Throws a null pointer to the class of the objects a creator makes, so that
// a parameter can tell by a catch whether it would take them.
using MadeClassThrower = void (*)();

// One parameter of a constructor, factory method or method.
struct SParameter {
    // What the parameter reads, by the name in the type table that stands for
    // it ("bool", "char", "int8_t", "unsigned char", "short", "unsigned short",
    // "int", "unsigned int", "long", "unsigned long", "float", "double",
    // "const char*", "const wchar_t*"), or "nullptr" for an object pointer.
    const char* typeName = nullptr;
    // An object pointer only: its class, whether an object is one, and
    // whether the objects a creator makes are.
    const std::type_info* objectClass = nullptr;
    bool (*accepts)(const IObject& object) = nullptr;
    bool (*catches)(MadeClassThrower thrower) = nullptr;
};

class ZEM_API ITypedWrapper {
public:
    virtual ~ITypedWrapper();
    // The parameters of `method` taking `argCount` arguments: a constructor or
    // factory method when `creator` is true, else a method Invoke reaches.
    // Null if there is none; `counts` then gets the argument counts that
    // `method` has, in increasing order.
    virtual const std::vector<SParameter>* FindParameters(bool creator, const char* method, std::size_t argCount,
                                                          std::vector<std::size_t>& counts) const = 0;
    // For a creator that makes objects of exactly one class: a function that
    // throws a null pointer of that class. Null when it is unknown (a factory
    // function may give a derived object).
    virtual MadeClassThrower MadeClass(const char* method, std::size_t argCount) const = 0;
};

}  // namespace ZEM
