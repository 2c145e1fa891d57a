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
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    static const char kHex[] = "0123456789abcdef";
    text.clear();
    text.reserve(36);
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
        text.push_back(kHex[bytes[i] >> 4]);
        text.push_back(kHex[bytes[i] & 0x0F]);
    }
    return true;
}

}  // namespace ZEM::platform
