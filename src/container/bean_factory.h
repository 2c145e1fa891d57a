// CBeanFactoryImpl: the one implementation of IBeanFactory. It owns the
// configuration store, the value types, one wrapper per class and the living
// singletons, and it makes beans under its recursive lock.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "config/configuration.h"
#include "foundation/kt_map.h"
#include "foundation/kt_string.h"
#include "types/bean_type.h"
#include "types/type_registry.h"
#include "zem/bean_factory.h"
#include "zem/limits.h"
#include "zem/diagnostics.h"

namespace ZEM {

class CLoadFailure;

class CBeanFactoryImpl final : public IBeanFactory {
public:
    CBeanFactoryImpl();
    ~CBeanFactoryImpl() override;
    CBeanFactoryImpl(const CBeanFactoryImpl&) = delete;
    CBeanFactoryImpl& operator=(const CBeanFactoryImpl&) = delete;

    bool Exists(const char* name) override;
    std::shared_ptr<IObject> GetService(const char* typeId, std::uint32_t index) override;
    std::shared_ptr<IObject> GetService(const char* typeId) override;
    std::shared_ptr<IObject> GetBean(const char* name, const SLibrary* library) override;
    std::shared_ptr<ITypeRegistration> RegisterService(const char* typeId, bool atFront,
                                                       std::function<std::unique_ptr<IObject>()>&& maker,
                                                       std::shared_ptr<ITypeRegistration> registration) override;
    std::shared_ptr<ITypeRegistration> RegisterService(const char* typeId, bool atFront,
                                                       std::shared_ptr<IObject> instance,
                                                       std::shared_ptr<ITypeRegistration> registration) override;
    void ReleaseInstance(const std::shared_ptr<IObject>& instance) override;
    std::uint32_t GetServiceCount(const char* typeId) override;

    // Makes or finds the bean; the empty pair on any failure, never throws.
    // `fromContainer` marks a request the container makes itself for a
    // dependency or a reference: such a request for a bean already being made
    // on this thread gives the empty pair instead of recursing.
    BeanPair GetBeanWrapper(const char* name, const SLibrary* library, bool fromContainer = false) noexcept;
    // The object alone: GetBeanWrapper without a copy of the wrapper pointer.
    std::shared_ptr<IObject> GetBeanObject(const char* name, const SLibrary* library, bool fromContainer) noexcept;

    // Merges a just-read configuration; the caller holds the startup mutex.
    void LoadConfiguration(CConfiguration& configuration);
    // Asks for every eager bean, in reading order.
    void CreateEagerBeans();
    // Lets go of singletons and wrappers and gives the factory a new, empty store.
    // Throws CException when called from code that this factory is running.
    void ResetFactory();
    // Throws CException naming `operation` if this thread is running code on
    // behalf of this factory: a bean's, a service maker, a release function,
    // a failure handler or an observer.
    void RefuseFromOwnCode(const char* operation) const;

    // Installs (or, with an empty function, removes) the handler of dropped
    // bean failures. Off by default.
    void SetFailureHandler(BeanFailureHandler handler);
    // Installs (or, with null, removes) the observer of bean requests.
    void SetRequestObserver(std::shared_ptr<IBeanRequestObserver> observer);

    // What each later load of a document into this factory may cost.
    void SetReadingLimits(const SReadingLimits& limits) { readingLimits_ = limits; }
    const SReadingLimits& ReadingLimits() const { return readingLimits_; }

    // For tests and tools: the store and the singletons.
    CConfiguration& Configuration() { return *configuration_; }
    std::recursive_mutex& Lock() { return lock_; }
    std::uint32_t InstanceCount() const { return instances_.Size(); }
    std::uint32_t WrapperCount() const { return wrappers_.Size(); }

private:
    BeanPair Request(const char* name, const SLibrary* library, bool fromContainer, bool withWrapper) noexcept {
        if (name == nullptr) return {};
        // The one cost of observation for a factory without an observer.
        const unsigned how = (fromContainer ? kFromContainer : 0u) | (withWrapper ? kWithWrapper : 0u);
        if (observed_.load(std::memory_order_relaxed)) return ObservedRequest(name, library, how);
        return Serve(name, library, how, nullptr);
    }
    // Request's flags in one word, so that Serve's arguments all travel in
    // registers.
    static constexpr unsigned kFromContainer = 1, kWithWrapper = 2;
    // `note`, when given, learns the definition's kind and a found singleton.
    BeanPair Serve(const char* name, const SLibrary* library, unsigned how, SBeanRequest* note) noexcept;
    BeanPair ObservedRequest(const char* name, const SLibrary* library, unsigned how) noexcept;
    std::shared_ptr<const IBeanWrapper> GetClassWrapper(SBeanType& bean);
    BeanPair MakeBean(const char* name, SBeanType& bean, const SLibrary* library);
    void NewState();
    // Tells the failure handler why a request gives up; the empty pair.
    BeanPair Fail(const char* name, const std::wstring& reason);
    BeanPair FailQuietly(const char* name, const char* what) noexcept;
    friend void TellReleaseFailure(const std::wstring& what) noexcept;
    // The message with the loader's reason behind it, for the handler alone.
    BeanPair FailToLoad(const char* name, const CLoadFailure& failure) noexcept;

    std::recursive_mutex lock_;
    std::unique_ptr<CConfiguration> configuration_;
    std::unique_ptr<CTypeRegistry> types_;
    KtMap<KtStr, std::shared_ptr<const IBeanWrapper>> wrappers_;
    KtMap<KtStr, BeanPair> instances_;
    BeanFailureHandler failureHandler_;
    // Set while an observer is installed; the observer itself is read under
    // the lock, so that one replaced meanwhile is never called.
    std::atomic<bool> observed_{false};
    std::shared_ptr<IBeanRequestObserver> observer_;
    SReadingLimits readingLimits_;
};

// Tells the failure handler of the factory that this thread is running, if
// any, that a release function threw `what` (empty: not an exception of ours).
void TellReleaseFailure(const std::wstring& what) noexcept;

// The names of the beans being made on this thread, outermost first.
std::vector<std::string> CurrentRequestChain();

// A bean reference of an argument: a container-made request on behalf of
// `library`.
std::shared_ptr<IObject> RequestReference(IBeanFactory* factory, const char* name, const SLibrary* library);

}  // namespace ZEM
