// Fresh identifiers for beans without a name.
#pragma once

#include <string>

namespace ZEM::platform {

// Writes a random (version 4) UUID as 36 lower-case characters 8-4-4-4-12.
// False if the random source failed.
bool NewUuidText(std::string& text);

// Writes 16 random bytes as a version-4 UUID text, setting its version and
// variant bits first.
void FormatUuid(unsigned char (&bytes)[16], std::string& text);

}  // namespace ZEM::platform
