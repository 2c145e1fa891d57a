// The factory interface behind every CContainer.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "zem/export.h"
#include "zem/object.h"
#include "zem/services.h"

namespace ZEM {

struct SLibrary;  // opaque to hosts; they pass nullptr

// The slot order of the virtual operations is part of the ABI.
class ZEM_API IBeanFactory {
public:
    virtual ~IBeanFactory();
    // True if a definition of that name is known; may load a class library
    // and throws what that throws.
    virtual bool Exists(const char* name) = 0;
    // The service at `index` in the list of the interface; empty if shorter.
    virtual std::shared_ptr<IObject> GetService(const char* typeId, std::uint32_t index) = 0;
    // The first service of the interface; empty if there is none.
    virtual std::shared_ptr<IObject> GetService(const char* typeId) = 0;
    // The bean's object, made if need be; empty if it can't be had. Never throws.
    virtual std::shared_ptr<IObject> GetBean(const char* name, const SLibrary* library) = 0;
    // Registers a service made on demand by `maker`.
    virtual std::shared_ptr<ITypeRegistration> RegisterService(
        const char* typeId, bool atFront, std::function<std::unique_ptr<IObject>()>&& maker,
        std::shared_ptr<ITypeRegistration> registration) = 0;
    // Registers an existing object as a service.
    virtual std::shared_ptr<ITypeRegistration> RegisterService(
        const char* typeId, bool atFront, std::shared_ptr<IObject> instance,
        std::shared_ptr<ITypeRegistration> registration) = 0;
    // Removes a service instance from every list; throws if it is in none.
    virtual void ReleaseInstance(const std::shared_ptr<IObject>& instance) = 0;
    virtual std::uint32_t GetServiceCount(const char* typeId) = 0;
};

}  // namespace ZEM
