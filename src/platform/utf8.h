// The library's own UTF-8 <-> wide codec, independent of the process locale.
// All narrow text in libzem is UTF-8. Wide text is UTF-32 where wchar_t has
// 32 bits and UTF-16 where it has 16 (Windows), with surrogate pairs.
#pragma once

#include <cstddef>
#include <string>

namespace ZEM::platform {

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
