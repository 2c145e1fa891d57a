// ASCII case-insensitive comparison and the test that tells UTF-16 text from
// narrow text, used by the XML layer.
#include "platform/text.h"

#include <cstring>

namespace ZEM::platform {

namespace {

inline unsigned char Lower(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

}  // namespace

int CompareNoCase(const char* a, const char* b) {
    const auto* p = reinterpret_cast<const unsigned char*>(a);
    const auto* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        int d = Lower(*p) - Lower(*q);
        if (d != 0 || *p == 0) return d;
    }
}

int CompareNoCaseN(const char* a, const char* b, std::size_t count) {
    const auto* p = reinterpret_cast<const unsigned char*>(a);
    const auto* q = reinterpret_cast<const unsigned char*>(b);
    for (std::size_t i = 0; i < count; ++i, ++p, ++q) {
        int d = Lower(*p) - Lower(*q);
        if (d != 0 || *p == 0) return d;
    }
    return 0;
}

bool LooksLikeUtf16(const unsigned char* bytes, std::size_t size) {
    if (size >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) return true;
    if (size < 2) return false;
    std::size_t units = size / 2;
    // Text without a zero byte in its units (all ASCII and UTF-8) can't pass;
    // one fast scan settles the common case.
    if (std::memchr(bytes, 0, units * 2) == nullptr) return false;
    std::size_t zeroHigh = 0;
    for (std::size_t i = 0; i < units; ++i) {
        unsigned char low = bytes[2 * i], high = bytes[2 * i + 1];
        if (low == 0 && high == 0 && i + 1 < units) return false;
        if (high == 0) ++zeroHigh;
    }
    return zeroHigh * 2 >= units;
}

}  // namespace ZEM::platform
