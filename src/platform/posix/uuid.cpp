// Version-4 UUIDs from the kernel's random source.
#include "platform/uuid.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace ZEM::platform {

namespace {

bool RandomBytes(unsigned char* out, size_t count) {
    size_t done = 0;
    while (done < count) {
        ssize_t got = ::getrandom(out + done, count - done, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            break;
        }
        done += static_cast<size_t>(got);
    }
    if (done == count) return true;
    std::FILE* file = std::fopen("/dev/urandom", "rb");
    if (file == nullptr) return false;
    bool ok = std::fread(out, 1, count, file) == count;
    std::fclose(file);
    return ok;
}

}  // namespace

bool NewUuidText(std::string& text) {
    unsigned char bytes[16];
    if (!RandomBytes(bytes, sizeof bytes)) return false;
    FormatUuid(bytes, text);
    return true;
}

}  // namespace ZEM::platform
