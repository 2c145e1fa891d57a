// Hashes and key comparison of KtMap, by key type. String keys hash by a
// 33-multiplier fold; standard strings and plain words by 64-bit FNV-1a.
#pragma once

#include <cstdint>
#include <cstring>
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

// h = h * 33 + c over narrow text, each byte a signed char.
inline std::uint64_t FoldHash(std::string_view text) noexcept {
    std::uint64_t h = 0;
    for (char c : text)
        h = h * 33 + static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(c)));
    return h;
}
inline std::uint64_t FoldHash(const char* text) noexcept {
    std::uint64_t h = 0;
    for (; *text != 0; ++text)
        h = h * 33 + static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(*text)));
    return h;
}
// The same over wide text, each unit taken as it is.
inline std::uint64_t FoldHash(std::wstring_view text) noexcept {
    std::uint64_t h = 0;
    for (wchar_t c : text) h = h * 33 + static_cast<std::uint64_t>(static_cast<std::uint32_t>(c));
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
    static bool Equal(const KtStr& a, const KtStr& b) noexcept { return a == b; }
    static bool Equal(const KtStr& a, const char* b) noexcept { return std::strcmp(a.c_str(), b) == 0; }
    static bool Equal(const KtStr& a, std::string_view b) noexcept { return a.View() == b; }
};

template <>
struct KtHash<KtWStr> {
    static std::uint64_t Hash(const KtWStr& key) noexcept { return FoldHash(key.View()); }
    static std::uint64_t Hash(std::wstring_view key) noexcept { return FoldHash(key); }
    static bool Equal(const KtWStr& a, const KtWStr& b) noexcept { return a == b; }
    static bool Equal(const KtWStr& a, std::wstring_view b) noexcept { return a.View() == b; }
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
