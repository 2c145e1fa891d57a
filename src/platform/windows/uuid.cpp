// Version-4 UUIDs from the system's preferred random source.
#include "platform/uuid.h"

#include <windows.h>
#include <bcrypt.h>

namespace ZEM::platform {

bool NewUuidText(std::string& text) {
    unsigned char bytes[16];
    if (!BCRYPT_SUCCESS(::BCryptGenRandom(nullptr, bytes, sizeof bytes, BCRYPT_USE_SYSTEM_PREFERRED_RNG)))
        return false;
    FormatUuid(bytes, text);
    return true;
}

}  // namespace ZEM::platform
