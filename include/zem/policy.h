// What a document may load. A configuration names class libraries by path,
// and loading one runs its code: the host decides which paths are allowed.
#pragma once

#include <functional>

#include "zem/export.h"

namespace ZEM {

// Installs the process-wide library policy, as loaded libraries are
// process-wide. Before each class library is loaded (a `library` path, a
// `Class@path`, a `provides` bound while reading), the container calls
// `allow` with the path as it will be opened. False refuses it: that load
// fails with CException "Library '<path>' is not allowed by the host", and
// nothing of the library runs. The running program itself (a `library`
// without path) is never asked about. An empty function, the default, allows
// every library. `allow` may be called on any thread that reads a document
// or requests a bean, and must not load documents itself.
//
// Whatever the policy, a path that names something other than a regular file
// (a directory, a FIFO, a device) is never loaded.
ZEM_API void SetLibraryPolicy(std::function<bool(const char* path)> allow);

}  // namespace ZEM
