// Service registrations and the service operations of a store. The factory
// calls them under its lock.
#include "library/service_registry.h"

#include "container/bean_factory.h"
#include "foundation/string_convert.h"
#include "library/release_table.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

// The text of a failure, if there is memory for it.
void KeepText(std::wstring& kept, const std::wstring& text) noexcept {
    try {
        kept = text;
    } catch (...) {
    }
}

void KeepText(std::wstring& kept, const char* text) noexcept {
    try {
        kept = Widen(text);
    } catch (...) {
    }
}

// Deleter of a service object with a release function.
struct SDeleter {
    void operator()(IObject* object) const { ReleaseTable().Release(object); }
};

}  // namespace

std::shared_ptr<IObject> CReleaseTable::Track(std::unique_ptr<IObject> object,
                                              const std::function<void(IObject*)>& release) {
    IObject* raw = object.get();
    {
        std::lock_guard<std::mutex> guard(mutex_);
        functions_.FindOrInsert(raw) = release;
    }
    object.release();
    // Should the control block fail, the constructor runs the deleter itself.
    return std::shared_ptr<IObject>(raw, SDeleter());
}

void CReleaseTable::Release(IObject* object) {
    // A deleter must not throw: a release function that does is told to the
    // failure handler, and the object goes all the same.
    bool failed = false;
    std::wstring what;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (auto* function = functions_.Find(object)) {
            try {
                if (*function) (*function)(object);
            } catch (const CException& error) {
                failed = true;
                KeepText(what, error.GetMessageW());
            } catch (const std::exception& error) {
                failed = true;
                KeepText(what, error.what());
            } catch (...) {
                failed = true;
            }
            functions_.Erase(object);
        }
    }
    delete object;
    if (failed) TellReleaseFailure(what);
}

std::size_t CReleaseTable::Size() {
    std::lock_guard<std::mutex> guard(mutex_);
    return functions_.Size();
}

CServiceConfig::CServiceConfig(std::shared_ptr<IObject> instance) : instance_(std::move(instance)) {}
CServiceConfig::CServiceConfig(SharedMaker&& maker) : sharedMaker_(std::move(maker)) {}
CServiceConfig::CServiceConfig(OwnedMaker&& maker) : ownedMaker_(std::move(maker)) {}
CServiceConfig::~CServiceConfig() = default;

ITypeRegistration& CServiceConfig::SetSingleton() {
    singleton_ = true;
    return *this;
}

ITypeRegistration& CServiceConfig::SetReleaseFunction(std::function<void(IObject*)>&& release) {
    releaseFunction_ = std::move(release);
    return *this;
}

std::shared_ptr<IObject> CServiceConfig::GetInstance() {
    if (instance_) return instance_;
    if (!sharedMaker_ && !ownedMaker_) throw CException(L"No constructor for service type registered");
    std::shared_ptr<IObject> result;
    if (sharedMaker_) {
        result = sharedMaker_();
    } else {
        std::unique_ptr<IObject> object = ownedMaker_();
        if (!releaseFunction_ || !object)
            result = std::shared_ptr<IObject>(std::move(object));
        else
            result = ReleaseTable().Track(std::move(object), releaseFunction_);
    }
    if (singleton_) instance_ = result;
    return result;
}

namespace {

std::shared_ptr<CServiceConfig> AsConfig(const std::shared_ptr<ITypeRegistration>& registration) {
    // Registrations handed out by this registry are always CServiceConfig;
    // anything else a caller made up can't stand in a list.
    auto config = std::dynamic_pointer_cast<CServiceConfig>(registration);
    if (!config) throw CException(L"Unknown service registration");
    return config;
}

std::shared_ptr<ITypeRegistration> Insert(CConfigurationStore& store, const char* typeId, bool atFront,
                                          std::shared_ptr<CServiceConfig> config) {
    ServiceList& list = store.services.FindOrInsert(typeId);
    if (atFront)
        list.push_front(config);
    else
        list.push_back(config);
    return config;
}

}  // namespace

std::shared_ptr<ITypeRegistration> CConfiguration::RegisterService(
    const char* typeId, bool atFront, std::shared_ptr<IObject> instance,
    std::shared_ptr<ITypeRegistration> registration) {
    if (typeId == nullptr) typeId = "";
    std::shared_ptr<CServiceConfig> config;
    if (!registration) {
        if (const ServiceList* list = store_->services.Find(typeId)) {
            for (const auto& member : *list)
                if (member->Instance() == instance)
                    throw CException(Message(L"Service instance is already registered for interface '", typeId, L"'"));
        }
        config = std::make_shared<CServiceConfig>(std::move(instance));
    } else {
        config = AsConfig(registration);
    }
    return Insert(*store_, typeId, atFront, std::move(config));
}

std::shared_ptr<ITypeRegistration> CConfiguration::RegisterService(
    const char* typeId, bool atFront, OwnedMaker&& maker, std::shared_ptr<ITypeRegistration> registration) {
    if (typeId == nullptr) typeId = "";
    auto config = registration ? AsConfig(registration) : std::make_shared<CServiceConfig>(std::move(maker));
    return Insert(*store_, typeId, atFront, std::move(config));
}

std::shared_ptr<ITypeRegistration> CConfiguration::RegisterService(
    const char* typeId, bool atFront, SharedMaker&& maker, std::shared_ptr<ITypeRegistration> registration) {
    if (typeId == nullptr) typeId = "";
    auto config = registration ? AsConfig(registration) : std::make_shared<CServiceConfig>(std::move(maker));
    return Insert(*store_, typeId, atFront, std::move(config));
}

std::shared_ptr<IObject> CConfiguration::GetService(const char* typeId) {
    if (typeId == nullptr) return nullptr;
    ServiceList* list = store_->services.Find(typeId);
    if (list == nullptr || list->empty()) return nullptr;
    return list->front()->GetInstance();
}

std::shared_ptr<IObject> CConfiguration::GetService(const char* typeId, std::uint32_t index) {
    if (typeId == nullptr) return nullptr;
    ServiceList* list = store_->services.Find(typeId);
    if (list == nullptr || list->size() <= index) return nullptr;
    auto it = list->begin();
    std::advance(it, index);
    return (*it)->GetInstance();
}

void CConfiguration::ReleaseInstance(const std::shared_ptr<IObject>& instance) {
    bool removed = false;
    // Collect first: erasing while walking the map would cut the walk.
    std::vector<KtStr> emptied;
    for (auto& entry : store_->services) {
        ServiceList& list = entry.value;
        for (auto it = list.begin(); it != list.end(); ++it) {
            if ((*it)->Instance() == instance) {
                list.erase(it);
                removed = true;
                break;
            }
        }
        if (list.empty()) emptied.push_back(entry.key);
    }
    for (const KtStr& key : emptied) store_->services.Erase(key);
    if (!removed) throw CException(L"Service instance was not registered");
}

}  // namespace ZEM
