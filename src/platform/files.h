// Files by their UTF-8 paths: the configuration reader opens documents and
// tells two paths of one file apart through these, whatever the system's own
// encoding of file names is.
#pragma once

#include <cstdio>
#include <string>

namespace ZEM::platform {

// Opens the file at `path` (UTF-8) for reading bytes; null on failure.
std::FILE* OpenFileForReading(const char* path);

// The absolute path with links, "." and ".." resolved as far as it exists,
// in UTF-8; `path` as given if that fails.
std::string CanonicalPath(const std::string& path);

}  // namespace ZEM::platform
