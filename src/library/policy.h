// The host's library policy, asked before every load of a class library.
#pragma once

#include <string>

#include "zem/exception.h"

namespace ZEM {

// "Library '<path>' is not allowed by the host".
class CLibraryRefused : public CException {
public:
    explicit CLibraryRefused(const std::string& path);
};

// Throws CLibraryRefused unless the installed policy allows `path`; a policy
// that throws passes its exception on.
void CheckLibraryPolicy(const std::string& path);

// For tools that read documents without running any of their code: with this
// on, every library is refused, and a `provides` of a refused library is read
// all the same, its interfaces named as written where no type id is known.
// Off by default: a host's reading fails on a refused library.
void SetReadingWithoutLibraries(bool on);
bool ReadingWithoutLibraries();

}  // namespace ZEM
