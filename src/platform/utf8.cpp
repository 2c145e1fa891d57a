// UTF-8 decoding follows the well-formed byte sequences of Unicode: overlong
// forms, surrogates and values above U+10FFFF are invalid, byte by byte.
#include "platform/utf8.h"

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ZEM::platform {

namespace {

// The end of the run of ASCII bytes that begins at `p`.
const unsigned char* AsciiRunEnd(const unsigned char* p, const unsigned char* end) {
#if defined(__SSE2__)
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const auto high = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        if (high != 0) return p + __builtin_ctz(high);
        p += 16;
    }
#endif
    while (p < end && *p < 0x80) ++p;
    return p;
}

// `count` ASCII bytes as wide characters, 16 at a time where wchar_t has 32 bits.
void WidenAscii(const unsigned char* p, std::size_t count, wchar_t* into) {
#if defined(__SSE2__)
    if constexpr (sizeof(wchar_t) == 4) {
        const __m128i zero = _mm_setzero_si128();
        for (; count >= 16; count -= 16, p += 16, into += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const __m128i low = _mm_unpacklo_epi8(bytes, zero);
            const __m128i high = _mm_unpackhi_epi8(bytes, zero);
            auto* out = reinterpret_cast<__m128i*>(into);
            _mm_storeu_si128(out, _mm_unpacklo_epi16(low, zero));
            _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(low, zero));
            _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(high, zero));
            _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(high, zero));
        }
    }
#endif
    for (; count != 0; --count) *into++ = static_cast<wchar_t>(*p++);
}

constexpr wchar_t kReplacement = 0xFFFD;

// Where wchar_t has 16 bits (Windows) it holds UTF-16, and a code point above
// the Basic Multilingual Plane takes a surrogate pair.
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

void AppendCodePoint(char32_t c, std::wstring& out) {
    if (kWideIsUtf16 && c >= 0x10000) {
        c -= 0x10000;
        out.push_back(static_cast<wchar_t>(0xD800 + (c >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + (c & 0x3FF)));
        return;
    }
    out.push_back(static_cast<wchar_t>(c));
}

// Room for `more` further elements; grows geometrically so that a caller that
// appends piece by piece stays linear.
template <class String>
void MakeRoom(String& out, std::size_t more) {
    std::size_t needed = out.size() + more;
    if (needed > out.capacity()) out.reserve(needed > 2 * out.capacity() ? needed : 2 * out.capacity());
}

void Encode(char32_t c, std::string& out) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            out.push_back('?');
            return;
        }
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c <= 0x10FFFF) {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back('?');
    }
}

}  // namespace

void DecodeUtf8(const char* text, std::size_t length, std::wstring& out) {
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* end = p + length;
    MakeRoom(out, length);
    while (p < end) {
        unsigned char b = *p;
        if (b < 0x80) {
            // A run of ASCII is widened in one step.
            const unsigned char* run = AsciiRunEnd(p + 1, end);
            const std::size_t at = out.size();
            out.resize(at + static_cast<std::size_t>(run - p));
            WidenAscii(p, static_cast<std::size_t>(run - p), out.data() + at);
            p = run;
            continue;
        }
        const int need = kUtf8Width[b] - 1;
        if (need < 1) {
            out.push_back(kReplacement);
            ++p;
            continue;
        }
        // The lead byte's own bits; the second byte's range excludes overlong
        // forms, surrogates and code points above U+10FFFF.
        char32_t c = b & (0x7F >> (need + 1));
        unsigned char lo = 0x80, hi = 0xBF;
        if (b == 0xE0) lo = 0xA0;
        if (b == 0xED) hi = 0x9F;
        if (b == 0xF0) lo = 0x90;
        if (b == 0xF4) hi = 0x8F;
        const unsigned char* q = p + 1;
        bool ok = true;
        for (int i = 0; i < need; ++i, ++q) {
            unsigned char limitLo = i == 0 ? lo : 0x80;
            unsigned char limitHi = i == 0 ? hi : 0xBF;
            if (q >= end || *q < limitLo || *q > limitHi) {
                ok = false;
                break;
            }
            c = (c << 6) | (*q & 0x3F);
        }
        if (!ok) {
            out.push_back(kReplacement);
            ++p;
            continue;
        }
        AppendCodePoint(c, out);
        p = q;
    }
}

void EncodeUtf8(const wchar_t* text, std::size_t length, std::string& out) {
    MakeRoom(out, length);
    std::size_t i = 0;
    while (i < length) {
        // A run of ASCII is narrowed in one step.
        std::size_t run = i;
        while (run < length && static_cast<std::uint32_t>(text[run]) < 0x80) ++run;
        if (run != i) {
            const std::size_t at = out.size();
            out.resize(at + (run - i));
            char* into = out.data() + at;
            for (; i < run; ++i) *into++ = static_cast<char>(text[i]);
            continue;
        }
        char32_t c = static_cast<char32_t>(static_cast<std::uint32_t>(text[i]));
        if (kWideIsUtf16 && c >= 0xD800 && c <= 0xDBFF && i + 1 < length) {
            const auto low = static_cast<char32_t>(static_cast<std::uint32_t>(text[i + 1]));
            if (low >= 0xDC00 && low <= 0xDFFF) {
                Encode(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00), out);
                i += 2;
                continue;
            }
        }
        Encode(c, out);  // a lone surrogate encodes as '?'
        ++i;
    }
}

void EncodeUtf16Le(const unsigned char* bytes, std::size_t units, std::string& out) {
    MakeRoom(out, units);
    for (std::size_t i = 0; i < units; ++i) {
        char32_t unit = static_cast<char32_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
        if (unit == 0) break;
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < units) {
            char32_t low = static_cast<char32_t>(bytes[2 * i + 2] | (bytes[2 * i + 3] << 8));
            if (low >= 0xDC00 && low <= 0xDFFF) {
                Encode(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), out);
                ++i;
                continue;
            }
        }
        Encode(unit, out);  // a lone surrogate encodes as '?'
    }
}

}  // namespace ZEM::platform
