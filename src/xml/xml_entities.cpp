// Entity decoding. Runs of plain ASCII are copied 16 bytes at a time; an '&'
// and a multi-byte character are taken one at a time, by the width table,
// since a lead byte takes the bytes behind it along, an '&' among them
// included.
#include "xml/xml_entities.h"

#include <cstring>

#include "xml/xml_document.h"
#include "xml/xml_tokenizer.h"

namespace ZEM {

namespace {

struct SEntity {
    const char* text;
    std::size_t length;
    char byte;
};

// Ordered by their second character, which is all that the look-up needs
// to find the one or two candidates.
constexpr SEntity kEntities[] = {
    {"&amp;", 5, '&'}, {"&apos;", 6, '\''}, {"&gt;", 4, '>'}, {"&lt;", 4, '<'}, {"&quot;", 6, '"'},
};

using xml_detail::XmlLower;

// One reference at `p` (an '&'), within `end`: behind it, with its byte, or
// null with the error set.
const char* ReadReference(const char* p, const char* end, char& byte, std::uint32_t& error) {
    if (end - p >= 3 && p[1] == '#') {
        const char* q = p + 2;
        const bool hex = *q == 'x' || *q == 'X';
        if (hex) ++q;
        unsigned value = 0;
        for (; q < end && *q != ';'; ++q) {
            unsigned digit;
            const unsigned char d = XmlLower(*q);
            if (d >= '0' && d <= '9') {
                digit = d - '0';
            } else if (hex && d >= 'a' && d <= 'f') {
                digit = d - 'a' + 10;
            } else {
                error = XmlUnknownEntity;
                return nullptr;
            }
            if (value <= 255) value = value * (hex ? 16 : 10) + digit;  // stays above 255 once there
        }
        if (q == end) {
            error = XmlUnknownEntity;
            return nullptr;
        }
        if (value > 255) {
            error = XmlCodeAbove255;
            return nullptr;
        }
        byte = static_cast<char>(value);  // an empty reference gives 0
        return q + 1;
    }
    std::size_t first = 0, last = 0;
    switch (XmlLower(p[1])) {
        case 'a':
            first = 0, last = 2;
            break;
        case 'g':
            first = 2, last = 3;
            break;
        case 'l':
            first = 3, last = 4;
            break;
        case 'q':
            first = 4, last = 5;
            break;
        default:
            break;
    }
    const auto left = static_cast<std::size_t>(end - p);
    for (std::size_t k = first; k < last; ++k) {
        const SEntity& entity = kEntities[k];
        if (left < entity.length) continue;
        std::size_t i = 2;
        while (i < entity.length && XmlLower(p[i]) == static_cast<unsigned char>(entity.text[i])) ++i;
        if (i == entity.length) {
            byte = entity.byte;
            return p + entity.length;
        }
    }
    error = XmlUnknownEntity;
    return nullptr;
}

template <class Word>
inline Word WordOf(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// The five entities as a document mostly writes them, in lower case, each
// compared as a word or two: their length with their byte, or 0 for anything
// else, which ReadReference then takes apart.
inline std::size_t CommonEntity(const char* p, const char* end, char& byte) {
    const auto left = static_cast<std::size_t>(end - p);
    if (left < 4) return 0;
    const auto head = WordOf<std::uint32_t>(p);
    if (head == WordOf<std::uint32_t>("&lt;")) {
        byte = '<';
        return 4;
    }
    if (head == WordOf<std::uint32_t>("&gt;")) {
        byte = '>';
        return 4;
    }
    if (left >= 5 && head == WordOf<std::uint32_t>("&amp") && p[4] == ';') {
        byte = '&';
        return 5;
    }
    if (left >= 6) {
        const auto tail = WordOf<std::uint16_t>(p + 4);
        if (head == WordOf<std::uint32_t>("&quo") && tail == WordOf<std::uint16_t>("t;")) {
            byte = '"';
            return 6;
        }
        if (head == WordOf<std::uint32_t>("&apo") && tail == WordOf<std::uint16_t>("s;")) {
            byte = '\'';
            return 6;
        }
    }
    return 0;
}

}  // namespace

std::ptrdiff_t XmlDecode(const char* text, std::size_t length, const char* textEnd, char* out, std::uint32_t& error) {
    const char* p = text;
    const char* end = text + length;
    char* next = out;
    while (p < end) {
#if defined(__SSE2__)
        // Plain ASCII up to the next '&' or byte from 0x80, 16 bytes at a
        // time. The load stays before the terminating zero; the store may run
        // into the slack behind `out`, since `next` never passes `out` plus
        // the bytes read so far.
        if (textEnd - p >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            auto special = static_cast<unsigned>(_mm_movemask_epi8(
                _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('&')), _mm_cmplt_epi8(bytes, _mm_set1_epi8(1)))));
            const auto left = static_cast<std::size_t>(end - p);
            if (left < 16) special &= (1u << left) - 1;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(next), bytes);
            const std::size_t plain = special != 0 ? static_cast<std::size_t>(__builtin_ctz(special))
                                                   : (left < 16 ? left : 16);
            p += plain;
            next += plain;
            if (special == 0 || p == end) continue;
        }
#else
        (void)textEnd;
#endif
        const auto b = static_cast<unsigned char>(*p);
        if (b < 0x80 && b != '&') {
            *next++ = *p++;
        } else if (b != '&') {
            // A lead byte takes the rest of its character along.
            std::size_t width = kXmlCharWidth[b];
            if (width > static_cast<std::size_t>(end - p)) width = static_cast<std::size_t>(end - p);
            std::memcpy(next, p, width);
            next += width;
            p += width;
        } else if (const std::size_t common = CommonEntity(p, end, *next); common != 0) {
            p += common;
            ++next;
        } else {
            p = ReadReference(p, end, *next, error);
            if (p == nullptr) return -1;
            ++next;
        }
    }
    return next - out;
}

}  // namespace ZEM
