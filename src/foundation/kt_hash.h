// Hashes and key comparison of KtMap, by key type. String keys hash by a
// 33-multiplier fold; standard strings and plain words by 64-bit FNV-1a.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "foundation/kt_string.h"

constexpr std::uint64_t kFnvOffset = 0xcbf29ce484222325ull;
constexpr std::uint64_t kFnvPrime = 0x100000001b3ull;

inline std::uint64_t FnvHash(const void* data, std::size_t size) noexcept {
    const auto* p = static_cast<const unsigned char*>(data);
    std::uint64_t h = kFnvOffset;
    for (std::size_t i = 0; i < size; ++i) {
        h ^= p[i];
        h *= kFnvPrime;
    }
    return h;
}

// h = h * 33 + c over the characters of a text. Four characters are folded at
// once (h * 33^4 + c0 * 33^3 + c1 * 33^2 + c2 * 33 + c3), which gives the very
// same value modulo 2^64 with a shorter chain of dependent multiplications.
template <class Ch, class Term>
inline std::uint64_t FoldChars(const Ch* p, std::size_t n, Term term) noexcept {
    std::uint64_t h = 0;
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4)
        h = h * 1185921u + term(p[i]) * 35937u + term(p[i + 1]) * 1089u + term(p[i + 2]) * 33u + term(p[i + 3]);
    for (; i < n; ++i) h = h * 33u + term(p[i]);
    return h;
}

// Narrow text: each byte is taken as a signed char, extended to 64 bits.
inline std::uint64_t NarrowTerm(char c) noexcept {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(c)));
}
// Wide text: each unit as it is (a wchar_t holds a whole code point here, so a
// character beyond U+FFFF adds one term, not two).
inline std::uint64_t WideTerm(wchar_t c) noexcept {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(c));
}

// Narrow text is folded eight bytes at a time: a word of bytes c0 ... c7 (in
// memory order) adds c0 * 33^7 + c1 * 33^6 + ... + c7, and a part of a word
// is a word whose bytes in front of the part are zero. This gives the same
// value as the loop, with a handful of multiplications per word and, for
// short keys, no branch on the length.
namespace kt_detail {

constexpr std::uint64_t Pow33(unsigned n) noexcept { return n == 0 ? 1 : 33 * Pow33(n - 1); }
constexpr std::uint64_t kPow33[17] = {Pow33(0),  Pow33(1),  Pow33(2),  Pow33(3),  Pow33(4),  Pow33(5),
                                      Pow33(6),  Pow33(7),  Pow33(8),  Pow33(9),  Pow33(10), Pow33(11),
                                      Pow33(12), Pow33(13), Pow33(14), Pow33(15), Pow33(16)};
// The highest n bytes of a word, that is the last n in memory order.
constexpr std::uint64_t kLastBytes[9] = {0,
                                         0xFF00000000000000ull,
                                         0xFFFF000000000000ull,
                                         0xFFFFFF0000000000ull,
                                         0xFFFFFFFF00000000ull,
                                         0xFFFFFFFFFF000000ull,
                                         0xFFFFFFFFFFFF0000ull,
                                         0xFFFFFFFFFFFFFF00ull,
                                         0xFFFFFFFFFFFFFFFFull};
// The same for a pair of words, first word low: its last n (at most 16) bytes.
alignas(16) constexpr std::uint64_t kLastBytePairs[17][2] = {
    {0, 0},
    {0, kLastBytes[1]}, {0, kLastBytes[2]}, {0, kLastBytes[3]}, {0, kLastBytes[4]},
    {0, kLastBytes[5]}, {0, kLastBytes[6]}, {0, kLastBytes[7]}, {0, kLastBytes[8]},
    {kLastBytes[1], kLastBytes[8]}, {kLastBytes[2], kLastBytes[8]}, {kLastBytes[3], kLastBytes[8]},
    {kLastBytes[4], kLastBytes[8]}, {kLastBytes[5], kLastBytes[8]}, {kLastBytes[6], kLastBytes[8]},
    {kLastBytes[7], kLastBytes[8]}, {kLastBytes[8], kLastBytes[8]}};
// 128 times the sum of the eight weights 33^7 ... 33^0.
constexpr std::uint64_t kWordBias = 128 * (Pow33(0) + Pow33(1) + Pow33(2) + Pow33(3) + Pow33(4) + Pow33(5) +
                                           Pow33(6) + Pow33(7));

// The fold of the eight bytes of a word, each a signed char. A byte b is taken
// as (b ^ 0x80) - 128, so that all partial sums stay positive within their
// lanes: pairs of bytes in 16-bit lanes (at most 255 * 34), then quarters in
// 32-bit lanes (at most 8670 * 1090), then the whole. A zero byte adds 128
// times its weight, which the bias takes off again, so it counts as nothing.
inline std::uint64_t FoldWord(std::uint64_t word) noexcept {
    const std::uint64_t x = word ^ 0x8080808080808080ull;
    const std::uint64_t pairs = (x & 0x00FF00FF00FF00FFull) * 33 + ((x >> 8) & 0x00FF00FF00FF00FFull);
    const std::uint64_t quads = (pairs & 0x0000FFFF0000FFFFull) * 1089 + ((pairs >> 16) & 0x0000FFFF0000FFFFull);
    return (quads & 0xFFFFFFFFull) * Pow33(4) + (quads >> 32) - kWordBias;
}

#if defined(__SSE2__)
// FoldWord(a) * scale + FoldWord(b), with a in the low half of `words` and b
// in the high one. Both words go through the same steps side by side: bytes
// widened to 16 bits, pairs and then quarters summed by multiply-add (in the
// lane bounds given above), the quarters joined by one 32 x 32-bit product.
inline std::uint64_t FoldWords(__m128i words, std::uint64_t scale) noexcept {
    const __m128i x = _mm_xor_si128(words, _mm_set1_epi8(static_cast<char>(0x80)));
    const __m128i zero = _mm_setzero_si128();
    const __m128i pairWeights = _mm_set1_epi32(0x00010021);  // 33 for the earlier byte, 1 for the later
    const __m128i pairs = _mm_packs_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(x, zero), pairWeights),
                                          _mm_madd_epi16(_mm_unpackhi_epi8(x, zero), pairWeights));
    const __m128i quads = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00010441));  // 1089 and 1
    const __m128i folds = _mm_add_epi64(_mm_mul_epu32(quads, _mm_set1_epi64x(static_cast<long long>(Pow33(4)))),
                                        _mm_srli_epi64(quads, 32));
    const auto foldA = static_cast<std::uint64_t>(_mm_cvtsi128_si64(folds));
    const auto foldB = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(folds, folds)));
    return (foldA - kWordBias) * scale + (foldB - kWordBias);
}
#endif

inline std::uint64_t FoldWords(std::uint64_t a, std::uint64_t b, std::uint64_t scale) noexcept {
#if defined(__SSE2__)
    return FoldWords(_mm_set_epi64x(static_cast<long long>(b), static_cast<long long>(a)), scale);
#else
    return FoldWord(a) * scale + FoldWord(b);
#endif
}

inline std::uint64_t LoadWord(const char* p) noexcept {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The n (at most 8) bytes at p as the last ones of a word, reading nothing else.
inline std::uint64_t LoadShort(const char* p, std::size_t n) noexcept {
    std::uint64_t bytes;
    if (n >= 4) {
        std::uint32_t front, back;  // overlapping when n < 8, with the same bytes
        std::memcpy(&front, p, 4);
        std::memcpy(&back, p + n - 4, 4);
        bytes = front | static_cast<std::uint64_t>(back) << (8 * (n - 4));
    } else if (n != 0) {
        bytes = static_cast<std::uint64_t>(static_cast<unsigned char>(p[0])) |
                static_cast<std::uint64_t>(static_cast<unsigned char>(p[n / 2])) << (8 * (n / 2)) |
                static_cast<std::uint64_t>(static_cast<unsigned char>(p[n - 1])) << (8 * (n - 1));
    } else {
        return 0;
    }
    return bytes << (8 * (8 - n));
}

// Text of any origin: whole words from the start, and the last two words
// ending at the end of the text, the one before the last cut to what is left.
inline std::uint64_t FoldText(const char* p, std::size_t n) noexcept {
    if (n < 8) return FoldWord(LoadShort(p, n));
    std::uint64_t h = 0;
    for (; n > 16; p += 8, n -= 8) h = h * kPow33[8] + FoldWord(LoadWord(p));
    const std::size_t first = n - 8;  // 0 to 8 bytes before the last word
    return h * kPow33[n] + FoldWords(first != 0 ? LoadWord(p) << (8 * (8 - first)) : 0, LoadWord(p + n - 8),
                                     kPow33[8]);
}

// The text of a reference-counted string, which has kReadableBefore bytes of
// its own in front of the characters: a word that ends inside the text can be
// loaded whole and the bytes in front of the part wanted masked off, so up to
// 16 characters go without a branch on the length.
inline std::uint64_t FoldStringText(const char* p, std::size_t n) noexcept {
    std::uint64_t h = 0;
    for (; n > 16; p += 8, n -= 8) h = h * kPow33[8] + FoldWord(LoadWord(p));
    const std::size_t last = n < 8 ? n : 8;  // the last word's share
    const std::size_t first = n - last;      // what comes before it, 0 to 8
#if defined(__SSE2__)
    // Both words are loaded straight into one register (a way round through
    // the general registers costs more time than the rest of the fold) and
    // the bytes in front of the part wanted cleared there.
    const __m128i front = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + first - 8));
    const __m128i words =
        _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(front), reinterpret_cast<const double*>(p + n - 8)));
    const __m128i mask = _mm_load_si128(reinterpret_cast<const __m128i*>(kLastBytePairs[n]));
    return h * kPow33[n] + FoldWords(_mm_and_si128(words, mask), kPow33[last]);
#else
    return h * kPow33[n] + FoldWords(LoadWord(p + first - 8) & kLastBytes[first],
                                     LoadWord(p + n - 8) & kLastBytes[last], kPow33[last]);
#endif
}

}  // namespace kt_detail

inline std::uint64_t FoldHash(std::string_view text) noexcept {
    if constexpr (std::endian::native == std::endian::little)
        return kt_detail::FoldText(text.data(), text.size());
    else
        return FoldChars(text.data(), text.size(), NarrowTerm);
}
inline std::uint64_t FoldHash(const char* text) noexcept { return FoldHash(std::string_view(text)); }
inline std::uint64_t FoldHash(const KtStr& text) noexcept {
    static_assert(KtStr::kReadableBefore >= 8);
    if constexpr (std::endian::native == std::endian::little)
        return kt_detail::FoldStringText(text.c_str(), static_cast<std::size_t>(text.Length()));
    else
        return FoldHash(text.View());
}
inline std::uint64_t FoldHash(std::wstring_view text) noexcept {
    return FoldChars(text.data(), text.size(), WideTerm);
}
inline std::uint64_t FoldHash(const wchar_t* text) noexcept {
    std::uint64_t h = 0;
    for (; *text != 0; ++text) h = h * 33u + WideTerm(*text);
    return h;
}

template <class Key, class Enable = void>
struct KtHash;

// Narrow reference-counted strings; also looked up by plain text.
template <>
struct KtHash<KtStr> {
    static std::uint64_t Hash(const KtStr& key) noexcept { return FoldHash(key); }
    static std::uint64_t Hash(const char* key) noexcept { return FoldHash(key); }
    static std::uint64_t Hash(std::string_view key) noexcept { return FoldHash(key); }
    static std::uint64_t Hash(const std::string& key) noexcept { return FoldHash(std::string_view(key)); }
    static bool Equal(const KtStr& a, const KtStr& b) noexcept { return a == b; }
    static bool Equal(const KtStr& a, const char* b) noexcept { return std::strcmp(a.c_str(), b) == 0; }
    static bool Equal(const KtStr& a, std::string_view b) noexcept { return a.View() == b; }
    static bool Equal(const KtStr& a, const std::string& b) noexcept { return a.View() == std::string_view(b); }
};

template <>
struct KtHash<KtWStr> {
    static std::uint64_t Hash(const KtWStr& key) noexcept { return FoldHash(key.View()); }
    static std::uint64_t Hash(const wchar_t* key) noexcept { return FoldHash(key); }
    static std::uint64_t Hash(std::wstring_view key) noexcept { return FoldHash(key); }
    static std::uint64_t Hash(const std::wstring& key) noexcept { return FoldHash(std::wstring_view(key)); }
    static bool Equal(const KtWStr& a, const KtWStr& b) noexcept { return a == b; }
    static bool Equal(const KtWStr& a, const wchar_t* b) noexcept { return std::wcscmp(a.c_str(), b) == 0; }
    static bool Equal(const KtWStr& a, std::wstring_view b) noexcept { return a.View() == b; }
    static bool Equal(const KtWStr& a, const std::wstring& b) noexcept { return a.View() == std::wstring_view(b); }
};

template <>
struct KtHash<std::string> {
    static std::uint64_t Hash(std::string_view key) noexcept { return FnvHash(key.data(), key.size()); }
    static bool Equal(const std::string& a, std::string_view b) noexcept { return a == b; }
};

// Pointers and other plain words: FNV-1a over the eight bytes, low byte first.
template <class Key>
struct KtHash<Key, std::enable_if_t<std::is_pointer_v<Key> || std::is_integral_v<Key>>> {
    static std::uint64_t Hash(Key key) noexcept {
        std::uint64_t word;
        if constexpr (std::is_pointer_v<Key>)
            word = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
        else
            word = static_cast<std::uint64_t>(key);
        unsigned char bytes[8];
        for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(word >> (8 * i));
        return FnvHash(bytes, 8);
    }
    static bool Equal(Key a, Key b) noexcept { return a == b; }
};
