// Paths by their UTF-8 text, whatever the system's own encoding of file names
// is: the configuration reader tells two paths of one file apart through
// these, and the tool's library policy resolves paths with them.
#pragma once

#include <string>

namespace ZEM::platform {

// The absolute path with links, "." and ".." resolved as far as it exists,
// in UTF-8; `path` as given if that fails.
std::string CanonicalPath(const std::string& path);

// True if `path` names a folder part (it holds a separator: '/', and on
// Windows also '\\'); a bare name is the loader's to search.
bool HasFolderPart(const char* path);

// The absolute path with links, "." and ".." resolved, '/' between its parts;
// empty if it can't be, `missing` then telling whether nothing is there.
std::string ResolvedPath(const char* path, bool* missing = nullptr);

}  // namespace ZEM::platform
