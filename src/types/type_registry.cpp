// The value types. Numbers are read leniently by the platform's converters;
// among plain values only bool can fail.
#include "types/type_registry.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "foundation/string_convert.h"
#include "platform/numeric.h"
#include "zem/exception.h"

namespace ZEM {

IValuePointer::~IValuePointer() = default;
IType::~IType() = default;

namespace {

bool stringToBool(const char* text) {
    if (std::strcmp(text, "true") == 0) return true;
    if (std::strcmp(text, "false") == 0) return false;
    throw CException(L"Invalid bool value");
}

template <class T>
T stringToChar(const char* text) {
    return static_cast<T>(text[0]);
}

template <class T>
T stringToByte(const char* text) {
    return static_cast<T>(static_cast<std::uint8_t>(platform::ParseInt32(text)));
}

template <class T>
T stringToShort(const char* text) {
    return static_cast<T>(static_cast<std::uint16_t>(platform::ParseInt32(text)));
}

template <class T>
T stringToInt(const char* text) {
    return static_cast<T>(platform::ParseInt32(text));
}

// "long" is 32 bits wide whatever the platform's own long is.
template <class T>
T stringToLong(const char* text) {
    return static_cast<T>(platform::ParseInt32(text));
}

template <class T>
T stringToULong(const char* text) {
    return static_cast<T>(platform::ParseUInt32Auto(text));
}

template <class T>
T stringToFloat(const char* text) {
    return static_cast<T>(platform::ParseDouble(text));
}

template <class T>
T stringToDouble(const char* text) {
    return static_cast<T>(platform::ParseDouble(text));
}

template <class T>
T stringToString(const char* text) {
    if constexpr (std::is_same_v<T, KtStr>)
        return KtStr(text);
    else
        return WidenStr(text);
}

template <class T, T (*Convert)(const char*)>
class BasicType final : public IType {
public:
    std::shared_ptr<IValuePointer> CreateValue(IBeanFactory*, const char*, const char* text,
                                               const SLibrary*) override {
        return std::make_shared<CValuePointer<T>>(Convert(text != nullptr ? text : ""));
    }
};

// Type names lose every blank (and nothing else) before a look-up.
std::string Normalise(const char* name) {
    std::string key;
    for (const char* p = name; *p != 0; ++p)
        if (*p != ' ') key.push_back(*p);
    return key;
}

// The words that name the object type: a reference to a bean or a service,
// or the null reference.
bool IsObjectWord(const char* name) {
    switch (name[0]) {
        case 'b': return std::strcmp(name, "bean") == 0;
        case 's': return std::strcmp(name, "service") == 0;
        case 'n': return std::strcmp(name, "nullptr") == 0;
        default: return false;
    }
}

}  // namespace

CTypeRegistry::CTypeRegistry() {
    auto add = [this](const char* name, std::unique_ptr<IType> type) {
        types_.FindOrInsert(std::string_view(Normalise(name))) = std::move(type);
    };
    add("bool", std::make_unique<BasicType<bool, stringToBool>>());
    add("char", std::make_unique<BasicType<char, stringToChar<char>>>());
    add("int8_t", std::make_unique<BasicType<signed char, stringToByte<signed char>>>());
    add("unsigned char", std::make_unique<BasicType<unsigned char, stringToByte<unsigned char>>>());
    add("uint8_t", std::make_unique<BasicType<unsigned char, stringToByte<unsigned char>>>());
    add("short", std::make_unique<BasicType<short, stringToShort<short>>>());
    add("int16_t", std::make_unique<BasicType<short, stringToShort<short>>>());
    add("unsigned short", std::make_unique<BasicType<unsigned short, stringToShort<unsigned short>>>());
    add("uint16_6", std::make_unique<BasicType<unsigned short, stringToShort<unsigned short>>>());
    add("int", std::make_unique<BasicType<int, stringToInt<int>>>());
    add("int32_t", std::make_unique<BasicType<int, stringToInt<int>>>());
    add("unsigned int", std::make_unique<BasicType<unsigned int, stringToInt<unsigned int>>>());
    add("uint32_t", std::make_unique<BasicType<unsigned int, stringToInt<unsigned int>>>());
    add("long", std::make_unique<BasicType<std::int32_t, stringToLong<std::int32_t>>>());
    add("unsigned long", std::make_unique<BasicType<std::uint32_t, stringToULong<std::uint32_t>>>());
    add("float", std::make_unique<BasicType<float, stringToFloat<float>>>());
    add("double", std::make_unique<BasicType<double, stringToDouble<double>>>());
    add("char*", std::make_unique<BasicType<KtStr, stringToString<KtStr>>>());
    add("const char*", std::make_unique<BasicType<KtStr, stringToString<KtStr>>>());
    add("wchar_t*", std::make_unique<BasicType<KtWStr, stringToString<KtWStr>>>());
    add("const wchar_t*", std::make_unique<BasicType<KtWStr, stringToString<KtWStr>>>());
}

CTypeRegistry::~CTypeRegistry() { objectType_.reset(); }

const std::unique_ptr<IType>* CTypeRegistry::FindWithoutBlanks(const char* name) const {
    // A short name (all of them in the table) loses its blanks on the stack.
    char key[64];
    std::size_t length = 0;
    const char* p = name;
    for (; *p != 0 && length < sizeof key; ++p)
        if (*p != ' ') key[length++] = *p;
    if (*p == 0) return types_.Find(std::string_view(key, length));
    return types_.Find(std::string_view(Normalise(name)));
}

IType* CTypeRegistry::FindType(const char* name) const {
    if (name == nullptr) name = "";
    if (objectType_ && IsObjectWord(name)) return objectType_.get();
    if (const auto* type = FindWithoutBlanks(name)) return type->get();
    throw CException(Message(L"Could not find type bean '", name, L"'"));
}

std::shared_ptr<IValuePointer> ObjectType::CreateValue(IBeanFactory* factory, const char* typeName,
                                                       const char* text, const SLibrary* library) {
    if (text == nullptr) text = "";
    if (std::strcmp(typeName, "bean") == 0) {
        auto value = std::make_shared<CBeanPointer>(factory, text, library);
        if (value->GetValue() != nullptr) return value;
        return nullptr;
    }
    if (std::strcmp(typeName, "service") == 0) {
        auto value = std::make_shared<CServicePointer>(factory, text);
        if (value->GetValue() != nullptr) return value;
        return nullptr;
    }
    if (std::strcmp(typeName, "nullptr") == 0) return std::make_shared<CNullPointer>();
    return nullptr;
}

}  // namespace ZEM
