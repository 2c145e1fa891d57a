// The kit's call layer: the type-erased entries of a class binding (ways to
// make an object, methods to invoke) built from C++ signatures, and the
// subclass that gives an object its exit method and keeps its dependencies.
// Used by zem/class.h and zem/kit/wrapper.h.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "zem/kit/arguments.h"
#include "zem/object.h"

namespace ZEM::kit {

// The argument entries of one call; null when the call has none.
using Entries = void* const*;

// Runs `call` with the entries read as the parameter types P...; false if an
// entry that must hold a value is null.
template <class... P, std::size_t... I, class F>
bool CallWith(Entries entries, std::index_sequence<I...>, F&& call) {
    static_cast<void>(entries);  // unused when there are no parameters
    bool ok = true;
    // Braced initialisation reads the entries in order.
    std::tuple<Stored<P>...> values{CArgument<Decayed<P>>::Read(entries[I], ok)...};
    if (!ok) return false;
    return call(std::forward<P>(std::get<I>(values))...);
}

template <class... P, class F>
bool CallWith(Entries entries, F&& call) {
    return CallWith<P...>(entries, std::index_sequence_for<P...>{}, std::forward<F>(call));
}

// What a method's result says to the container: false fails the bean
// request, anything else (or nothing) is success.
template <class R, class F>
bool ResultOf(F&& call) {
    if constexpr (std::is_void_v<R>) {
        call();
        return true;
    } else if constexpr (std::is_same_v<std::remove_cvref_t<R>, bool>) {
        return call();
    } else {
        static_cast<void>(call());
        return true;
    }
}

// What an object made by the kit keeps for its end.
struct SObjectEnd {
    // Invoked without arguments just before the object is destroyed.
    std::function<bool(IObject*, Entries)> exit;
    // Objects that must outlive this one (its depends-on beans).
    std::vector<std::shared_ptr<IObject>> keep;
};

// A base placed before the bound class, so that what it keeps is destroyed
// after the bound class's own destructor has run.
class CObjectEndHolder {
protected:
    explicit CObjectEndHolder(SObjectEnd&& end) : zemObjectEnd_(std::move(end)) {}
    SObjectEnd zemObjectEnd_;
};

// The object the kit makes when it must run an exit method or keep
// dependencies: the bound class itself, with a destructor that calls the exit
// method while the whole object still stands.
template <class U>
class CManaged final : private CObjectEndHolder, public U {
public:
    template <class... A>
    explicit CManaged(SObjectEnd&& end, A&&... arguments)
        : CObjectEndHolder(std::move(end)), U(std::forward<A>(arguments)...) {}
    CManaged(const CManaged&) = delete;
    CManaged& operator=(const CManaged&) = delete;
    ~CManaged() override {
        if (!zemObjectEnd_.exit) return;
        try {
            zemObjectEnd_.exit(static_cast<U*>(this), nullptr);
        } catch (...) {
            // An object's end has no one to report to.
        }
    }
};

// Makes a U from the arguments, as a CManaged<U> when `end` asks for it.
// Null if an exit method is asked for but U is final and can't carry it.
template <class U, class... A>
std::unique_ptr<IObject> Construct(SObjectEnd&& end, A&&... arguments) {
    if constexpr (std::is_final_v<U>) {
        if (end.exit) return nullptr;
    } else {
        if (end.exit || !end.keep.empty())
            return std::make_unique<CManaged<U>>(std::move(end), std::forward<A>(arguments)...);
    }
    return std::make_unique<U>(std::forward<A>(arguments)...);
}

// One way of making an object: a constructor, a constructor of another class
// (factory bindings), or a static factory function.
struct SCreator {
    std::string name;  // empty: the class's own name
    std::size_t arity = 0;
    std::function<std::unique_ptr<IObject>(Entries, SObjectEnd&&)> make;
    std::vector<SParameter> parameters;
    MadeClassThrower made = nullptr;  // null: the class of the objects isn't known exactly
};

// One method that Invoke can reach: a property setter, an init or exit
// method, "SetName", or any other.
struct SMethod {
    std::string name;
    std::size_t arity = 0;
    std::vector<SParameter> parameters;
    std::function<bool(IObject*, Entries)> invoke;
};

template <class... P>
std::vector<SParameter> ParametersOf() {
    return {ParameterOf<P>()...};
}

template <class U, class... P>
SCreator MakeConstructor(std::string name) {
    SCreator creator{std::move(name), sizeof...(P), {}, ParametersOf<P...>(), [] { throw static_cast<U*>(nullptr); }};
    creator.make = [](Entries entries, SObjectEnd&& end) {
        std::unique_ptr<IObject> made;
        CallWith<P...>(entries, [&](auto&&... arguments) {
            made = Construct<U>(std::move(end), std::forward<decltype(arguments)>(arguments)...);
            return true;
        });
        return made;
    };
    return creator;
}

// The parts of a function type, const and noexcept member functions included.
template <class Sig>
struct SSignature {
    static constexpr bool supported = false;
};
template <class R, class... P>
struct SSignature<R(P...)> {
    static constexpr bool supported = true;
    using Result = R;
    using Plain = std::type_identity<R(P...)>;  // the signature without const and noexcept
};
template <class R, class... P>
struct SSignature<R(P...) const> : SSignature<R(P...)> {};
template <class R, class... P>
struct SSignature<R(P...) noexcept> : SSignature<R(P...)> {};
template <class R, class... P>
struct SSignature<R(P...) const noexcept> : SSignature<R(P...)> {};

// A factory function's result: an owning pointer to an IObject.
template <class R>
struct SFactoryResult {
    static constexpr bool supported = false;
};
template <class U>
struct SFactoryResult<U*> {
    static constexpr bool supported = std::is_base_of_v<IObject, U>;
    static std::unique_ptr<IObject> Own(U* made) { return std::unique_ptr<IObject>(made); }
};
template <class U>
struct SFactoryResult<std::unique_ptr<U>> {
    static constexpr bool supported = std::is_base_of_v<IObject, U>;
    static std::unique_ptr<IObject> Own(std::unique_ptr<U>&& made) { return std::move(made); }
};

template <class Fn, class R, class... P>
SCreator MakeFactory(std::string name, Fn function, std::type_identity<R(P...)>) {
    SCreator creator{std::move(name), sizeof...(P), {}, ParametersOf<P...>(), nullptr};
    creator.make = [function](Entries entries, SObjectEnd&& end) -> std::unique_ptr<IObject> {
        // The object is finished when the function returns; nothing can run
        // before its destructor any more.
        if (end.exit) return nullptr;
        std::unique_ptr<IObject> made;
        CallWith<P...>(entries, [&](auto&&... arguments) {
            made = SFactoryResult<R>::Own(function(std::forward<decltype(arguments)>(arguments)...));
            return true;
        });
        return made;
    };
    return creator;
}

template <class C, class Member, class R, class... P>
SMethod MakeMemberFunction(std::string name, Member member, std::type_identity<R(P...)>) {
    SMethod method{std::move(name), sizeof...(P), ParametersOf<P...>(), {}};
    method.invoke = [member](IObject* object, Entries entries) {
        C* self = dynamic_cast<C*>(object);
        if (self == nullptr) return false;
        return CallWith<P...>(entries, [&](auto&&... arguments) {
            return ResultOf<R>([&]() -> decltype(auto) {
                return (self->*member)(std::forward<decltype(arguments)>(arguments)...);
            });
        });
    };
    return method;
}

template <class C, class M>
SMethod MakeDataMember(std::string name, M C::*member) {
    SMethod method{std::move(name), 1, ParametersOf<M>(), {}};
    method.invoke = [member](IObject* object, Entries entries) {
        C* self = dynamic_cast<C*>(object);
        if (self == nullptr) return false;
        return CallWith<M>(entries, [&](M&& value) {
            self->*member = std::move(value);
            return true;
        });
    };
    return method;
}

template <class C, class R, class... P>
SMethod MakeFreeFunction(std::string name, R (*function)(C&, P...)) {
    SMethod method{std::move(name), sizeof...(P), ParametersOf<P...>(), {}};
    method.invoke = [function](IObject* object, Entries entries) {
        C* self = dynamic_cast<C*>(object);
        if (self == nullptr) return false;
        return CallWith<P...>(entries, [&](auto&&... arguments) {
            return ResultOf<R>([&]() -> decltype(auto) {
                return function(*self, std::forward<decltype(arguments)>(arguments)...);
            });
        });
    };
    return method;
}

}  // namespace ZEM::kit
