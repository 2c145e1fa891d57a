// CContainer: a host's handle on one bean factory, either the process-wide
// shared factory or a private one. Copies share the factory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "zem/bean_factory.h"
#include "zem/export.h"
#include "zem/limits.h"
#include "zem/object.h"

namespace ZEM {

// The type id of interface T, as services are registered and found under it.
template <class T>
const char* TypeId() {
    return typeid(T).name();
}

// The bean `name` of `factory`, requested from outside any library; throws a
// CException with the reason when the request gives nothing.
ZEM_API std::shared_ptr<IObject> RequireBean(IBeanFactory& factory, const char* name);
// Throws "Bean 'name' is not a 'T'" for the class `type`.
[[noreturn]] ZEM_API void ThrowNotA(const char* name, const std::type_info& type);

class ZEM_API CContainer {
public:
    // The shared factory with what it holds; a new, empty one if none is alive.
    CContainer();
    // A new private factory; nothing is read.
    explicit CContainer(std::nullptr_t);
    // Loads the XML text itself (null or empty loads nothing).
    CContainer(const char* text, bool shared = false);
    // Loads the configuration file `path`, following its includes.
    CContainer(const wchar_t* path, bool shared = false);
    // Named forms that can't be mistaken for each other: a container loaded
    // from the configuration file `path` (with its includes), or from the XML
    // `text` itself. Prefer these to the two constructors above, where only
    // the width of the characters tells a file name from a document.
    static CContainer FromFile(const std::filesystem::path& path, bool shared = false);
    static CContainer FromText(std::string_view text, bool shared = false);
    CContainer(const CContainer& other);
    CContainer(CContainer&& other) noexcept;  // leaves `other` without factory
    CContainer& operator=(const CContainer& other);
    CContainer& operator=(CContainer&& other) noexcept;
    ~CContainer();

    bool Exists(const char* name) const;
    // Removes a service instance from every list of the factory; throws if it
    // is registered nowhere.
    void ReleaseInstance(std::shared_ptr<IObject> instance);
    // Empties the factory for every handle that shares it.
    void Reset();
    // Empties the factory, then loads the text.
    void Reset(const char* text);
    // Empties the factory, then loads the file.
    void Reset(const wchar_t* path);
    // What each later load into this handle's factory (the Reset forms) may
    // cost; the defaults until set. Passing one is a CException.
    void SetReadingLimits(const SReadingLimits& limits);

    // The factory of this handle.
    IBeanFactory& Factory() const { return *factory_; }

    // The bean `name` as seen from outside any library, cast to T; empty if it
    // can't be had or isn't a T.
    template <class T = IObject>
    std::shared_ptr<T> GetBean(const char* name) const {
        return std::dynamic_pointer_cast<T>(factory_->GetBean(name, nullptr));
    }

    // The bean `name` as seen from outside any library, cast to T; throws a
    // CException that says why when there is none: the reason a failure
    // handler would be given, or "Bean '...' is not a '...'".
    template <class T = IObject>
    std::shared_ptr<T> Require(const char* name) const {
        std::shared_ptr<IObject> object = RequireBean(*factory_, name);
        if constexpr (std::is_same_v<T, IObject>) {
            return object;
        } else {
            std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(object);
            if (!typed) ThrowNotA(name, typeid(T));
            return typed;
        }
    }

    // The first service registered for interface I, cast to I.
    template <class I>
    std::shared_ptr<I> GetService() const {
        return std::dynamic_pointer_cast<I>(factory_->GetService(TypeId<I>()));
    }
    // The service at `index` in the list of interface I.
    template <class I>
    std::shared_ptr<I> GetService(std::uint32_t index) const {
        return std::dynamic_pointer_cast<I>(factory_->GetService(TypeId<I>(), index));
    }
    template <class I>
    std::uint32_t GetServiceCount() const {
        return factory_->GetServiceCount(TypeId<I>());
    }
    // Registers `instance` as a service of interface I.
    template <class I>
    std::shared_ptr<ITypeRegistration> RegisterService(
        std::shared_ptr<IObject> instance, bool atFront = false,
        std::shared_ptr<ITypeRegistration> registration = nullptr) const {
        return factory_->RegisterService(TypeId<I>(), atFront, std::move(instance),
                                         std::move(registration));
    }
    // Registers a service of interface I that `maker` makes on demand.
    template <class I>
    std::shared_ptr<ITypeRegistration> RegisterService(
        std::function<std::unique_ptr<IObject>()> maker, bool atFront = false,
        std::shared_ptr<ITypeRegistration> registration = nullptr) const {
        return factory_->RegisterService(TypeId<I>(), atFront, std::move(maker),
                                         std::move(registration));
    }

private:
    std::shared_ptr<IBeanFactory> factory_;
};

}  // namespace ZEM
