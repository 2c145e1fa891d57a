// Small text tests of the platform layer: ASCII case-insensitive comparison,
// white space, and the check that tells a UTF-16 file from a UTF-8 one.
#pragma once

#include <cstddef>

namespace ZEM::platform {

// <0, 0, >0 as `a` sorts before, equal to or after `b`, ignoring ASCII case.
int CompareNoCase(const char* a, const char* b);
// The same over at most `count` bytes.
int CompareNoCaseN(const char* a, const char* b, std::size_t count);

// True if `a` and `b` are the same text ignoring ASCII case. Inline for the
// look-ups by name, which mostly compare names that differ at once.
inline bool EqualNoCase(const char* a, const char* b) {
    const auto* p = reinterpret_cast<const unsigned char*>(a);
    const auto* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        const unsigned char c = *p, d = *q;
        if (c != d) {
            // Equal ignoring case only if both are the same letter.
            const unsigned char lower = c | 0x20;
            if (lower != (d | 0x20) || lower < 'a' || lower > 'z') return false;
        } else if (c == 0) {
            return true;
        }
    }
}

// Blank, tab, LF, VT, FF or CR.
inline bool IsAsciiSpace(unsigned char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// True if the buffer looks like little-endian UTF-16: it starts with FF FE, or
// it holds a zero byte in at least half of its odd positions and no zero code
// unit before its last one. ASCII and UTF-8 never pass.
bool LooksLikeUtf16(const unsigned char* bytes, std::size_t size);

}  // namespace ZEM::platform
