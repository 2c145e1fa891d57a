// Hashes and key comparison of KtMap, by key type. String keys hash by a
// 33-multiplier fold; standard strings and plain words by 64-bit FNV-1a.
#pragma once

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <type_traits>

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

inline std::uint64_t FoldHash(std::string_view text) noexcept {
    return FoldChars(text.data(), text.size(), NarrowTerm);
}
inline std::uint64_t FoldHash(const char* text) noexcept {
    std::uint64_t h = 0;
    for (; *text != 0; ++text) h = h * 33u + NarrowTerm(*text);
    return h;
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
    static std::uint64_t Hash(const KtStr& key) noexcept { return FoldHash(key.View()); }
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
