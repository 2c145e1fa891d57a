// The configuration store: libraries and bean definitions as documents declare
// them, plus what the running container derives from them (loaded class
// libraries, bound bean types, the service table). Definitions reach a
// factory's store only by MergeConfiguration, the one place where a bean name
// already taken is refused.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "config/records.h"
#include "foundation/kt_map.h"
#include "foundation/kt_string.h"
#include "zem/bean_factory.h"

namespace ZEM {

class ILibrary;
class CServiceConfig;
struct SBeanType;

using ServiceList = std::list<std::shared_ptr<CServiceConfig>>;
using SharedMaker = std::function<std::shared_ptr<IObject>()>;
using OwnedMaker = std::function<std::unique_ptr<IObject>()>;

// Members are declared so that they are destroyed in the order the design
// requires: services, bean types, loaded libraries, libraries, eager names.
struct CConfigurationStore {
    explicit CConfigurationStore(IBeanFactory* owner);
    ~CConfigurationStore();
    CConfigurationStore(const CConfigurationStore&) = delete;
    CConfigurationStore& operator=(const CConfigurationStore&) = delete;

    IBeanFactory* factory;                                  // not owned
    std::wstring path;                                      // file read from; empty for text
    std::vector<std::string> eagerBeans;                    // lazy=false names, reading order
    KtMap<KtStr, SLibrary*> beanLibraries;                  // eager name -> its library
    std::vector<std::unique_ptr<SLibrary>> libraries;       // order of first mention
    std::vector<std::unique_ptr<ILibrary>> loadedLibraries; // class libraries loaded so far
    KtMap<KtStr, std::unique_ptr<SBeanType>> beanTypes;     // bound definitions
    KtMap<KtStr, ServiceList> services;                     // type id -> registrations

    // Where a name not bound yet is defined: the position in `libraries`,
    // plus one, of the first library that holds it. Made at the second
    // look-up of an unbound name, so that a library that fails to bind again
    // and again costs no scan of every bean before the one asked for, and
    // brought up to date with the records added since; `indexed` counts, per
    // library, the beans it has seen.
    KtMap<KtStr, std::uint32_t> definitions;
    std::vector<std::size_t> indexed;
    std::uint32_t unboundLookups = 0;

    // While the factory makes the eager beans of a load, the paths of class
    // libraries that could not be loaded: each of their beans fails at once
    // instead of searching the loader's path again. A library missing at the
    // start of that short pass is taken as missing to its end; later
    // requests try it again. Each path with the loader's reason.
    bool makingEagerBeans = false;
    std::vector<std::pair<std::string, std::string>> unloadable;
};

// The owning handle of a store; movable, not copyable.
class CConfiguration {
public:
    explicit CConfiguration(IBeanFactory* factory);
    CConfiguration(CConfiguration&& other) noexcept;
    CConfiguration& operator=(CConfiguration&& other) noexcept;
    CConfiguration(const CConfiguration&) = delete;
    CConfiguration& operator=(const CConfiguration&) = delete;
    ~CConfiguration();

    CConfigurationStore& Store() const { return *store_; }

    // Folds `source` into this store; throws "Overriding bean '...' is not
    // allowed" for the first source bean whose name is taken, before anything
    // changes. `source` is left with emptied records.
    void MergeConfiguration(CConfiguration& source);

    // The record for `path`, appended if new with `written` (by default the
    // path itself) as the form its document wrote; never null.
    SLibrary* FindOrAddLibrary(const std::string& path, const char* written = nullptr);

    // Every eager bean name with its library, in reading order.
    std::vector<std::pair<std::string, const SLibrary*>> GetEagerBeans() const;

    // The bound definition of `name`, binding its library at first need; null
    // if no library holds the name. Throws what binding throws.
    SBeanType* GetBeanType(const char* name);

    std::uint32_t GetServiceCount(const char* typeId) const;

    // The service table.
    std::shared_ptr<ITypeRegistration> RegisterService(const char* typeId, bool atFront,
                                                       std::shared_ptr<IObject> instance,
                                                       std::shared_ptr<ITypeRegistration> registration);
    std::shared_ptr<ITypeRegistration> RegisterService(const char* typeId, bool atFront, OwnedMaker&& maker,
                                                       std::shared_ptr<ITypeRegistration> registration);
    std::shared_ptr<ITypeRegistration> RegisterService(const char* typeId, bool atFront, SharedMaker&& maker,
                                                       std::shared_ptr<ITypeRegistration> registration);
    std::shared_ptr<IObject> GetService(const char* typeId);
    std::shared_ptr<IObject> GetService(const char* typeId, std::uint32_t index);
    void ReleaseInstance(const std::shared_ptr<IObject>& instance);

private:
    // The first library that holds `name`, or null.
    SLibrary* FindDefinition(const char* name);

    std::unique_ptr<CConfigurationStore> store_;
};

}  // namespace ZEM
