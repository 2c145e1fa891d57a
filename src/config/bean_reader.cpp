// Reading `bean` and `service` elements into SBean records. The steps of
// ReadBean run in a fixed order, so a document with several faults always
// reports the same one first.
#include "config/bean_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "config/argument_reader.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "platform/uuid.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

bool IsAscii(const char* text) {
    for (; *text != '\0'; ++text)
        if (static_cast<unsigned char>(*text) >= 0x80) return false;
    return true;
}

// An attribute through the substitution engine, made narrow. An absent one
// gives `fallback` untouched.
std::string ReadAttribute(const XMLNode& element, const char* name, const ParameterMap& parameters,
                          const char* fallback = "") {
    const char* value = element.AttributeValue(name);
    return value != nullptr ? SubstitutedName(value, parameters) : std::string(fallback);
}

// A truth value attribute; an absent one gives `fallback`.
bool ReadFlag(const XMLNode& element, const char* name, const ParameterMap& parameters, bool fallback) {
    const char* value = element.AttributeValue(name);
    return value != nullptr ? SubstitutedFlag(value, parameters) : fallback;
}

// The bean's name as written: the attribute, or for an inner bean the name its
// holder made up, both substituted.
std::string ReadName(const XMLNode& element, const ParameterMap& parameters, const char* innerName) {
    if (innerName != nullptr && *innerName != '\0')
        return SubstitutedName(innerName, parameters);
    return ReadAttribute(element, "name", parameters);
}

// Reads a `provides` element or a loop inside one. A loop reads its
// `interface` elements with its variable, as the loops of `beans` do.
void ReadProvides(CConfiguration& configuration, const XMLNode& element, SLibrary* library,
                  const ParameterMap& parameters, SBean& bean) {
    static const std::vector<const char*> kTags{"interface"};
    ForEachElement(
        element, kTags, parameters,
        [&](const XMLNode& child) { ReadInterface(configuration, library, parameters, bean, child); },
        [&](const XMLNode& loop, const ParameterMap& loopParameters) {
            ReadProvides(configuration, loop, library, loopParameters, bean);
        });
}

void ReadDependsOn(const XMLNode& element, const ParameterMap& parameters, SBean& bean) {
    const int count = element.ChildCount("bean-name");
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        XMLNode child = element.NextChild("bean-name", &position);
        bean.dependsOn.push_back(SubstitutedName(child.Text(), parameters));
    }
}

}  // namespace

std::wstring SubstitutedText(const char* text, const ParameterMap& parameters) {
    if (parameters.IsEmpty()) return text != nullptr ? Widen(text) : std::wstring();
    return SubstituteParameters(text, parameters).ToStd();
}

std::string SubstitutedName(const char* text, const ParameterMap& parameters) {
    if (text == nullptr) return std::string();
    // Decoding and encoding again give ASCII back unchanged.
    if (parameters.IsEmpty() && IsAscii(text)) return std::string(text);
    return Narrow(SubstituteParameters(text, parameters).View());
}

bool SubstitutedFlag(const char* text, const ParameterMap& parameters) {
    if (parameters.IsEmpty() && text != nullptr) {
        if (std::strcmp(text, "true") == 0) return true;
        if (std::strcmp(text, "false") == 0) return false;
    }
    return ParameterToBool(SubstituteParameters(text, parameters).c_str());
}

void ReadBeans(CConfiguration& configuration, const XMLNode& element, SLibrary* library,
               const ParameterMap& parameters) {
    static const std::vector<const char*> kTags{"bean", "service"};
    // Most beans stay in the element's library; room for them at once spares
    // moving every record again as the list grows. Loops come here once per
    // iteration, so the room still grows geometrically.
    std::vector<SBean>& beans = library->beans;
    const std::size_t needed = beans.size() + static_cast<std::size_t>(element.ChildCount("bean")) +
                               static_cast<std::size_t>(element.ChildCount("service"));
    if (needed > beans.capacity()) beans.reserve(std::max(needed, 2 * beans.capacity()));
    ForEachElement(
        element, kTags, parameters,
        [&](const XMLNode& child) {
            SBean bean;
            SLibrary* owner = ReadBean(configuration, child, bean, parameters, library, nullptr);
            owner->beans.push_back(std::move(bean));
        },
        [&](const XMLNode& loop, const ParameterMap& loopParameters) {
            ReadBeans(configuration, loop, library, loopParameters);
        });
}

SLibrary* ReadBean(CConfiguration& configuration, const XMLNode& element, SBean& bean,
                   const ParameterMap& parameters, SLibrary* library, const char* innerName) {
    const bool inner = innerName != nullptr && *innerName != '\0';

    std::string className = ReadAttribute(element, "class", parameters);
    if (className.empty())
        throw CException(Message(L"Missing class name when parsing type '",
                                 ReadName(element, parameters, innerName), L"'"));

    // Only the first '@' separates, and not at the very start: "@Foo" is a
    // class name, "a@b@c" the class a of the library "b@c".
    SLibrary* owner = library;
    const std::size_t at = className.find('@');
    if (at != std::string::npos && at > 0) {
        owner = configuration.FindOrAddLibrary(className.substr(at + 1));
        className.resize(at);
    }
    bean.className = std::move(className);

    bean.name = ReadName(element, parameters, innerName);

    bean.singleton = inner ? false : ReadFlag(element, "singleton", parameters, false);
    bean.lazy = inner ? true : ReadFlag(element, "lazy", parameters, true);
    bean.autoname = ReadFlag(element, "autoname", parameters, false);
    bean.exported = inner ? true : ReadFlag(element, "exported", parameters, true);

    bean.initMethod = ReadAttribute(element, "init-method", parameters);
    bean.exitMethod = ReadAttribute(element, "exit-method", parameters);
    bean.factoryBean = ReadAttribute(element, "factory-bean", parameters);

    // A present but empty attribute stays empty; it doesn't fall back on the
    // class. A ':' at position 0 cuts nothing.
    const char* writtenMethod = element.AttributeValue("factory-method");
    std::string written;
    if (writtenMethod != nullptr) written = SubstitutedName(writtenMethod, parameters);
    const std::string& method = writtenMethod != nullptr ? written : bean.className;
    const std::size_t colon = method.rfind(':');
    bean.factoryMethod.assign(method, colon != std::string::npos && colon > 0 ? colon + 1 : 0);

    if (bean.name.empty()) {
        std::string uuid;
        if (!platform::NewUuidText(uuid)) throw CException(L"Could not create uuid for unnamed bean");
        bean.name = std::move(uuid);
    }

    if (!bean.lazy) configuration.Store().eagerBeans.push_back(bean.name);

    // The children in a fixed order, whatever their order in the document.
    XMLNode child = element.NextChild("constructor-arg");
    if (!child.IsEmpty()) ReadConstructorArguments(configuration, child, bean, parameters, library);

    child = element.NextChild("properties");
    if (!child.IsEmpty()) ReadProperties(configuration, child, bean, parameters, library);

    child = element.NextChild("provides");
    if (!child.IsEmpty()) ReadProvides(configuration, child, library, parameters, bean);

    child = element.NextChild("depends-on");
    if (!child.IsEmpty()) ReadDependsOn(child, parameters, bean);

    return owner;
}

void ReadInterface(CConfiguration& configuration, SLibrary* library, const ParameterMap& parameters,
                   SBean& bean, const XMLNode& element) {
    // The class library registers its type ids when it is loaded, so it is
    // bound before the name is looked up.
    BindLibrary(configuration, library);

    const std::string name = SubstitutedName(element.Text(), parameters);
    if (name.empty()) throw CException(L"Error while parsing interface: Missing interface name");

    bean.interfaces.emplace_back(LocalLibrary().GetTypeId(name.c_str()));
}

}  // namespace ZEM
