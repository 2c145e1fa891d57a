// Reading `bean` and `service` elements into SBean records. The steps of
// ReadBean run in a fixed order, so a document with several faults always
// reports the same one first.
#include "config/bean_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "config/argument_reader.h"
#include "config/bean_attributes.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "library/policy.h"
#include "platform/text.h"
#include "platform/uuid.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

// Whether the `length` bytes at `text` are all ASCII: eight at a time.
bool IsAscii(const char* text, std::size_t length) {
    std::uint64_t any = 0;
    std::size_t at = 0;
    for (; at + 8 <= length; at += 8) {
        std::uint64_t word;
        std::memcpy(&word, text + at, 8);
        any |= word;
    }
    for (; at < length; ++at) any |= static_cast<unsigned char>(text[at]);
    return (any & 0x8080808080808080u) == 0;
}

static_assert(AttrCount <= 16, "an attribute is one bit of 16");

// For each byte, the attributes whose name begins with it in either case,
// one bit each.
constexpr std::array<std::uint16_t, 256> MakeByFirstLetter() {
    std::array<std::uint16_t, 256> candidates{};
    for (int which = 0; which < AttrCount; ++which) {
        const auto first = static_cast<unsigned char>(kBeanAttributeNames[which][0]);
        const auto bit = static_cast<std::uint16_t>(1u << which);
        candidates[first] |= bit;
        if (first >= 'a' && first <= 'z') candidates[first - ('a' - 'A')] |= bit;
    }
    return candidates;
}
constexpr std::array<std::uint16_t, 256> kByFirstLetter = MakeByFirstLetter();

// The attributes of a bean element that the reader asks for, each as
// AttributeValue would find it (the first of its name, ignoring case; null if
// absent or written without '='), taken in one pass over the element. On an
// inner bean those that it doesn't read count as absent.
class CBeanAttributes {
public:
    CBeanAttributes(const XMLNode& element, bool inner) {
        const int count = element.AttributeCount();
        for (int i = 0; i < count; ++i) {
            const char* name = element.AttributeNameAt(i);
            const int known = Which(name);
            if (known >= 0 && !found_[known] && (!inner || ReadOnInnerBean(static_cast<EBeanAttribute>(known)))) {
                found_[known] = true;
                values_[known] = element.AttributeValueAt(i);
            }
        }
    }
    const char* operator[](EBeanAttribute which) const { return values_[which]; }

private:
    // The candidates by first letter, then compared whole.
    static int Which(const char* name) {
        for (unsigned candidates = kByFirstLetter[static_cast<unsigned char>(name[0])]; candidates != 0;
             candidates &= candidates - 1) {
            const int which = std::countr_zero(candidates);
            if (platform::EqualNoCase(name, kBeanAttributeNames[which])) return which;
        }
        return -1;
    }

    const char* values_[AttrCount] = {};
    bool found_[AttrCount] = {};
};

// An attribute through the substitution engine, made narrow. An absent one
// gives `fallback` untouched.
std::string ReadAttribute(const char* value, const ParameterMap& parameters, CReading& reading,
                          const char* fallback = "") {
    return value != nullptr ? SubstitutedName(value, parameters, reading) : std::string(fallback);
}

// A truth value attribute; an absent one gives `fallback`.
bool ReadFlag(const char* value, const ParameterMap& parameters, CReading& reading, bool fallback) {
    return value != nullptr ? SubstitutedFlag(value, parameters, reading) : fallback;
}

// The bean's name as written: the attribute, or for an inner bean the name its
// holder made up, both substituted.
std::string ReadName(const CBeanAttributes& attributes, const ParameterMap& parameters, CReading& reading,
                     const char* innerName) {
    if (innerName != nullptr && *innerName != '\0')
        return SubstitutedName(innerName, parameters, reading);
    return ReadAttribute(attributes[AttrName], parameters, reading);
}

// Reads a `provides` element or a loop inside one. A loop reads its
// `interface` elements with its variable, as the loops of `beans` do.
void ReadProvides(CConfiguration& configuration, CReading& reading, const XMLNode& element, SLibrary* library,
                  const ParameterMap& parameters, SBean& bean) {
    static const std::vector<const char*> kTags{"interface"};
    ForEachElement(
        element, kTags, parameters, reading,
        [&](const XMLNode& child) { ReadInterface(configuration, reading, library, parameters, bean, child); },
        [&](const XMLNode& loop, const ParameterMap& loopParameters) {
            ReadProvides(configuration, reading, loop, library, loopParameters, bean);
        });
}

void ReadDependsOn(const XMLNode& element, const ParameterMap& parameters, CReading& reading, SBean& bean) {
    const int count = element.ChildCount("bean-name");
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        XMLNode child = element.NextChild("bean-name", &position);
        bean.dependsOn.push_back(SubstitutedName(child.Text(), parameters, reading));
        bean.dependsOnSpots.push_back(SSourceSpot{reading.FileNumber(), child.SourceOffset()});
    }
}

}  // namespace

std::string SubstitutedName(const char* text, const ParameterMap& parameters, CReading& reading) {
    if (text == nullptr) return std::string();
    // Decoding and encoding again give ASCII back unchanged.
    if (parameters.IsEmpty()) {
        const std::size_t length = std::strlen(text);
        if (IsAscii(text, length)) return std::string(text, length);
    }
    return Narrow(SubstituteParameters(text, parameters, &reading).View());
}

bool SubstitutedFlag(const char* text, const ParameterMap& parameters, CReading& reading) {
    if (parameters.IsEmpty() && text != nullptr) {
        if (std::strcmp(text, "true") == 0) return true;
        if (std::strcmp(text, "false") == 0) return false;
    }
    return ParameterToBool(SubstituteParameters(text, parameters, &reading).c_str());
}

void ReadBeans(CConfiguration& configuration, CReading& reading, const XMLNode& element, SLibrary* library,
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
        element, kTags, parameters, reading,
        [&](const XMLNode& child) {
            SBean bean;
            SLibrary* owner = ReadBean(configuration, reading, child, bean, parameters, library, nullptr);
            owner->beans.push_back(std::move(bean));
        },
        [&](const XMLNode& loop, const ParameterMap& loopParameters) {
            ReadBeans(configuration, reading, loop, library, loopParameters);
        });
}

SLibrary* ReadBean(CConfiguration& configuration, CReading& reading, const XMLNode& element, SBean& bean,
                   const ParameterMap& parameters, SLibrary* library, const char* innerName) {
    const bool inner = innerName != nullptr && *innerName != '\0';
    const CBeanAttributes attributes(element, inner);

    std::string className = ReadAttribute(attributes[AttrClass], parameters, reading);
    if (className.empty())
        throw CException(Message(L"Missing class name when parsing type '",
                                 ReadName(attributes, parameters, reading, innerName), L"'"));

    // Only the first '@' separates, and not at the very start: "@Foo" is a
    // class name, "a@b@c" the class a of the library "b@c".
    SLibrary* owner = library;
    const std::size_t at = className.find('@');
    if (at != std::string::npos && at > 0) {
        owner = configuration.FindOrAddLibrary(className.substr(at + 1));
        className.resize(at);
    }
    bean.className = std::move(className);
    bean.spot = SSourceSpot{reading.FileNumber(), element.SourceOffset()};

    bean.name = ReadName(attributes, parameters, reading, innerName);

    bean.singleton = ReadFlag(attributes[AttrSingleton], parameters, reading, false);
    bean.lazy = ReadFlag(attributes[AttrLazy], parameters, reading, true);
    bean.autoname = ReadFlag(attributes[AttrAutoname], parameters, reading, false);
    bean.exported = ReadFlag(attributes[AttrExported], parameters, reading, true);

    bean.initMethod = ReadAttribute(attributes[AttrInitMethod], parameters, reading);
    bean.exitMethod = ReadAttribute(attributes[AttrExitMethod], parameters, reading);
    bean.factoryBean = ReadAttribute(attributes[AttrFactoryBean], parameters, reading);

    // A present but empty attribute stays empty; it doesn't fall back on the
    // class. A ':' at position 0 cuts nothing.
    const char* writtenMethod = attributes[AttrFactoryMethod];
    std::string written;
    if (writtenMethod != nullptr) written = SubstitutedName(writtenMethod, parameters, reading);
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
    if (!child.IsEmpty()) ReadConstructorArguments(configuration, reading, child, bean, parameters, library);

    child = element.NextChild("properties");
    if (!child.IsEmpty()) ReadProperties(configuration, reading, child, bean, parameters, library);

    child = element.NextChild("provides");
    if (!child.IsEmpty()) ReadProvides(configuration, reading, child, library, parameters, bean);

    child = element.NextChild("depends-on");
    if (!child.IsEmpty()) ReadDependsOn(child, parameters, reading, bean);

    return owner;
}

void ReadInterface(CConfiguration& configuration, CReading& reading, SLibrary* library,
                   const ParameterMap& parameters, SBean& bean, const XMLNode& element) {
    // The class library registers its type ids when it is loaded, so it is
    // bound before the name is looked up.
    bool refused = false;
    try {
        BindLibrary(configuration, library);
    } catch (const CLibraryRefused&) {
        if (!ReadingWithoutLibraries()) throw;
        refused = true;
    }

    const std::string name = SubstitutedName(element.Text(), parameters, reading);
    if (name.empty()) throw CException(L"Error while parsing interface: Missing interface name");

    if (refused) {
        // The id that the library would have registered is unknown: the name
        // stands for it.
        try {
            bean.interfaces.emplace_back(LocalLibrary().GetTypeId(name.c_str()));
        } catch (const CException&) {
            bean.interfaces.push_back(name);
        }
        return;
    }
    bean.interfaces.emplace_back(LocalLibrary().GetTypeId(name.c_str()));
}

}  // namespace ZEM
