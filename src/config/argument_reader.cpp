// Reading constructor arguments, properties and single values. A value is
// kept as a type word and a text; it gets its meaning only when the
// definition is bound to its class.
#include "config/argument_reader.h"

#include <cstdint>
#include <cwctype>
#include <string>
#include <vector>

#include "config/bean_reader.h"
#include "foundation/string_convert.h"
#include "platform/uuid.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

// Reads the `count` children `argument` of `element`, in document order, into `into`.
void ReadArgumentElements(CConfiguration& configuration, CReading& reading, const XMLNode& element, int count,
                          SBean& bean,
                          const ParameterMap& parameters, SLibrary* library, std::vector<SArgument>& into) {
    into.reserve(into.size() + static_cast<std::size_t>(count));
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        XMLNode child = element.NextChild("argument", &position);
        SArgument argument;
        ReadArgument(configuration, reading, child, argument, bean, parameters, library);
        into.push_back(std::move(argument));
    }
}

bool HasText(const char* value) { return value != nullptr && *value != '\0'; }

// Inner beans may nest this deep in one bean. Each level is a few frames of
// the readers, and the limit keeps a document within a small thread stack.
// The refusal names the outermost bean, the one a reader can find.
class CInnerBeanLevel {
public:
    CInnerBeanLevel(CReading& reading, const SBean& holder) : reading_(reading) {
        if (reading.innerBeanNesting == 0) reading.outermostBean = holder.name;
        if (reading.innerBeanNesting >= reading.Limits().innerBeanNesting)
            throw CException(Message(L"Inner beans nested too deeply in bean '", reading.outermostBean, L"'"));
        ++reading.innerBeanNesting;
    }
    ~CInnerBeanLevel() { --reading_.innerBeanNesting; }
    CInnerBeanLevel(const CInnerBeanLevel&) = delete;
    CInnerBeanLevel& operator=(const CInnerBeanLevel&) = delete;

private:
    CReading& reading_;
};

// An inner bean: an anonymous definition that exists for one argument. Its
// record joins its library now, so it stands before the bean that holds it.
void ReadInnerBean(CConfiguration& configuration, CReading& reading, const XMLNode& element, SArgument& argument,
                   const SBean& holder, const ParameterMap& parameters, SLibrary* library) {
    CInnerBeanLevel level(reading, holder);
    std::string uuid;
    if (!platform::NewUuidText(uuid)) throw CException(L"Could not create uuid for unnamed bean");

    argument.type = "bean";

    // The class goes into the name as written, pattern and '@' part included;
    // ReadBean substitutes the name like any other.
    const char* className = element.AttributeValue("class");
    if (!HasText(className)) throw CException(L"Class name for unnamed bean not defined");
    std::wstring innerName = L"unnamed bean ";
    for (char c : uuid) innerName += static_cast<wchar_t>(std::towupper(static_cast<unsigned char>(c)));
    innerName += L' ';
    innerName += Widen(className);

    SBean inner;
    SLibrary* owner = ReadBean(configuration, reading, element, inner, parameters, library, Narrow(innerName).c_str());
    argument.value = inner.name;
    owner->beans.push_back(std::move(inner));
}

}  // namespace

void ReadConstructorArguments(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                              const ParameterMap& parameters, SLibrary* library) {
    const int count = element.ChildCount("argument");
    if (count == 0)
        throw CException(Message(L"Error while parsing constructor arguments of bean '", bean.name,
                                 L"': There are no arguments"));
    ReadArgumentElements(configuration, reading, element, count, bean, parameters, library, bean.arguments);
}

void ReadProperties(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                    const ParameterMap& parameters, SLibrary* library) {
    static const std::vector<const char*> kTags{"property"};
    // The callbacks capture one pointer, small enough for std::function to
    // hold without a heap allocation for every bean.
    struct SScope {
        CConfiguration& configuration;
        CReading& reading;
        SBean& bean;
        const ParameterMap& parameters;
        SLibrary* library;
    } scope{configuration, reading, bean, parameters, library};
    ForEachElement(
        element, kTags, parameters, reading,
        [s = &scope](const XMLNode& child) {
            ReadProperty(s->configuration, s->reading, child, s->bean, s->parameters, s->library);
        },
        [s = &scope](const XMLNode& loop, const ParameterMap& loopParameters) {
            ReadProperties(s->configuration, s->reading, loop, s->bean, loopParameters, s->library);
        });
}

void ReadProperty(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                  const ParameterMap& parameters, SLibrary* library) {
    // Tested as written: a name that substitutes to nothing is accepted.
    const char* name = element.AttributeValue("name");
    if (!HasText(name))
        throw CException(L"Error while parsing property: There is no valid attribute 'name'");

    SProperty property;
    property.name = SubstitutedName(name, parameters, reading);
    property.spot = SSourceSpot{reading.FileNumber(), element.SourceOffset()};

    // Without `arguments` the property element holds its one value itself.
    XMLNode arguments = element.NextChild("arguments");
    if (arguments.IsEmpty()) {
        SArgument argument;
        ReadArgument(configuration, reading, element, argument, bean, parameters, library);
        property.arguments.push_back(std::move(argument));
    } else {
        ReadArgumentElements(configuration, reading, arguments, arguments.ChildCount("argument"), bean, parameters, library,
                             property.arguments);
    }
    if (property.arguments.empty()) throw CException(L"Error while parsing property: Missing arguments");

    bean.properties.push_back(std::move(property));
}

void ReadArgument(CConfiguration& configuration, CReading& reading, const XMLNode& element, SArgument& argument,
                  const SBean& bean, const ParameterMap& parameters, SLibrary* library) {
    // The first form found decides; the others aren't looked at.
    if (XMLNode value = element.NextChild("value"); !value.IsEmpty()) {
        const char* type = value.AttributeValue("type");
        if (type == nullptr)
            throw CException(Message(L"Error while parsing arguments of bean '", bean.name,
                                     L"': Type is not defined"));
        argument.type = SubstitutedName(type, parameters, reading);
        argument.value = SubstitutedName(value.Text(), parameters, reading);
        argument.spot = SSourceSpot{reading.FileNumber(), value.SourceOffset()};
        return;
    }

    if (XMLNode null = element.NextChild("nullptr"); !null.IsEmpty()) {
        argument.type = "nullptr";
        argument.spot = SSourceSpot{reading.FileNumber(), null.SourceOffset()};
        return;
    }

    if (XMLNode ref = element.NextChild("ref"); !ref.IsEmpty()) {
        argument.spot = SSourceSpot{reading.FileNumber(), ref.SourceOffset()};
        // Tested as written; with both attributes `bean` counts.
        if (const char* name = ref.AttributeValue("bean"); HasText(name)) {
            argument.type = "bean";
            argument.value = SubstitutedName(name, parameters, reading);
        } else if (const char* service = ref.AttributeValue("service"); HasText(service)) {
            argument.type = "service";
            argument.value = SubstitutedName(service, parameters, reading);
        } else {
            throw CException(Message(L"Error while parsing arguments of bean '", bean.name,
                                     L"': There is no valid reference bean or service name"));
        }
        return;
    }

    if (XMLNode inner = element.NextChild("bean"); !inner.IsEmpty()) {
        argument.spot = SSourceSpot{reading.FileNumber(), inner.SourceOffset()};
        ReadInnerBean(configuration, reading, inner, argument, bean, parameters, library);
        return;
    }

    // "when", unlike the other messages of this family.
    throw CException(Message(L"Error when parsing arguments of bean '", bean.name,
                             L"': There are no arguments"));
}

}  // namespace ZEM
