// The service registry: under each interface type id an ordered list of
// registrations, each holding an instance or a maker.
#pragma once

#include <functional>
#include <memory>

#include "config/configuration.h"
#include "zem/object.h"
#include "zem/services.h"

namespace ZEM {

class CServiceConfig : public ITypeRegistration {
public:
    explicit CServiceConfig(std::shared_ptr<IObject> instance);
    explicit CServiceConfig(SharedMaker&& maker);
    explicit CServiceConfig(OwnedMaker&& maker);
    ~CServiceConfig() override;

    ITypeRegistration& SetSingleton() override;
    bool IsSingleton() const override { return singleton_; }
    ITypeRegistration& SetReleaseFunction(std::function<void(IObject*)>&& release) override;
    std::function<void(IObject*)> GetReleaseFunction() const override { return releaseFunction_; }

    // The instance, or a new object from the maker (kept if singleton).
    // Throws "No constructor for service type registered" without either.
    std::shared_ptr<IObject> GetInstance();
    const std::shared_ptr<IObject>& Instance() const { return instance_; }

private:
    std::shared_ptr<IObject> instance_;
    SharedMaker sharedMaker_;
    OwnedMaker ownedMaker_;
    bool singleton_ = false;
    std::function<void(IObject*)> releaseFunction_;
};

// The process-wide table of release functions of objects made by owning
// makers; the deleter finds the function by the object's address.
class CReleaseTable;
CReleaseTable& ReleaseTable();

}  // namespace ZEM
