// The host's library policy, asked before every load of a class library.
#pragma once

#include <string>

namespace ZEM {

// Throws CException "Library '<path>' is not allowed by the host" unless the
// installed policy allows `path`; a policy that throws passes its exception on.
void CheckLibraryPolicy(const std::string& path);

}  // namespace ZEM
