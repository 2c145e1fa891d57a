// Wide steps for the tokeniser's byte loops. Each function skips, 16 bytes at
// a time, bytes that certainly can't end the scan, and stops at the first one
// that might; the caller's byte loop decides about that one and goes on. They
// read only below `end`, the text's terminating zero, and without SSE2 they
// skip nothing.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ZEM::xml_scan {

// The bytes at which each wide step below stops, one byte at a time. The
// tokeniser checks its class table against these at compile time, and a test
// checks the wide steps against them, so that no wide step can pass a byte
// its byte loop must see.
constexpr bool SpacesStopAt(unsigned char c) { return !(c == ' ' || c == '\n' || c == '\r' || c == '\t'); }
constexpr bool TextStopsAt(unsigned char c) {
    return c <= 0x20 || c >= 0x80 || c == '<' || c == '=' || c == '>' || c == '/';
}
constexpr bool QuotedStopsAt(unsigned char c, char quote) {
    return c == static_cast<unsigned char>(quote) || c == '<' || c == 0 || c >= 0x80;
}
constexpr bool ValueStopsAt(unsigned char c, char quote) { return QuotedStopsAt(c, quote) || c == '&'; }
constexpr bool MarkStopsAt(unsigned char c) { return c == '<' || c == 0 || c >= 0x80; }

#if defined(__SSE2__)

template <class Candidates>
inline const char* Skip(const char* p, const char* end, Candidates candidates) {
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(candidates(bytes)));
        if (mask != 0) return p + __builtin_ctz(mask);
        p += 16;
    }
    return p;
}

// Anything but blank, LF, CR and TAB.
inline const char* SkipSpaces(const char* p, const char* end) {
    return Skip(p, end, [](__m128i x) {
        const __m128i space = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8(' ')), _mm_cmpeq_epi8(x, _mm_set1_epi8('\n'))),
            _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8('\r')), _mm_cmpeq_epi8(x, _mm_set1_epi8('\t'))));
        return _mm_xor_si128(space, _mm_set1_epi8(-1));
    });
}

// Bytes up to 0x20 and from 0x80 (a signed compare takes both), '<', '=',
// '>' and '/'.
inline const char* SkipText(const char* p, const char* end) {
    return Skip(p, end, [](__m128i x) {
        const __m128i low = _mm_cmplt_epi8(x, _mm_set1_epi8(0x21));
        const __m128i marks = _mm_cmpeq_epi8(
            _mm_subs_epu8(_mm_sub_epi8(x, _mm_set1_epi8('<')), _mm_set1_epi8(2)), _mm_setzero_si128());
        return _mm_or_si128(_mm_or_si128(low, marks), _mm_cmpeq_epi8(x, _mm_set1_epi8('/')));
    });
}

// The quote, '<', the zero and bytes from 0x80.
inline const char* SkipQuoted(const char* p, const char* end, char quote) {
    const __m128i wanted = _mm_set1_epi8(quote);
    return Skip(p, end, [wanted](__m128i x) {
        return _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(x, wanted), _mm_cmpeq_epi8(x, _mm_set1_epi8('<'))),
                            _mm_cmplt_epi8(x, _mm_set1_epi8(1)));
    });
}

// SkipQuoted's bytes and '&'.
inline const char* SkipValue(const char* p, const char* end, char quote) {
    const __m128i wanted = _mm_set1_epi8(quote);
    return Skip(p, end, [wanted](__m128i x) {
        const __m128i marks = _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8('<')), _mm_cmpeq_epi8(x, _mm_set1_epi8('&')));
        return _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(x, wanted), marks), _mm_cmplt_epi8(x, _mm_set1_epi8(1)));
    });
}

// '<', the zero and bytes from 0x80.
inline const char* SkipToMark(const char* p, const char* end) {
    return Skip(p, end, [](__m128i x) {
        return _mm_or_si128(_mm_cmpeq_epi8(x, _mm_set1_epi8('<')), _mm_cmplt_epi8(x, _mm_set1_epi8(1)));
    });
}

#else

inline const char* SkipToMark(const char* p, const char*) { return p; }
inline const char* SkipSpaces(const char* p, const char*) { return p; }
inline const char* SkipText(const char* p, const char*) { return p; }
inline const char* SkipQuoted(const char* p, const char*, char) { return p; }
inline const char* SkipValue(const char* p, const char*, char) { return p; }

#endif

}  // namespace ZEM::xml_scan
