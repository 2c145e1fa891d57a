// Entity decoding. Runs of plain ASCII are copied 16 bytes at a time; an '&'
// and a multi-byte character are taken one at a time, by the width table,
// since a lead byte takes the bytes behind it along, an '&' among them
// included.
#include "xml/xml_entities.h"

#include <array>
#include <cstring>
#include <utility>

#include "xml/xml_arena.h"
#include "xml/xml_document.h"
#include "xml/xml_tokenizer.h"

namespace ZEM {

namespace {

struct SEntity {
    const char* text;  // in lower case, from '&' to ';'
    std::size_t length;
    char byte;
};

// The predefined entities, grouped by their second character.
constexpr SEntity kEntities[] = {
    {"&amp;", 5, '&'}, {"&apos;", 6, '\''}, {"&gt;", 4, '>'}, {"&lt;", 4, '<'}, {"&quot;", 6, '"'},
};
constexpr std::size_t kEntityCount = sizeof kEntities / sizeof kEntities[0];

// For each byte behind an '&', in either case: the first entity that it can
// begin, and how many can.
struct SCandidates {
    std::uint8_t first;
    std::uint8_t count;
};

using xml_detail::XmlLower;

constexpr std::array<SCandidates, 256> MakeCandidates() {
    std::array<SCandidates, 256> candidates{};
    for (int c = 0; c < 256; ++c) {
        const unsigned char second = XmlLower(static_cast<char>(c));
        for (std::size_t k = 0; k < kEntityCount; ++k) {
            if (static_cast<unsigned char>(kEntities[k].text[1]) != second) continue;
            if (candidates[c].count == 0) candidates[c].first = static_cast<std::uint8_t>(k);
            ++candidates[c].count;
        }
    }
    return candidates;
}
constexpr std::array<SCandidates, 256> kCandidates = MakeCandidates();

// Entities that share a second character must stand together.
constexpr bool EveryEntityIsACandidate() {
    for (std::size_t k = 0; k < kEntityCount; ++k) {
        const SCandidates candidates = kCandidates[static_cast<unsigned char>(kEntities[k].text[1])];
        if (k < candidates.first || k >= std::size_t{candidates.first} + candidates.count) return false;
    }
    return true;
}
static_assert(EveryEntityIsACandidate(), "the entities must be grouped by their second character");

inline bool SameIgnoringCase(const char* text, const char* lower, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        if (XmlLower(text[i]) != static_cast<unsigned char>(lower[i])) return false;
    return true;
}

// Entity `K` written in lower case at `p`, with `left` bytes behind it. The
// table is a constant, so each compare is a word or two.
template <std::size_t K>
inline bool LowerCaseEntityAt(const char* p, std::size_t left) {
    constexpr SEntity entity = kEntities[K];
    return left >= entity.length && std::memcmp(p, entity.text, entity.length) == 0;
}

template <std::size_t... K>
inline std::size_t LowerCaseEntity(const char* p, std::size_t left, char& byte, std::index_sequence<K...>) {
    std::size_t length = 0;
    (void)((LowerCaseEntityAt<K>(p, left) && (byte = kEntities[K].byte, length = kEntities[K].length, true)) || ...);
    return length;
}

// A predefined entity at `p` (an '&'), within `end`: its length with its
// byte, or 0. One written in lower case, as nearly all are, is found by the
// constant compares above; any other case through the candidates.
inline std::size_t NamedEntity(const char* p, const char* end, char& byte) {
    const auto left = static_cast<std::size_t>(end - p);
    if (const std::size_t length = LowerCaseEntity(p, left, byte, std::make_index_sequence<kEntityCount>()))
        return length;
    const SCandidates candidates = kCandidates[static_cast<unsigned char>(p[1])];
    for (std::size_t k = candidates.first; k < candidates.first + candidates.count; ++k) {
        const SEntity& entity = kEntities[k];
        if (left < entity.length) continue;
        if (SameIgnoringCase(p + 2, entity.text + 2, entity.length - 2)) {
            byte = entity.byte;
            return entity.length;
        }
    }
    return 0;
}

// A character reference at `p` (an '&' that no predefined entity follows),
// within `end`: behind it, with its byte, or null with the error set.
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
    error = XmlUnknownEntity;
    return nullptr;
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
        } else if (const std::size_t named = NamedEntity(p, end, *next); named != 0) {
            p += named;
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
