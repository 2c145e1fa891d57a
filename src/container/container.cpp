// CContainer: the exported handle. Loading reads the document with no lock
// held, then merges it and makes the eager beans under the startup mutex.
#include "zem/container.h"

#include "config/document_reader.h"
#include "container/bean_factory.h"
#include "container/process_objects.h"
#include "foundation/string_convert.h"
#include "types/type_check.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

std::shared_ptr<IBeanFactory> NewFactory() {
    std::shared_ptr<IBeanFactory> factory = std::make_shared<CBeanFactoryImpl>();
    if (!factory) throw CException(L"Could not create bean factory");
    return factory;
}

std::shared_ptr<IBeanFactory> AcquireFactory(bool shared) {
    if (shared) {
        if (std::shared_ptr<IBeanFactory> alive = SharedFactory().lock()) return alive;
    }
    std::shared_ptr<IBeanFactory> factory = NewFactory();
    if (shared) SharedFactory() = factory;
    return factory;
}

CBeanFactoryImpl& Impl(const std::shared_ptr<IBeanFactory>& factory) {
    auto* impl = dynamic_cast<CBeanFactoryImpl*>(factory.get());
    if (impl == nullptr) throw CException(L"ZEM is not configured");
    return *impl;
}

// Set while this thread holds the startup mutex, which isn't recursive: eager
// bean code that loads a configuration anywhere would wait for itself.
thread_local bool t_loading = false;

// Refuses a load from code that it would pull the ground from under, before
// anything of the document is read.
void RefuseLoad(const std::shared_ptr<IBeanFactory>& factory, const char* operation = "load") {
    if (t_loading)
        throw CException(Message(L"Operation '", operation, L"' is not allowed from code that a load is running"));
    Impl(factory).RefuseFromOwnCode(operation);
}

void Load(const std::shared_ptr<IBeanFactory>& factory, CConfiguration&& configuration) {
    CBeanFactoryImpl& impl = Impl(factory);
    {
        std::lock_guard<std::mutex> startup(StartupMutex());
        struct SLoading {
            SLoading() { t_loading = true; }
            ~SLoading() { t_loading = false; }
        } loading;
        impl.LoadConfiguration(configuration);
        impl.CreateEagerBeans();
    }
    // `configuration`, now emptied, dies with the caller's temporary.
}

void LoadText(const std::shared_ptr<IBeanFactory>& factory, const char* text) {
    RefuseLoad(factory);
    CReading reading(Impl(factory).ReadingLimits());
    Load(factory, ReadConfigurationText(factory.get(), text, reading));
}

void LoadFile(const std::shared_ptr<IBeanFactory>& factory, const wchar_t* path) {
    if (path == nullptr) path = L"";
    RefuseLoad(factory);
    CReading reading(Impl(factory).ReadingLimits());
    Load(factory, ReadConfigurationFile(factory.get(), path, reading));
}

}  // namespace

CContainer::CContainer() : factory_(AcquireFactory(true)) {
    if (!factory_) throw CException(L"ZEM is not configured");
}

CContainer::CContainer(std::nullptr_t) : factory_(NewFactory()) {}

CContainer::CContainer(const char* text, bool shared) : factory_(AcquireFactory(shared)) { LoadText(factory_, text); }

CContainer::CContainer(const wchar_t* path, bool shared) : factory_(AcquireFactory(shared)) { LoadFile(factory_, path); }

CContainer CContainer::FromFile(const std::filesystem::path& path, bool shared) {
    // The path's bytes as the tool and the wide constructor's callers give them.
    return CContainer(Widen(path.string()).c_str(), shared);
}

CContainer CContainer::FromText(std::string_view text, bool shared) {
    return CContainer(std::string(text).c_str(), shared);
}

CContainer::CContainer(const CContainer& other) = default;
CContainer::CContainer(CContainer&& other) noexcept = default;
CContainer& CContainer::operator=(const CContainer& other) = default;
CContainer& CContainer::operator=(CContainer&& other) noexcept = default;
CContainer::~CContainer() = default;

bool CContainer::Exists(const char* name) const { return factory_->Exists(name); }

void CContainer::ReleaseInstance(std::shared_ptr<IObject> instance) {
    std::shared_ptr<IObject> held = std::move(instance);  // dropped on return, also when this throws
    factory_->ReleaseInstance(held);
}

void CContainer::SetReadingLimits(const SReadingLimits& limits) { Impl(factory_).SetReadingLimits(limits); }

void CContainer::Reset() { Impl(factory_).ResetFactory(); }

void CContainer::Reset(const char* text) {
    RefuseLoad(factory_, "Reset");  // before the old content goes
    {
        std::shared_ptr<IBeanFactory> factory = factory_;
        Impl(factory).ResetFactory();
    }
    LoadText(factory_, text);
}

void CContainer::Reset(const wchar_t* path) {
    RefuseLoad(factory_, "Reset");  // before the old content goes
    {
        std::shared_ptr<IBeanFactory> factory = factory_;
        Impl(factory).ResetFactory();
    }
    LoadFile(factory_, path);
}

std::shared_ptr<IObject> RequireBean(IBeanFactory& factory, const char* name) {
    if (auto* impl = dynamic_cast<CBeanFactoryImpl*>(&factory)) return impl->Require(name);
    std::shared_ptr<IObject> object = factory.GetBean(name, nullptr);
    if (!object) throw CException(Message(L"Bean '", name != nullptr ? name : "", L"' could not be made"));
    return object;
}

void ThrowNotA(const char* name, const std::type_info& type) {
    throw CException(Widen("Bean '" + std::string(name != nullptr ? name : "") + "' is not a '" +
                           ReadableClassName(type) + "'"));
}

}  // namespace ZEM
