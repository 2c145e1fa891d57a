// The class-library kit: binds a C++ class to the container in a few
// declarative lines that the compiler checks. A binding names the ways an
// object is made and the methods a configuration may reach; the argument
// types come from the C++ signatures. Class libraries export the binding with
// ZEM_EXPORT_CLASS, hosts register theirs with RegisterClass.
//
//     ZEM::CClass<shop::Till> BindTill() {
//         return ZEM::CClass<shop::Till>()
//             .Constructor<int, std::shared_ptr<shop::ICatalog>>()
//             .Property("Printer", &shop::Till::SetPrinter)
//             .Method("Open", &shop::Till::Open);
//     }
//     ZEM_EXPORT_CLASS(BindTill, shop, Till)   // create_shop_Till_Wrapper
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "zem/container.h"
#include "zem/kit/arguments.h"
#include "zem/kit/calls.h"
#include "zem/kit/symbol.h"
#include "zem/kit/wrapper.h"
#include "zem/library.h"
#include "zem/object.h"

namespace ZEM {

// The binding of class T, which derives from ZEM::IObject. Each call adds one
// entry and returns the binding; an entry of the same name and argument count
// as an earlier one replaces it. Names are compared exactly.
template <class T>
class CClass {
    static_assert(std::is_base_of_v<IObject, T>, "zem: a bound class must derive from ZEM::IObject");

public:
    // A constructor of T taking P... . Without a name it answers to the
    // class's own name (the last component of its class name), which is what
    // a bean without factory-method asks for.
    template <class... P>
    CClass& Constructor(const char* name = nullptr) {
        return Creates<T, P...>(name);
    }

    // A constructor of another class U: the factory methods of a factory
    // bean, which make the objects of the beans that name it.
    template <class U, class... P>
    CClass& Creates(const char* name) {
        static_assert(std::is_base_of_v<IObject, U>, "zem: an object the container holds must derive from ZEM::IObject");
        static_assert(!std::is_abstract_v<U>, "zem: an abstract class can't be constructed");
        if constexpr (kit::CheckArguments<P...>()) {
            static_assert(std::is_constructible_v<U, P...>,
                          "zem: the class has no public constructor taking these parameter types");
            kit::STable::Put(table_.creators, kit::MakeConstructor<U, P...>(name == nullptr ? "" : name));
        }
        return *this;
    }

    // A static factory function that returns U* or std::unique_ptr<U>, U
    // derived from ZEM::IObject. Its objects can't have an exit method. For
    // an overloaded name, give the signature: Factory<std::unique_ptr<X>(int)>.
    template <class Sig>
    CClass& Factory(const char* name, Sig* function) {
        using S = kit::SSignature<Sig>;
        if constexpr (S::supported) {
            static_assert(kit::SFactoryResult<typename S::Result>::supported,
                          "zem: a factory function returns U* or std::unique_ptr<U>, U derived from ZEM::IObject");
            AddFactory(name, function, typename S::Plain{});
        }
        return *this;
    }

    // A method that Invoke may reach: a member function (of T, a base of T,
    // or, in a factory binding, of the class it makes), a data member that
    // is set from one argument, or a function taking C& first. A bool result
    // of false fails the bean request; other results are ignored. For an
    // overloaded name, give the signature: Method<void(int)>("Size", &X::SetSize).
    template <class Sig, class C>
    CClass& Method(const char* name, Sig C::*member) {
        if constexpr (std::is_function_v<Sig>) {
            using S = kit::SSignature<Sig>;
            static_assert(S::supported, "zem: a ref-qualified member function can't be bound");
            if constexpr (S::supported) AddMember<C>(name, member, typename S::Plain{});
        } else {
            static_assert(!std::is_const_v<Sig>, "zem: a const data member can't be set");
            static_assert(!std::is_pointer_v<Sig> && !std::is_same_v<Sig, std::string_view> &&
                              !std::is_same_v<Sig, std::wstring_view>,
                          "zem: a data member set from the configuration must own its text: use "
                          "std::string or std::wstring");
            if constexpr (kit::CheckArgument<Sig>())
                kit::STable::Put(table_.methods, kit::MakeDataMember(name, member));
        }
        return *this;
    }
    template <class C, class R, class... P>
    CClass& Method(const char* name, R (*function)(C&, P...)) {
        if constexpr (kit::CheckArguments<P...>())
            kit::STable::Put(table_.methods, kit::MakeFreeFunction(name, function));
        return *this;
    }

    // The same as Method; reads better for setters.
    template <class Sig, class C>
    CClass& Property(const char* name, Sig C::*member) {
        return Method(name, member);
    }
    template <class C, class R, class... P>
    CClass& Property(const char* name, R (*function)(C&, P...)) {
        return Method(name, function);
    }

    // The entries, for the wrapper.
    kit::STable TakeTable() && { return std::move(table_); }

private:
    template <class Sig, class R, class... P>
    void AddFactory(const char* name, Sig* function, std::type_identity<R(P...)> plain) {
        if constexpr (kit::CheckArguments<P...>())
            kit::STable::Put(table_.creators, kit::MakeFactory(name, function, plain));
    }
    template <class C, class Member, class R, class... P>
    void AddMember(const char* name, Member member, std::type_identity<R(P...)> plain) {
        if constexpr (kit::CheckArguments<P...>())
            kit::STable::Put(table_.methods, kit::MakeMemberFunction<C>(name, member, plain));
    }

    kit::STable table_;
};

// A new wrapper of `binding` for the class a configuration calls
// `className`; what a maker returns.
template <class T>
IBeanWrapper* NewWrapper(CClass<T> binding, const char* className) {
    return std::make_unique<kit::CClassWrapper>(std::move(binding).TakeTable(), className).release();
}

namespace kit {


template <class B>
inline constexpr bool kIsBinding = false;
template <class T>
inline constexpr bool kIsBinding<CClass<T>> = true;

// The class name a binder is registered under on the local library.
template <auto Binder>
std::string& LocalClassName() {
    static std::string name;
    return name;
}

template <auto Binder>
IBeanWrapper* LocalMaker() {
    return NewWrapper(Binder(), LocalClassName<Binder>().c_str());
}

}  // namespace kit

// Registers the binding that Binder() returns on the local library, under the
// class name a configuration writes (for example "host::Clock"); a
// `library` element without path then finds it. One binder serves one name:
// registering it again under another name withdraws the first.
template <auto Binder>
void RegisterClass(const char* className) {
    static_assert(kit::kIsBinding<decltype(Binder())>, "zem: the binder must return a ZEM::CClass<T>");
    std::string& registered = kit::LocalClassName<Binder>();
    if (!registered.empty() && registered != className)
        GetLocalLibrary().UnregisterWrapperMaker(kit::MakerSymbol(registered));
    registered = className;
    GetLocalLibrary().RegisterWrapperMaker(kit::MakerSymbol(className), &kit::LocalMaker<Binder>);
}

// Withdraws a class from the local library; false if it wasn't registered.
// Beans already bound to it keep their wrapper.
inline bool UnregisterClass(const char* className) {
    return GetLocalLibrary().UnregisterWrapperMaker(kit::MakerSymbol(className));
}

// Names interface I by the class name a configuration writes in `interface`
// and `ref service` (for example "shop::IPriceRule").
template <class I>
void RegisterInterface(const char* className) {
    GetLocalLibrary().RegisterTypeId(className, TypeId<I>());
}

}  // namespace ZEM

// Exports the maker of a class library's class, for the class name given as
// its components: ZEM_EXPORT_CLASS(BindPool, net, Pool) defines the function
// create_net_Pool_Wrapper for the class "net::Pool", visible also when the
// library is built with -fvisibility=hidden. Up to eight components.
#define ZEM_EXPORT_CLASS(binder, ...)                                                              \
    static_assert(::ZEM::kit::kIsBinding<decltype(binder())>,                                      \
                  "zem: the binder must return a ZEM::CClass<T>");                                 \
    extern "C" ZEM_KIT_EXPORT ::ZEM::IBeanWrapper* ZEM_KIT_MAKER_NAME(__VA_ARGS__)() {             \
        return ::ZEM::NewWrapper(binder(), ZEM_KIT_CLASS_NAME(__VA_ARGS__));                       \
    }

// Names interface I by its C++ name as written, when the library that holds
// the line is loaded: ZEM_REGISTER_INTERFACE(shop::IPriceRule) registers the
// class name "shop::IPriceRule". Write the name without blanks.
#define ZEM_REGISTER_INTERFACE(...)                                                                \
    [[maybe_unused]] static const bool ZEM_KIT_JOIN(zemInterfaceRegistered_, __COUNTER__) =        \
        (::ZEM::RegisterInterface<__VA_ARGS__>(#__VA_ARGS__), true)

#if defined(_WIN32)
#  define ZEM_KIT_EXPORT __declspec(dllexport)
#elif defined(__GNUC__)
#  define ZEM_KIT_EXPORT __attribute__((visibility("default")))
#else
#  define ZEM_KIT_EXPORT
#endif

#define ZEM_KIT_JOIN(a, b) ZEM_KIT_JOIN_(a, b)
#define ZEM_KIT_JOIN_(a, b) a##b
#define ZEM_KIT_COUNT(...) ZEM_KIT_PICK(__VA_ARGS__, 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define ZEM_KIT_PICK(_1, _2, _3, _4, _5, _6, _7, _8, n, ...) n
#define ZEM_KIT_MAKER_NAME(...)                                                                    \
    ZEM_KIT_JOIN(create_, ZEM_KIT_JOIN(ZEM_KIT_JOIN(ZEM_KIT_SYMBOL_, ZEM_KIT_COUNT(__VA_ARGS__))(__VA_ARGS__), _Wrapper))
#define ZEM_KIT_CLASS_NAME(...) ZEM_KIT_JOIN(ZEM_KIT_NAME_, ZEM_KIT_COUNT(__VA_ARGS__))(__VA_ARGS__)

#define ZEM_KIT_SYMBOL_1(a) a
#define ZEM_KIT_SYMBOL_2(a, b) a##_##b
#define ZEM_KIT_SYMBOL_3(a, b, c) a##_##b##_##c
#define ZEM_KIT_SYMBOL_4(a, b, c, d) a##_##b##_##c##_##d
#define ZEM_KIT_SYMBOL_5(a, b, c, d, e) a##_##b##_##c##_##d##_##e
#define ZEM_KIT_SYMBOL_6(a, b, c, d, e, f) a##_##b##_##c##_##d##_##e##_##f
#define ZEM_KIT_SYMBOL_7(a, b, c, d, e, f, g) a##_##b##_##c##_##d##_##e##_##f##_##g
#define ZEM_KIT_SYMBOL_8(a, b, c, d, e, f, g, h) a##_##b##_##c##_##d##_##e##_##f##_##g##_##h

#define ZEM_KIT_NAME_1(a) #a
#define ZEM_KIT_NAME_2(a, b) #a "::" #b
#define ZEM_KIT_NAME_3(a, b, c) #a "::" #b "::" #c
#define ZEM_KIT_NAME_4(a, b, c, d) #a "::" #b "::" #c "::" #d
#define ZEM_KIT_NAME_5(a, b, c, d, e) #a "::" #b "::" #c "::" #d "::" #e
#define ZEM_KIT_NAME_6(a, b, c, d, e, f) #a "::" #b "::" #c "::" #d "::" #e "::" #f
#define ZEM_KIT_NAME_7(a, b, c, d, e, f, g) #a "::" #b "::" #c "::" #d "::" #e "::" #f "::" #g
#define ZEM_KIT_NAME_8(a, b, c, d, e, f, g, h) #a "::" #b "::" #c "::" #d "::" #e "::" #f "::" #g "::" #h
