// The kit's argument layer: which C++ parameter types a bound constructor,
// factory or method may take, how each is read from the address the container
// passes, and the type name declared for it. Used by zem/kit/calls.h; class
// library authors only meet it through its compile errors.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "zem/object.h"
#include "zem/typed_wrapper.h"

namespace ZEM::kit {

// CArgument<D> for a supported decayed type D: `Stored` is what the kit keeps
// during the call, `Read` takes it from one entry of the argument vector (a
// null entry sets `ok` to false unless D can stand for "nothing"), and
// `typeName` is what GetArgumentTypes declares.
template <class D, class = void>
struct CArgument {
    static constexpr bool supported = false;
};

// A number, bool or char: the entry points at a value of exactly this width.
template <class D>
struct CNumberArgument {
    static constexpr bool supported = true;
    using Stored = D;
    static D Read(const void* entry, bool& ok) {
        D value{};
        if (entry == nullptr) {
            ok = false;
            return value;
        }
        std::memcpy(&value, entry, sizeof value);  // no alignment is promised
        return value;
    }
};

template <> struct CArgument<bool> : CNumberArgument<bool> { static constexpr const char* typeName = "bool"; };
template <> struct CArgument<char> : CNumberArgument<char> { static constexpr const char* typeName = "char"; };
template <> struct CArgument<signed char> : CNumberArgument<signed char> { static constexpr const char* typeName = "int8_t"; };
template <> struct CArgument<unsigned char> : CNumberArgument<unsigned char> { static constexpr const char* typeName = "unsigned char"; };
template <> struct CArgument<short> : CNumberArgument<short> { static constexpr const char* typeName = "short"; };
template <> struct CArgument<unsigned short> : CNumberArgument<unsigned short> { static constexpr const char* typeName = "unsigned short"; };
template <> struct CArgument<int> : CNumberArgument<int> { static constexpr const char* typeName = "int"; };
template <> struct CArgument<unsigned int> : CNumberArgument<unsigned int> { static constexpr const char* typeName = "unsigned int"; };
template <> struct CArgument<float> : CNumberArgument<float> { static constexpr const char* typeName = "float"; };
template <> struct CArgument<double> : CNumberArgument<double> { static constexpr const char* typeName = "double"; };

// The configuration's long and unsigned long are 32 bits wide everywhere. Where
// std::int32_t is not int (a platform with 32-bit long), it still reads as one.
template <class D>
struct CArgument<D, std::enable_if_t<std::is_same_v<D, std::int32_t> && !std::is_same_v<D, int>>>
    : CNumberArgument<D> {
    static constexpr const char* typeName = "long";
};
template <class D>
struct CArgument<D, std::enable_if_t<std::is_same_v<D, std::uint32_t> && !std::is_same_v<D, unsigned int>>>
    : CNumberArgument<D> {
    static constexpr const char* typeName = "unsigned long";
};

// Text: the entry is a string object whose only member points at the
// zero-terminated characters.
template <class Ch>
const Ch* ReadText(const void* entry, bool& ok) {
    if (entry == nullptr) {
        ok = false;
        return nullptr;
    }
    return *static_cast<const Ch* const*>(entry);
}

template <class Ch>
struct CTextArgument {
    static constexpr bool supported = true;
    static constexpr const char* typeName =
        std::is_same_v<Ch, char> ? "const char*" : "const wchar_t*";
};

template <> struct CArgument<const char*> : CTextArgument<char> {
    using Stored = const char*;
    static Stored Read(const void* entry, bool& ok) { return ReadText<char>(entry, ok); }
};
template <> struct CArgument<const wchar_t*> : CTextArgument<wchar_t> {
    using Stored = const wchar_t*;
    static Stored Read(const void* entry, bool& ok) { return ReadText<wchar_t>(entry, ok); }
};
template <class Ch, template <class...> class S>
struct CTextObjectArgument : CTextArgument<Ch> {
    using Stored = S<Ch, std::char_traits<Ch>>;
    static Stored Read(const void* entry, bool& ok) {
        const Ch* text = ReadText<Ch>(entry, ok);
        return text == nullptr ? Stored() : Stored(text);
    }
};
template <> struct CArgument<std::string> : CTextObjectArgument<char, std::basic_string> {};
template <> struct CArgument<std::wstring> : CTextObjectArgument<wchar_t, std::basic_string> {};
template <> struct CArgument<std::string_view> : CTextObjectArgument<char, std::basic_string_view> {};
template <> struct CArgument<std::wstring_view> : CTextObjectArgument<wchar_t, std::basic_string_view> {};

// An object: the entry points at a std::shared_ptr<IObject>; a null entry is a
// reference that found nothing. Both that and a failed cast give an empty
// pointer. The declared name lets a `nullptr` value through.
template <class U>
struct CArgument<std::shared_ptr<U>, std::enable_if_t<std::is_class_v<U>>> {
    static constexpr bool supported = true;
    static constexpr const char* typeName = "nullptr";
    using Stored = std::shared_ptr<U>;
    static Stored Read(const void* entry, bool&) {
        if (entry == nullptr) return nullptr;
        const auto& object = *static_cast<const std::shared_ptr<IObject>*>(entry);
        return std::dynamic_pointer_cast<U>(object);
    }
    static void Describe(SParameter& parameter) {
        parameter.objectClass = &typeid(U);
        parameter.accepts = [](const IObject& object) { return dynamic_cast<const U*>(&object) != nullptr; };
        // A thrown U'* is caught as const U* exactly when U' is a U.
        parameter.catches = [](MadeClassThrower thrower) {
            try {
                thrower();
            } catch (const U*) {
                return true;
            } catch (...) {
            }
            return false;
        };
    }
};

template <class P>
using Decayed = std::remove_cvref_t<P>;

// The declaration of parameter type P that the container compares values with.
template <class P>
SParameter ParameterOf() {
    using A = CArgument<Decayed<P>>;
    SParameter parameter;
    parameter.typeName = A::typeName;
    if constexpr (requires { A::Describe(parameter); }) A::Describe(parameter);
    return parameter;
}

// What the kit keeps of an argument of parameter type P during one call.
template <class P>
using Stored = typename CArgument<Decayed<P>>::Stored;

template <class P>
inline constexpr bool kIsSupported =
    CArgument<Decayed<P>>::supported &&
    !(std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>);

template <class D>
inline constexpr bool kIsWideInteger =
    std::is_integral_v<D> && sizeof(D) > 4 && !std::is_same_v<D, bool>;

// Checked once per parameter where a binding is declared, so that the error
// names the type ("required from ... [with P = long int]").
template <class P>
consteval bool CheckArgument() {
    using D = Decayed<P>;
    static_assert(!kIsWideInteger<D>,
                  "zem: 64-bit integers cannot be configured; the configuration's long and unsigned "
                  "long are 32 bits wide: declare the parameter as std::int32_t or std::uint32_t");
    static_assert(!(std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>),
                  "zem: a parameter that the container fills cannot be a non-const reference; take it "
                  "by value or by const reference");
    static_assert(kIsWideInteger<D> || CArgument<D>::supported,
                  "zem: this parameter type cannot be configured. A bound constructor, factory or "
                  "method may take: bool, char, signed char (int8_t), unsigned char (uint8_t), short, "
                  "unsigned short, int (int32_t, also for long), unsigned int (uint32_t, also for "
                  "unsigned long), float, double, const char*, std::string, std::string_view, const "
                  "wchar_t*, std::wstring, std::wstring_view, std::shared_ptr<Class>; by value or by "
                  "const reference");
    return kIsSupported<P>;
}

template <class... P>
consteval bool CheckArguments() {
    return (CheckArgument<P>() && ...);
}

}  // namespace ZEM::kit
