// Binding a definition to its class, and evaluating argument texts into the
// values a wrapper call receives.
#include "types/bean_type.h"

#include <cstring>

#include "foundation/string_convert.h"
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
                             const SLibrary* library) {
    IType* type = types->FindType(argument.type.c_str());
    return ValueHolder(type->CreateValue(factory, argument.type.c_str(), argument.value.c_str(), library));
}

std::unique_ptr<ValueHolder> BindArgument(const SArgument& argument, IBeanFactory* factory, CTypeRegistry* types,
                                          const SLibrary* library) {
    return std::make_unique<ValueHolder>(EvaluateArgument(argument, factory, types, library));
}

CCallArguments::CCallArguments(const std::vector<SArgument>& arguments, IBeanFactory* factory,
                               CTypeRegistry* types, const SLibrary* library) {
    if (arguments.empty()) return;
    values_.reserve(arguments.size());
    holders_.reserve(arguments.size());
    try {
        for (const SArgument& argument : arguments) {
            holders_.push_back(EvaluateArgument(argument, factory, types, library));
            values_.push_back(holders_.back().GetValue());
        }
    } catch (...) {
        Release();  // the destructor doesn't run for a constructor that throws
        throw;
    }
}

void CCallArguments::Release() noexcept {
    values_.clear();
    while (!holders_.empty()) holders_.pop_back();
}

bool ApplyProperty(const SProperty& property, IBeanFactory* factory, IObject* object, const IBeanWrapper& wrapper,
                   CTypeRegistry* types, const SLibrary* library) {
    CCallArguments arguments(property.arguments, factory, types, library);
    bool result = wrapper.Invoke(object, property.name.c_str(), arguments.Count(), arguments.Values());
    arguments.Release();
    return result;
}

}  // namespace ZEM
