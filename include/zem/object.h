// The client side of every bean class: the object the container hands out and
// the wrapper through which it is made and configured.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "zem/export.h"

namespace ZEM {

// Every bean object is known to the container only as an IObject.
class ZEM_API IObject {
public:
    virtual ~IObject();
};

class IBeanWrapper;

// A class library exports one maker per class as
// extern "C" IBeanWrapper* create_<Class with :: as _>_Wrapper().
using WrapperMaker = IBeanWrapper* (*)();

// One per class; the slot order of the virtual operations is part of the ABI.
// Each entry of `args` is the address of a value in the documented layout, or
// null where a bean or service reference found nothing.
class ZEM_API IBeanWrapper {
public:
    virtual ~IBeanWrapper();
    // Never called by the container.
    virtual const char* GetClassName() const = 0;
    // Makes an object through `method` (a constructor or factory method).
    // Null makes the bean request fail.
    virtual std::unique_ptr<IObject> CreateInstance(
        const char* method, std::size_t argCount, std::vector<void*>* args,
        std::shared_ptr<const IBeanWrapper> wrapper, const char* exitMethod,
        std::vector<std::shared_ptr<IObject>>& dependencies) const = 0;
    // Calls a property setter or method; false makes the bean request fail.
    virtual bool Invoke(IObject* object, const char* method, std::size_t argCount,
                        std::vector<void*>* args) const = 0;
    // Never called by the container.
    virtual bool HasMethod(const char* method, std::size_t argCount) const = 0;
    // Declared type name of each argument of a property; empty means none.
    virtual void GetArgumentTypes(const char* method, std::size_t argCount,
                                  std::vector<std::string>& types) const = 0;
};

}  // namespace ZEM
