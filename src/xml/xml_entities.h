// Entities and character references in texts and attribute values: the five
// predefined entities, ignoring case, and references up to 255, each written
// as one byte. Used by the parser for everything it stores, except the
// content of clear sections.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZEM {

// Room that a decoding needs behind the length of its input: it may write
// (and later drop) that many bytes more.
constexpr std::size_t kXmlDecodeSlack = 16;

// Decodes `length` bytes at `text` into `out`, which has room for length +
// kXmlDecodeSlack bytes; the bytes up to `textEnd` (the terminating zero of
// the whole input) may be read. Returns the decoded size, which is never more
// than `length`, or -1 with `error` set to XmlUnknownEntity or
// XmlCodeAbove255.
std::ptrdiff_t XmlDecode(const char* text, std::size_t length, const char* textEnd, char* out, std::uint32_t& error);

}  // namespace ZEM
