// Class libraries, the local library, and binding: the first need of any bean
// of a library loads it and binds all of its beans.
#include "library/library.h"

#include <cstdint>

#include "foundation/string_convert.h"
#include "library/policy.h"
#include "platform/file.h"
#include "platform/files.h"
#include "platform/module.h"
#include "types/bean_type.h"
#include "zem/kit/symbol.h"
#include "zem/exception.h"

namespace ZEM {

ILibrary::~ILibrary() = default;

CLoadFailure::CLoadFailure(const std::string& path, std::string reason)
    : CException(Message(L"Could not load library '", path, L"'")), reason_(std::move(reason)) {}

CDynamicLibrary::CDynamicLibrary(const char* path) : module_(nullptr), path_(path != nullptr ? path : "") {
    // The running program is there already; anything else is checked before
    // the loader opens it, since loading runs the library's initialisers.
    if (!path_.empty() && !platform::IsRunningProgram(path_.c_str())) {
        // A bare name is the loader's to search. The loader would block on
        // some of what is no regular file, a FIFO for one.
        if (platform::HasFolderPart(path_.c_str()) &&
            platform::CheckRegularFile(path_.c_str()) == platform::CInputFile::NotRegular)
            throw CLoadFailure(path_, "not a regular file");
        CheckLibraryPolicy(path_);
    }
    std::string reason;
    module_ = platform::LoadModule(path_.c_str(), &reason);
    if (module_ == nullptr) throw CLoadFailure(path_, std::move(reason));
}

void* CDynamicLibrary::GetSymbol(const char* name) const { return platform::FindSymbol(module_, name); }

void* CLocalLibrary::GetSymbol(const char* name) const {
    std::lock_guard<std::mutex> guard(mutex_);
    if (makers_.IsEmpty()) return nullptr;
    const WrapperMaker* maker = makers_.Find(std::string_view(name));
    return maker != nullptr ? reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(*maker)) : nullptr;
}

void CLocalLibrary::RegisterWrapperMaker(const std::string& symbol, WrapperMaker maker) {
    std::lock_guard<std::mutex> guard(mutex_);
    makers_.FindOrInsert(std::string_view(symbol)) = maker;
}

bool CLocalLibrary::UnregisterWrapperMaker(const std::string& symbol) {
    std::lock_guard<std::mutex> guard(mutex_);
    return makers_.Erase(std::string_view(symbol));
}

void CLocalLibrary::RegisterTypeId(const char* className, const char* typeId) {
    if (className == nullptr) return;
    std::lock_guard<std::mutex> guard(mutex_);
    typeIds_.FindOrInsert(std::string_view(className)) = typeId != nullptr ? typeId : "";
}

const char* CLocalLibrary::GetTypeId(const char* className) const {
    if (className == nullptr) className = "";
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (!typeIds_.IsEmpty()) {
            if (const std::string* typeId = typeIds_.Find(std::string_view(className))) return typeId->c_str();
        }
    }
    throw CException(Message(L"No type id for class '", className, L"' registered"));
}

std::string CLocalLibrary::ClassNameOf(const std::string& typeId) const {
    for (const auto& entry : typeIds_)
        if (entry.value == typeId) return entry.key;
    return std::string();
}

CLocalLibrary& LocalLibrary() { return CLocalLibrary::Instance(); }

ILibraryConfiguration& GetLocalLibrary() { return LocalLibrary(); }

std::string MakerSymbol(const std::string& className) { return kit::MakerSymbol(className); }

namespace {

void BindBean(CConfiguration& configuration, const SBean& bean, const ILibrary& module, const SLibrary* library) {
    std::string symbol = MakerSymbol(bean.className);
    void* address = module.GetSymbol(symbol.c_str());  // the module's own maker wins
    if (address == nullptr) address = LocalLibrary().GetSymbol(symbol.c_str());
    if (address == nullptr)
        throw CException(Message(L"Getting wrapper maker failed for class '", bean.className, L"'"));
    auto maker = reinterpret_cast<WrapperMaker>(reinterpret_cast<std::uintptr_t>(address));
    auto type = std::make_unique<SBeanType>(bean, maker, library);
    configuration.Store().beanTypes.FindOrInsert(std::string_view(bean.name)) = std::move(type);
}

}  // namespace

void BindLibrary(CConfiguration& configuration, SLibrary* library) {
    CConfigurationStore& store = configuration.Store();
    ILibrary* module = nullptr;
    for (const auto& loaded : store.loadedLibraries) {
        const char* path = loaded->GetPath();
        if (path != nullptr && library->path == path) {
            module = loaded.get();
            break;
        }
    }
    if (module == nullptr) {
        for (const auto& [path, reason] : store.unloadable)
            if (path == library->path) throw CLoadFailure(path, reason);
        try {
            store.loadedLibraries.push_back(std::make_unique<CDynamicLibrary>(library->path.c_str()));
        } catch (const CLoadFailure& failure) {
            if (store.makingEagerBeans) store.unloadable.emplace_back(library->path, failure.Reason());
            throw;
        }
        module = store.loadedLibraries.back().get();
    }
    // Index, not iterator: a maker may register more beans into this record.
    // A failure stops the walk at the bean that failed, where the next
    // binding of the library starts again.
    for (std::size_t& i = library->boundCount; i < library->beans.size(); ++i) {
        const SBean& bean = library->beans[i];
        if (store.beanTypes.Find(std::string_view(bean.name)) == nullptr) BindBean(configuration, bean, *module, library);
    }
}

}  // namespace ZEM
