// The tokeniser of the XML parser. A token is a kind with a pointer and a
// length into the input; nothing is copied. Each function reads from `cursor`
// and leaves it behind the token; `textEnd` is the input's terminating zero.
// Only the parser includes this; the functions are inlined at each place that
// reads a token, which keeps the branches of each place apart.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "xml/xml_parser.h"
#include "xml/xml_scan.h"

namespace ZEM::xml_detail {

// Byte classes.
enum : std::uint8_t {
    kXmlSpace = 1,      // LF, CR, TAB, blank
    kXmlTextStop = 2,   // ends a text token (a '/' only before '>')
    kXmlLead = 4,       // begins a multi-byte character
    kXmlQuoteStop = 8,  // ends the scan for a closing quote
};

constexpr std::array<std::uint8_t, 256> MakeXmlClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (unsigned char c : {'\n', '\r', '\t', ' '}) classes[c] = kXmlSpace | kXmlTextStop;
    for (unsigned char c : {'<', '=', '>', '/'}) classes[c] |= kXmlTextStop;
    classes[0] = kXmlTextStop | kXmlQuoteStop;
    classes['<'] |= kXmlQuoteStop;
    classes['"'] |= kXmlQuoteStop;
    classes['\''] |= kXmlQuoteStop;
    for (int c = 0x80; c < 256; ++c)
        if (platform::kUtf8Width[c] > 1) classes[c] = kXmlLead | kXmlQuoteStop;
    return classes;
}

inline constexpr std::array<std::uint8_t, 256> kXmlClasses = MakeXmlClasses();

// Bytes that a text token takes as they are: all but white space, the
// zero, '<', '=', '>', '/' and the lead bytes of multi-byte characters.
constexpr std::array<bool, 256> MakeXmlPlainBytes() {
    std::array<bool, 256> plain{};
    for (int c = 0; c < 256; ++c) plain[c] = (kXmlClasses[c] & (kXmlTextStop | kXmlLead)) == 0;
    return plain;
}
inline constexpr std::array<bool, 256> kXmlPlainBytes = MakeXmlPlainBytes();

// Every byte that the class table makes a byte loop stop at is one the wide
// step before that loop stops at too.
constexpr bool WideStepsStopWhereTheTableDoes() {
    for (int i = 0; i < 256; ++i) {
        const auto c = static_cast<unsigned char>(i);
        const std::uint8_t cls = kXmlClasses[c];
        if ((cls & kXmlSpace) == 0 && !xml_scan::SpacesStopAt(c)) return false;
        if (!kXmlPlainBytes[c] && !xml_scan::TextStopsAt(c)) return false;
        if ((cls & kXmlLead) != 0 && !xml_scan::MarkStopsAt(c)) return false;
        // The other quote stops the byte loop only to be stepped over.
        for (char quote : {'"', '\''}) {
            const char other = quote == '"' ? '\'' : '"';
            if ((cls & kXmlQuoteStop) != 0 && c != static_cast<unsigned char>(other) &&
                !xml_scan::QuotedStopsAt(c, quote))
                return false;
        }
    }
    return xml_scan::MarkStopsAt('<') && xml_scan::MarkStopsAt(0);
}
static_assert(WideStepsStopWhereTheTableDoes(), "a wide step would pass a byte that its byte loop stops at");

// Past the plain bytes from `p` on: one at a time for the first 16, as names
// are short and a byte loop finds their end sooner than a wide step, whose
// result every later step waits for; the wide steps take over after that.
inline const char* SkipPlainBytes(const char* p, const char* textEnd) {
    for (int i = 0; i < 16; ++i, ++p) {
        if (!kXmlPlainBytes[static_cast<unsigned char>(*p)]) return p;
    }
    return xml_scan::SkipText(p, textEnd);
}

inline bool IsXmlSpace(char c) { return (kXmlClasses[static_cast<unsigned char>(c)] & kXmlSpace) != 0; }

// Past white space from `p` on: a line break's indentation by blanks in words,
// then a byte at a time for up to 32 bytes, as SkipPlainBytes does for names
// (what stands between two tags is mostly shorter), then in wide steps.
inline const char* SkipSpaceBytes(const char* p, const char* textEnd) {
    // Indentation by blanks, eight at a time after a line break; anything
    // else (tabs, CR LF) goes byte by byte.
    if (*p == '\n') {
        ++p;
        constexpr std::uint64_t kBlanks = 0x2020202020202020u;
        for (std::uint64_t word; textEnd - p >= 8; p += 8) {
            std::memcpy(&word, p, sizeof word);
            if (word != kBlanks) break;
        }
    }
    for (int i = 0; i < 32; ++i, ++p) {
        if (!IsXmlSpace(*p)) return p;
    }
    p = xml_scan::SkipSpaces(p, textEnd);
    while (IsXmlSpace(*p)) ++p;
    return p;
}

constexpr unsigned char XmlLower(char c) {
    auto b = static_cast<unsigned char>(c);
    return b >= 'A' && b <= 'Z' ? static_cast<unsigned char>(b + ('a' - 'A')) : b;
}

enum EXmlTokenKind {
    TokenText = 0,
    TokenQuoted = 1,  // quotes included
    TokenTagStart = 2,
    TokenTagEnd = 3,
    TokenTagClose = 4,
    TokenEquals = 5,
    TokenDeclarationStart = 6,
    TokenShortClose = 7,
    TokenClear = 8,
    TokenEnd = 9,
};

struct SXmlToken {
    EXmlTokenKind kind;
    const char* start;
    std::size_t length;
    const SXmlClearMark* mark;  // for TokenClear
};

// The rest of a text token from `at`: up to the end, white space (consumed,
// not part of the token), '<', '=', '>', or a '/' directly before '>'.
[[gnu::always_inline]] inline SXmlToken ScanXmlText(const char*& cursor, const char* textEnd, const char* start,
                                                    const char* at) {
    const auto* p = reinterpret_cast<const unsigned char*>(at);
    for (;;) {
        p = reinterpret_cast<const unsigned char*>(SkipPlainBytes(reinterpret_cast<const char*>(p), textEnd));
        const std::uint8_t cls = kXmlClasses[*p];
        if ((cls & (kXmlTextStop | kXmlLead)) == 0) {
            ++p;
        } else if ((cls & kXmlLead) != 0) {
            p = reinterpret_cast<const unsigned char*>(XmlNextChar(reinterpret_cast<const char*>(p)));
        } else if (*p == '/' && p[1] != '>') {
            ++p;
        } else {
            break;
        }
    }
    const auto* end = reinterpret_cast<const char*>(p);
    cursor = (kXmlClasses[*p] & kXmlSpace) != 0 ? end + 1 : end;
    return SXmlToken{TokenText, start, static_cast<std::size_t>(end - start), nullptr};
}

// A quoted text from the quote at `p`; one that meets '<' or the end before
// its partner gives up, and the quote begins a text token instead.
[[gnu::always_inline]] inline SXmlToken ScanXmlQuoted(const char*& cursor, const char* textEnd, const char* p) {
    const char quote = *p;
    const auto* q = reinterpret_cast<const unsigned char*>(p + 1);
    for (;;) {
        q = reinterpret_cast<const unsigned char*>(xml_scan::SkipQuoted(reinterpret_cast<const char*>(q), textEnd, quote));
        if ((kXmlClasses[*q] & kXmlQuoteStop) == 0) {
            ++q;
        } else if (*q == static_cast<unsigned char>(quote)) {
            cursor = reinterpret_cast<const char*>(q + 1);
            return SXmlToken{TokenQuoted, p, static_cast<std::size_t>(cursor - p), nullptr};
        } else if (*q == '<' || *q == '\0') {
            return ScanXmlText(cursor, textEnd, p, p + 1);
        } else {
            q = reinterpret_cast<const unsigned char*>(XmlNextChar(reinterpret_cast<const char*>(q)));
        }
    }
}

[[gnu::always_inline]] inline SXmlToken NextXmlToken(const char*& cursor, const char* textEnd) {
    const char* p = cursor;
    if (IsXmlSpace(*p)) {
        p = xml_scan::SkipSpaces(p + 1, textEnd);
        while (IsXmlSpace(*p)) ++p;
    }
    switch (*p) {
        case '\0':
            cursor = p;
            return SXmlToken{TokenEnd, p, 0, nullptr};
        case '"':
        case '\'':
            return ScanXmlQuoted(cursor, textEnd, p);
        case '/':
            if (p[1] == '>') {
                cursor = p + 2;
                return SXmlToken{TokenShortClose, p, 2, nullptr};
            }
            return ScanXmlText(cursor, textEnd, p, p + 1);
        case '<': {
            const char next = p[1];
            if (kXmlClearSeconds[static_cast<unsigned char>(next)]) {
                for (const SXmlClearMark& mark : kXmlClearMarks) {
                    if (std::strncmp(p, mark.open, static_cast<std::size_t>(mark.openLength)) == 0) {
                        cursor = p + mark.openLength;
                        return SXmlToken{TokenClear, p, static_cast<std::size_t>(mark.openLength), &mark};
                    }
                }
            }
            if (next == '/') {
                cursor = p + 2;
                return SXmlToken{TokenTagEnd, p, 2, nullptr};
            }
            if (next == kXmlDeclarationMark) {
                cursor = p + 2;
                return SXmlToken{TokenDeclarationStart, p, 2, nullptr};
            }
            cursor = p + 1;
            return SXmlToken{TokenTagStart, p, 1, nullptr};
        }
        case '=':
            cursor = p + 1;
            return SXmlToken{TokenEquals, p, 1, nullptr};
        case '>':
            cursor = p + 1;
            return SXmlToken{TokenTagClose, p, 1, nullptr};
        default:
            return ScanXmlText(cursor, textEnd, p, XmlNextChar(p));
    }
}

}  // namespace ZEM::xml_detail
