// A bean definition bound to its class, and the road from a definition's
// argument texts to a wrapper call.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "config/records.h"
#include "types/type_check.h"
#include "types/type_registry.h"
#include "zem/object.h"

namespace ZEM {

// A bean's class wrapper and its object.
using BeanPair = std::pair<std::shared_ptr<const IBeanWrapper>, std::shared_ptr<IObject>>;

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
    // The value type of every argument, the constructor's first and then each
    // property's in order, found at the first request that needs it. The
    // table of types is fixed once built and goes with the bean types at a
    // reset, so an entry once found stays right. Written under the factory's
    // lock.
    std::vector<IType*> argumentTypes;
    // The factory's entry of the finished singleton, once there is one; a
    // shortcut past the second look-up of the name. Both go at a reset.
    const BeanPair* singletonEntry = nullptr;
    // The comparison of the values with the wrappers' declared parameters,
    // made at the first request: its first problem, which fails every
    // request, and the references whose class each making checks.
    bool typesChecked = false;
    std::wstring typeProblem;
    std::vector<SReferenceCheck> referenceChecks;
};

// Owns one value for the length of one call.
class ValueHolder {
public:
    ValueHolder() = default;
    explicit ValueHolder(std::shared_ptr<IValuePointer> value) : value_(std::move(value)) {}
    void* GetValue() const { return value_ ? value_->GetValue() : nullptr; }

private:
    std::shared_ptr<IValuePointer> value_;
};

// Evaluates one argument; throws on an unknown type, a bad bool, or a service
// class without type id. `knownType`, if given, keeps the argument's type
// from one evaluation to the next.
ValueHolder EvaluateArgument(const SArgument& argument, IBeanFactory* factory, CTypeRegistry* types,
                             const SLibrary* library, IType** knownType = nullptr);

// The arguments of one wrapper call: the addresses the wrapper reads and the
// holders that keep the values alive until the call is over. Arguments are
// evaluated in order; a throw releases those evaluated so far. `knownTypes`,
// if given, has one entry per argument (see EvaluateArgument).
class CCallArguments {
public:
    CCallArguments(const std::vector<SArgument>& arguments, IBeanFactory* factory, CTypeRegistry* types,
                   const SLibrary* library, IType** knownTypes = nullptr);
    ~CCallArguments() { Release(); }
    CCallArguments(const CCallArguments&) = delete;
    CCallArguments& operator=(const CCallArguments&) = delete;
    std::size_t Count() const { return values_.size(); }
    // Null when there are no arguments, as the wrapper contract wants.
    std::vector<void*>* Values() { return values_.empty() ? nullptr : &values_; }
    // Drops the addresses, then the values, the last evaluated first.
    void Release() noexcept;

private:
    // Most calls have a few arguments: their holders live in place.
    static constexpr std::size_t kInPlace = 4;

    std::vector<void*> values_;  // a list kept by the thread from an earlier call, if any
    ValueHolder inPlace_[kInPlace];
    std::vector<ValueHolder> more_;
    std::size_t held_ = 0;
};

// Evaluates the property's arguments and invokes it on `object`.
bool ApplyProperty(const SProperty& property, IBeanFactory* factory, IObject* object,
                   const IBeanWrapper& wrapper, CTypeRegistry* types, const SLibrary* library,
                   IType** knownTypes = nullptr);

}  // namespace ZEM
