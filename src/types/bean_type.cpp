// Binding a definition to its class, and evaluating argument texts into the
// values a wrapper call receives.
#include "types/bean_type.h"

#include <cstring>
#include <new>

#include "foundation/string_convert.h"
#include "platform/thread_exit.h"
#include "types/property_pool.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

bool IsReference(const std::string& type) { return type == "bean" || type == "service"; }

}  // namespace

SBeanType::SBeanType(const SBean& definition, WrapperMaker makerFunction, const SLibrary* owner)
    : SBean(definition), maker(makerFunction), library(owner) {
    IBeanWrapper* made = maker != nullptr ? maker() : nullptr;
    wrapper.reset(made);
    preparedArguments = arguments;
    std::size_t argumentCount = preparedArguments.size();
    for (const SProperty& property : properties) argumentCount += property.arguments.size();
    argumentTypes.assign(argumentCount, nullptr);
    if (!wrapper && !properties.empty())
        throw CException(Message(L"Getting wrapper maker failed for class '", className, L"'"));
    try {
        for (const SProperty& property : properties) {
            std::vector<std::string> declared;
            if (wrapper) wrapper->GetArgumentTypes(property.name.c_str(), property.arguments.size(), declared);
            std::size_t index = 0;
            std::vector<SArgument> accepted;
            accepted.reserve(property.arguments.size());
            for (const SArgument& argument : property.arguments) {
                if (!IsReference(argument.type)) {
                    // A list shorter than the plain values counts as empty entries.
                    bool known = index < declared.size() && !declared[index].empty();
                    ++index;
                    if (!known)
                        throw CException(Message(L"Missing argument type for property '", property.name, L"'"));
                }
                accepted.push_back(argument);
            }
            SProperty* record = PropertyPool().Take(property.name, std::move(accepted));
            try {
                preparedProperties.push_back(record);
            } catch (...) {
                PropertyPool().GiveBack(record);
                throw;
            }
        }
    } catch (...) {
        for (SProperty* record : preparedProperties) PropertyPool().GiveBack(record);
        throw;
    }
}

SBeanType::~SBeanType() {
    for (SProperty* record : preparedProperties) PropertyPool().GiveBack(record);
}

ValueHolder EvaluateArgument(const SArgument& argument, IBeanFactory* factory, CTypeRegistry* types,
                             const SLibrary* library, IType** knownType) {
    IType* type = knownType != nullptr ? *knownType : nullptr;
    if (type == nullptr) {
        type = types->FindType(argument.type.c_str());
        if (knownType != nullptr) *knownType = type;
    }
    return ValueHolder(type->CreateValue(factory, argument.type.c_str(), argument.value.c_str(), library));
}

namespace {

// Address lists of finished calls, kept by each thread for its next calls so
// that a call with arguments seldom allocates. Calls nest (an argument that
// refers to a bean makes that bean), hence several. The thread-local state is
// a plain pointer: the lists end through a thread-exit slot, which can fail
// without taking the process down when memory is short.
struct SSpareLists {
    static constexpr int kKept = 8;
    std::vector<void*> lists[kKept];
    int count = 0;
};
thread_local SSpareLists* t_spareLists = nullptr;
// The thread keeps no lists: it is ending, or there was no room for them.
thread_local bool t_spareClosed = false;

void EndSpareLists(void* lists) {
    delete static_cast<SSpareLists*>(lists);
    t_spareLists = nullptr;
    t_spareClosed = true;
}

// This thread's lists, made at its first need; null if it keeps none.
SSpareLists* SpareLists() noexcept {
    if (t_spareLists != nullptr || t_spareClosed) return t_spareLists;
    static platform::CThreadExitSlot slot(&EndSpareLists);
    auto* lists = new (std::nothrow) SSpareLists;
    if (lists == nullptr || !slot.Set(lists)) {
        delete lists;
        t_spareClosed = true;
        return nullptr;
    }
    t_spareLists = lists;
    return lists;
}

}  // namespace

CCallArguments::CCallArguments(const std::vector<SArgument>& arguments, IBeanFactory* factory,
                               CTypeRegistry* types, const SLibrary* library, IType** knownTypes) {
    if (arguments.empty()) return;
    SSpareLists* spare = SpareLists();
    if (spare != nullptr && spare->count != 0) values_ = std::move(spare->lists[--spare->count]);
    try {
        values_.reserve(arguments.size());
        if (arguments.size() > kInPlace) more_.reserve(arguments.size() - kInPlace);
        for (const SArgument& argument : arguments) {
            ValueHolder& holder = held_ < kInPlace ? inPlace_[held_] : more_.emplace_back();
            ++held_;
            IType** knownType = knownTypes != nullptr ? &knownTypes[held_ - 1] : nullptr;
            holder = EvaluateArgument(argument, factory, types, library, knownType);
            values_.push_back(holder.GetValue());
        }
    } catch (...) {
        Release();  // the destructor doesn't run for a constructor that throws
        throw;
    }
}

void CCallArguments::Release() noexcept {
    values_.clear();
    while (held_ > kInPlace) {
        more_.pop_back();
        --held_;
    }
    while (held_ > 0) inPlace_[--held_] = ValueHolder();
    if (values_.capacity() == 0) return;
    SSpareLists* spare = t_spareLists;  // made by the constructor, if there was room
    if (spare != nullptr && spare->count < SSpareLists::kKept) spare->lists[spare->count++] = std::move(values_);
}

bool ApplyProperty(const SProperty& property, IBeanFactory* factory, IObject* object, const IBeanWrapper& wrapper,
                   CTypeRegistry* types, const SLibrary* library, IType** knownTypes) {
    CCallArguments arguments(property.arguments, factory, types, library, knownTypes);
    bool result = wrapper.Invoke(object, property.name.c_str(), arguments.Count(), arguments.Values());
    arguments.Release();
    return result;
}

}  // namespace ZEM
