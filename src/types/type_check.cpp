// Comparing a bean's values with declared parameters.
#include "types/type_check.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#if __has_include(<cxxabi.h>)
#  include <cxxabi.h>
#endif

#include "foundation/string_convert.h"

namespace ZEM {

namespace {

// The representation a type name stands for: the names of one row of the
// type table, and `long` beside `int` since both are 32-bit signed here.
// Blanks in the name don't count, as in the table's look-up. Null for a name
// that isn't in the table.
const char* Representation(std::string_view name) {
    char key[16];  // the longest name without blanks has 13 characters
    std::size_t length = 0;
    for (char c : name) {
        if (c == ' ') continue;
        if (length == sizeof key) return nullptr;
        key[length++] = c;
    }
    const std::string_view compact(key, length);
    struct SRow {
        std::string_view name;
        const char* representation;
    };
    static constexpr SRow kRows[] = {
        {"int", "int"},
        {"double", "double"},
        {"constchar*", "const char*"},
        {"char*", "const char*"},
        {"bool", "bool"},
        {"float", "float"},
        {"int32_t", "int"},
        {"long", "int"},
        {"unsignedint", "unsigned int"},
        {"uint32_t", "unsigned int"},
        {"unsignedlong", "unsigned int"},
        {"char", "char"},
        {"int8_t", "int8_t"},
        {"unsignedchar", "unsigned char"},
        {"uint8_t", "unsigned char"},
        {"short", "short"},
        {"int16_t", "short"},
        {"unsignedshort", "unsigned short"},
        {"uint16_6", "unsigned short"},
        {"wchar_t*", "const wchar_t*"},
        {"constwchar_t*", "const wchar_t*"},
    };
    for (const SRow& row : kRows)
        if (compact == row.name) return row.representation;
    return nullptr;
}

bool IsObjectKind(const std::string& type) { return type == "bean" || type == "service" || type == "nullptr"; }

std::string DeclaredName(const SParameter& parameter) {
    if (parameter.objectClass != nullptr) return "std::shared_ptr<" + ReadableClassName(*parameter.objectClass) + ">";
    return parameter.typeName;
}

std::string Counted(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

// "; it has one with 2", "; it has ones with 0, 1 and 3", or nothing.
std::string OtherCounts(const std::vector<std::size_t>& counts) {
    if (counts.empty()) return "";
    std::string text = counts.size() == 1 ? "; it has one with " : "; it has ones with ";
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (i != 0) text += i + 1 == counts.size() ? " and " : ", ";
        text += std::to_string(counts[i]);
    }
    return text;
}

// Where an argument stands, for messages: "argument 2 of bean 't'" or
// "argument 1 of property 'Size' of bean 't'".
std::string Place(const SBean& bean, std::size_t property, std::size_t argument) {
    std::string place = "argument " + std::to_string(argument + 1) + " of ";
    if (property != kWholeCall) place += "property '" + bean.properties[property].name + "' of ";
    return place + "bean '" + bean.name + "'";
}

void CompareArguments(const SBean& bean, std::size_t property, const std::vector<SArgument>& arguments,
                      const std::vector<SParameter>& parameters, const std::string& className, STypeCheck& check) {
    for (std::size_t i = 0; i < arguments.size() && i < parameters.size(); ++i) {
        const SArgument& argument = arguments[i];
        const SParameter& parameter = parameters[i];
        if (parameter.typeName == nullptr) continue;
        const bool objectParameter = std::strcmp(parameter.typeName, "nullptr") == 0;
        const char* declared = objectParameter ? nullptr : Representation(parameter.typeName);
        if (!objectParameter && declared == nullptr) continue;  // a name this container doesn't know: no verdict
        bool fits;
        if (IsObjectKind(argument.type)) {
            fits = objectParameter;
        } else {
            const char* given = Representation(argument.type);
            if (given == nullptr) {
                check.problems.push_back({property, i, Message(L"Could not find type bean '", argument.type, L"'")});
                continue;
            }
            fits = !objectParameter && std::strcmp(given, declared) == 0;
        }
        if (!fits) {
            std::string message = Place(bean, property, i) + " has type '" + argument.type + "', but class '" +
                                  className + "' takes '" + DeclaredName(parameter) + "'";
            message[0] = 'A';
            check.problems.push_back({property, i, Widen(message)});
        } else if (argument.type != "nullptr" && objectParameter && parameter.accepts != nullptr) {
            check.references.push_back({property, i, parameter.objectClass, parameter.accepts, parameter.catches});
        }
    }
}

}  // namespace

STypeCheck CheckBeanTypes(const SBean& bean, const IBeanWrapper& creator, const std::string& creatorClass,
                          const IBeanWrapper& classWrapper) {
    STypeCheck check;
    const auto* creatorTyped = dynamic_cast<const ITypedWrapper*>(&creator);
    if (const auto* typed = creatorTyped) {
        std::vector<std::size_t> counts;
        const std::size_t count = bean.arguments.size();
        const std::vector<SParameter>* parameters =
            typed->FindParameters(true, bean.factoryMethod.c_str(), count, counts);
        if (parameters == nullptr) {
            // Without factory-method the bean asks for the last component of its class name.
            const std::size_t colon = bean.className.rfind(':');
            const std::string ownName = bean.className.substr(colon == std::string::npos ? 0 : colon + 1);
            const bool constructor = bean.factoryBean.empty() && bean.factoryMethod == ownName;
            const std::string what = constructor ? "constructor" : "factory method '" + bean.factoryMethod + "'";
            check.problems.push_back({kWholeCall, kWholeCall,
                                      Widen("Class '" + creatorClass + "' has no " + what + " with " + Counted(count) +
                                            OtherCounts(counts))});
        } else {
            CompareArguments(bean, kWholeCall, bean.arguments, *parameters, creatorClass, check);
        }
    }
    // Most beans are made by their own class's wrapper: one look suffices.
    const auto* typed = &classWrapper == &creator ? creatorTyped : dynamic_cast<const ITypedWrapper*>(&classWrapper);
    if (typed != nullptr) {
        for (std::size_t p = 0; p < bean.properties.size(); ++p) {
            const SProperty& property = bean.properties[p];
            std::vector<std::size_t> counts;
            const std::vector<SParameter>* parameters =
                typed->FindParameters(false, property.name.c_str(), property.arguments.size(), counts);
            if (parameters == nullptr)
                check.problems.push_back({p, kWholeCall,
                                          Widen("Class '" + bean.className + "' has no property '" + property.name +
                                                "' with " + Counted(property.arguments.size()) + OtherCounts(counts))});
            else
                CompareArguments(bean, p, property.arguments, *parameters, bean.className, check);
        }
    }
    return check;
}

bool MadeOfOtherClass(const SReferenceCheck& check, const SBean& referenced, const IBeanWrapper& creator) {
    const auto* typed = dynamic_cast<const ITypedWrapper*>(&creator);
    if (typed == nullptr || check.catches == nullptr) return false;
    const MadeClassThrower made = typed->MadeClass(referenced.factoryMethod.c_str(), referenced.arguments.size());
    return made != nullptr && !check.catches(made);
}

std::wstring WrongClassMessage(const SBean& bean, const SReferenceCheck& check, const SArgument& argument,
                               const std::string& referencedClass) {
    std::string given = argument.type == "service" ? "Service '" + argument.value + "'"
                                                   : "Bean '" + argument.value + "' of class '" + referencedClass + "'";
    return Widen(given + " given to " + Place(bean, check.property, check.argument) + " is not a '" +
                 ReadableClassName(*check.objectClass) + "'");
}

std::string ReadableClassName(const std::type_info& type) {
    const char* name = type.name();
#if __has_include(<cxxabi.h>)
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> readable(abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
    if (status == 0 && readable) return readable.get();
#endif
    std::string_view text(name);
    for (std::string_view prefix : {"class ", "struct "})  // how some compilers name a class
        if (text.substr(0, prefix.size()) == prefix) text.remove_prefix(prefix.size());
    return std::string(text);
}

}  // namespace ZEM
