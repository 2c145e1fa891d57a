// The local library: wrapper makers and interface type ids that a host or any
// loaded code registers by hand, shared by all containers of the process.
#pragma once

#include <string>

#include "zem/export.h"
#include "zem/object.h"

namespace ZEM {

class ZEM_API ILibraryConfiguration {
public:
    virtual ~ILibraryConfiguration();
    // `symbol` is the whole maker name, "create_<Class>_Wrapper".
    virtual void RegisterWrapperMaker(const std::string& symbol, WrapperMaker maker) = 0;
    // False if nothing was registered under `symbol`.
    virtual bool UnregisterWrapperMaker(const std::string& symbol) = 0;
    // Names the interface `className` (as a configuration writes it) by `typeId`.
    virtual void RegisterTypeId(const char* className, const char* typeId) = 0;
};

// The process-wide local library; may be called before any container exists.
ZEM_API ILibraryConfiguration& GetLocalLibrary();

}  // namespace ZEM
