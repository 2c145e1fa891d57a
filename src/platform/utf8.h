// The library's own UTF-8 <-> wide codec, independent of the process locale.
// All narrow text in libzem is UTF-8. Wide text is UTF-32 where wchar_t has
// 32 bits and UTF-16 where it has 16 (Windows), with surrogate pairs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ZEM::platform {

// Width in bytes of the character that a byte begins: 0 for the terminating
// zero, 2 to 4 for the lead bytes of UTF-8, 1 for everything else. The XML
// parser steps through text by this table, so the bytes of a multi-byte
// character are never taken for delimiters; whatever counts columns as the
// parser does steps by it too.
constexpr std::array<std::uint8_t, 256> MakeUtf8Widths() {
    std::array<std::uint8_t, 256> widths{};
    for (int c = 1; c < 256; ++c)
        widths[c] = c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 1;
    return widths;
}
inline constexpr std::array<std::uint8_t, 256> kUtf8Width = MakeUtf8Widths();

// Appends the code points of `length` bytes of UTF-8 to `out`. Each byte of an
// invalid sequence becomes U+FFFD.
void DecodeUtf8(const char* text, std::size_t length, std::wstring& out);

// Appends the UTF-8 form of `length` wide characters to `out`. A code point that
// UTF-8 can't carry (a surrogate, or above U+10FFFF) becomes '?'.
void EncodeUtf8(const wchar_t* text, std::size_t length, std::string& out);

// Appends the UTF-8 form of `units` little-endian UTF-16 code units, read up to
// the first zero unit; surrogate pairs are joined, a lone surrogate gives '?'.
void EncodeUtf16Le(const unsigned char* bytes, std::size_t units, std::string& out);

}  // namespace ZEM::platform
