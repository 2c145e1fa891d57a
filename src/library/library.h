// Where wrapper makers come from: class libraries loaded by path, and the
// local library that hosts and loaded code fill by hand. Binding turns the
// definitions of a library record into bound bean types.
#pragma once

#include <mutex>
#include <string>

#include "config/configuration.h"
#include "foundation/kt_map.h"
#include "foundation/kt_singleton.h"
#include "zem/exception.h"
#include "zem/library.h"
#include "zem/object.h"

namespace ZEM {

class ILibrary {
public:
    virtual ~ILibrary();
    // What identifies the library, or null.
    virtual const char* GetPath() const = 0;
    // The address of a symbol, or null.
    virtual void* GetSymbol(const char* name) const = 0;
};

// "Could not load library '...'", the failure that hosts see, carrying the
// loader's reason for the failure handler, which tells it in parentheses.
class CLoadFailure : public CException {
public:
    CLoadFailure(const std::string& path, std::string reason);
    const std::string& Reason() const { return reason_; }

private:
    std::string reason_;
};

// A class library loaded from a path; the module itself is never unloaded.
class CDynamicLibrary : public ILibrary {
public:
    // Loads at once; throws CLoadFailure.
    explicit CDynamicLibrary(const char* path);
    const char* GetPath() const override { return path_.c_str(); }
    void* GetSymbol(const char* name) const override;

private:
    void* module_;
    std::string path_;
};

// The process-wide table of makers and type ids, shared by all factories.
// A leaf lock guards its maps: a class library may register while it loads
// for one container while another container looks up.
class CLocalLibrary : public ILibrary, public ILibraryConfiguration, public KtSingleton<CLocalLibrary> {
public:
    const char* GetPath() const override { return nullptr; }
    void* GetSymbol(const char* name) const override;

    void RegisterWrapperMaker(const std::string& symbol, WrapperMaker maker) override;
    bool UnregisterWrapperMaker(const std::string& symbol) override;
    void RegisterTypeId(const char* className, const char* typeId) override;

    // The type id registered for `className`; throws "No type id for class
    // '...' registered". Valid as long as the entry is.
    const char* GetTypeId(const char* className) const;
    // A class name registered with `typeId`, for tools that show what a
    // document wrote; empty if none.
    std::string ClassNameOf(const std::string& typeId) const;

private:
    mutable std::mutex mutex_;
    KtMap<std::string, WrapperMaker> makers_;
    KtMap<std::string, std::string> typeIds_;
};

// The one local library, created at the first need.
CLocalLibrary& LocalLibrary();

// "create_" + class with each "::" as "_" + "_Wrapper".
std::string MakerSymbol(const std::string& className);

// Loads the library of `library` into the store if need be and binds each of
// its beans whose name isn't bound yet; the first failure stops the walk.
void BindLibrary(CConfiguration& configuration, SLibrary* library);

}  // namespace ZEM
