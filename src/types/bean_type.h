// A bean definition bound to its class, and the road from a definition's
// argument texts to a wrapper call.
#pragma once

#include <memory>
#include <vector>

#include "config/records.h"
#include "types/type_registry.h"
#include "zem/object.h"

namespace ZEM {

// A definition bound to its class: the definition's fields, then what binding
// adds. Constant after construction.
struct SBeanType : SBean {
    // Calls `maker` and asks the wrapper for the declared types of every
    // property; throws "Missing argument type for property '...'".
    SBeanType(const SBean& definition, WrapperMaker maker, const SLibrary* library);
    ~SBeanType();
    SBeanType(const SBeanType&) = delete;
    SBeanType& operator=(const SBeanType&) = delete;

    std::shared_ptr<IBeanWrapper> wrapper;       // may be empty if the maker gave null
    WrapperMaker maker;
    std::vector<SProperty*> preparedProperties;  // records from the property pool
    std::vector<SArgument> preparedArguments;
    const SLibrary* library;                     // the library that holds the bean
};

// Owns one value for the length of one call.
class ValueHolder {
public:
    explicit ValueHolder(std::shared_ptr<IValuePointer> value) : value_(std::move(value)) {}
    void* GetValue() const { return value_ ? value_->GetValue() : nullptr; }

private:
    std::shared_ptr<IValuePointer> value_;
};

// Evaluates one argument; throws on an unknown type, a bad bool, or a service
// class without type id.
std::unique_ptr<ValueHolder> BindArgument(const SArgument& argument, IBeanFactory* factory,
                                          CTypeRegistry* types, const SLibrary* library);

// Evaluates the property's arguments and invokes it on `object`.
bool ApplyProperty(const SProperty& property, IBeanFactory* factory, IObject* object,
                   const IBeanWrapper& wrapper, CTypeRegistry* types, const SLibrary* library);

}  // namespace ZEM
