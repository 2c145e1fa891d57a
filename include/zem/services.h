// A registration in the service registry, as a registrant refines it.
#pragma once

#include <functional>

#include "zem/export.h"
#include "zem/object.h"

namespace ZEM {

class ZEM_API ITypeRegistration {
public:
    virtual ~ITypeRegistration();
    // Keep the object a maker gives and hand it out again.
    virtual ITypeRegistration& SetSingleton() = 0;
    virtual bool IsSingleton() const = 0;
    // Called with each object made by an owning maker before it is deleted.
    virtual ITypeRegistration& SetReleaseFunction(std::function<void(IObject*)>&& release) = 0;
    virtual std::function<void(IObject*)> GetReleaseFunction() const = 0;
};

}  // namespace ZEM
