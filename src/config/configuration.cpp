// The configuration store and its merge. The merge checks every name first
// and changes nothing until all have passed, so a refused document leaves the
// target as it was.
#include "config/configuration.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "foundation/string_convert.h"
#include "library/library.h"
#include "library/service_registry.h"
#include "types/bean_type.h"
#include "zem/exception.h"

namespace ZEM {

CConfigurationStore::CConfigurationStore(IBeanFactory* owner) : factory(owner) {}
CConfigurationStore::~CConfigurationStore() = default;

CConfiguration::CConfiguration(IBeanFactory* factory)
    : store_(std::make_unique<CConfigurationStore>(factory)) {}
CConfiguration::CConfiguration(CConfiguration&& other) noexcept = default;
CConfiguration& CConfiguration::operator=(CConfiguration&& other) noexcept = default;
CConfiguration::~CConfiguration() = default;

void CConfiguration::MergeConfiguration(CConfiguration& source) {
    CConfigurationStore& target = *store_;
    CConfigurationStore& from = *source.store_;

    // 1. Overriding check, against an index of the target's names so that the
    //    cost is linear; the first source bean in order whose name is taken
    //    is the one reported.
    bool targetHasBeans = false;
    for (const auto& library : target.libraries) targetHasBeans |= !library->beans.empty();
    if (targetHasBeans) {
        std::unordered_set<std::string_view> taken;
        for (const auto& library : target.libraries)
            for (const SBean& bean : library->beans) taken.insert(bean.name);
        for (const auto& library : from.libraries)
            for (const SBean& bean : library->beans)
                if (taken.count(bean.name) != 0)
                    throw CException(Message(L"Overriding bean '", bean.name, L"' is not allowed"));
    }

    // 2. Services of the source's beans; the maker asks the target's factory
    //    for the bean by name from outside any library.
    for (const auto& library : from.libraries) {
        for (const SBean& bean : library->beans) {
            std::shared_ptr<ITypeRegistration> registration;
            for (const std::string& typeId : bean.interfaces) {
                IBeanFactory* factory = target.factory;
                std::string name = bean.name;
                SharedMaker maker = [factory, name]() { return factory->GetBean(name.c_str(), nullptr); };
                registration = RegisterService(typeId.c_str(), true, std::move(maker), registration);
                if (bean.singleton) registration->SetSingleton();
            }
        }
    }

    // 3. Eager names.
    target.eagerBeans.insert(target.eagerBeans.end(), from.eagerBeans.begin(), from.eagerBeans.end());

    // 4. Libraries, joined by exact path.
    for (auto& library : from.libraries) {
        SLibrary* same = nullptr;
        for (const auto& existing : target.libraries)
            if (existing->path == library->path) {
                same = existing.get();
                break;
            }
        if (same != nullptr) {
            same->beans.reserve(same->beans.size() + library->beans.size());
            for (SBean& bean : library->beans) {
                if (!bean.lazy) target.beanLibraries[bean.name] = same;
                same->beans.push_back(std::move(bean));
            }
            library->beans.clear();
        } else {
            auto moved = std::make_unique<SLibrary>();
            moved->path = std::move(library->path);
            moved->written = std::move(library->written);
            moved->beans = std::move(library->beans);
            for (const SBean& bean : moved->beans)
                if (!bean.lazy) target.beanLibraries[bean.name] = moved.get();
            target.libraries.push_back(std::move(moved));
        }
    }
}

SLibrary* CConfiguration::FindOrAddLibrary(const std::string& path, const char* written) {
    for (const auto& library : store_->libraries)
        if (library->path == path) return library.get();
    store_->libraries.push_back(std::make_unique<SLibrary>());
    store_->libraries.back()->path = path;
    store_->libraries.back()->written = written != nullptr ? written : path;
    return store_->libraries.back().get();
}

std::vector<std::pair<std::string, const SLibrary*>> CConfiguration::GetEagerBeans() const {
    std::vector<std::pair<std::string, const SLibrary*>> result;
    result.reserve(store_->eagerBeans.size());
    for (const std::string& name : store_->eagerBeans) {
        SLibrary* const* library = store_->beanLibraries.Find(std::string_view(name));
        result.emplace_back(name, library != nullptr ? *library : nullptr);
    }
    return result;
}

SBeanType* CConfiguration::GetBeanType(const char* name) {
    if (auto* bound = store_->beanTypes.Find(name)) return bound->get();
    SLibrary* library = FindDefinition(name);
    if (library == nullptr) return nullptr;
    BindLibrary(*this, library);
    auto* bound = store_->beanTypes.Find(name);
    return bound != nullptr ? bound->get() : nullptr;
}

SLibrary* CConfiguration::FindDefinition(const char* name) {
    CConfigurationStore& store = *store_;
    if (++store.unboundLookups == 1) {
        // Most stores see one such look-up per library, which binds it whole.
        for (const auto& library : store.libraries)
            for (const SBean& bean : library->beans)
                if (bean.name == name) return library.get();
        return nullptr;
    }
    // Records are only ever appended to a store's libraries, and libraries to
    // the store; a list that shrank was merged away, and is indexed anew.
    store.indexed.resize(store.libraries.size(), 0);
    for (std::uint32_t at = 0; at < store.libraries.size(); ++at) {
        const std::vector<SBean>& beans = store.libraries[at]->beans;
        std::size_t& seen = store.indexed[at];
        if (seen > beans.size()) {
            store.definitions.Clear();
            std::fill(store.indexed.begin(), store.indexed.end(), 0);
            return FindDefinition(name);
        }
        for (; seen < beans.size(); ++seen) {
            std::uint32_t& first = store.definitions.FindOrInsert(std::string_view(beans[seen].name));
            if (first == 0 || first > at + 1) first = at + 1;
        }
    }
    const std::uint32_t* at = store.definitions.Find(name);
    return at != nullptr ? store.libraries[*at - 1].get() : nullptr;
}

std::uint32_t CConfiguration::GetServiceCount(const char* typeId) const {
    const ServiceList* list = store_->services.Find(typeId);
    return list != nullptr ? static_cast<std::uint32_t>(list->size()) : 0;
}

}  // namespace ZEM
