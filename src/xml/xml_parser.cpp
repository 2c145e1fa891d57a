// The element parser: one call per element, reading its start tag and then
// its content up to the end tag. Only what goes into the tree is copied,
// straight into the tree's arena. Names compare without regard to ASCII case,
// clear marks exactly; quotes, '=' and a lone '>' outside a tag are text.
#include "xml/xml_parser.h"

#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "xml/xml_document.h"
#include "xml/xml_entities.h"
#include "xml/xml_tokenizer.h"

namespace ZEM {

namespace {

using namespace xml_detail;

// Values up to this length share their copies.
constexpr std::size_t kSharedValueLength = 16;

// A short value without references that was stored lately, or a new copy of
// it. Values such as "true" or a type name come back on element after element.
inline char* StoreShortValue(const char* text, std::size_t length, SXmlParseState& state) {
    if (length == 0) return state.arena->CopyString(text, length);
    const auto first = static_cast<unsigned char>(text[0]);
    const auto last = static_cast<unsigned char>(text[length - 1]);
    SXmlParseState::SStoredName& stored =
        state.values[(length * 7 + first * 3 + last * 5) % SXmlParseState::kValueSlots];
    if (stored.length == length && XmlSameBytes(stored.text, text, length)) return const_cast<char*>(stored.text);
    char* copy = state.arena->CopyString(text, length);
    stored.text = copy;
    stored.length = length;
    return copy;
}

// A value without references as it is stored: shared when it is short.
[[gnu::always_inline]] inline char* StorePlainValue(const char* text, std::size_t length, SXmlParseState& state) {
    return length <= kSharedValueLength ? StoreShortValue(text, length, state)
                                        : state.arena->CopyString(text, length);
}

// A decoded copy in the arena, or null with the error set. `Shared`: a short
// value may be one that the tree holds already.
template <bool Shared = false>
char* DecodeCopy(const char* text, std::size_t length, SXmlParseState& state) {
#if defined(__SSE2__)
    // Most values are short and hold no reference: without an '&' the bytes
    // stay as they are (a character from 0x80 is copied whole either way).
    if (length <= 32 && state.end - text >= 32) {
        const __m128i amp = _mm_set1_epi8('&');
        const auto low = static_cast<unsigned>(
            _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)), amp)));
        const auto high = static_cast<unsigned>(
            _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16)), amp)));
        const std::uint64_t within = (std::uint64_t{1} << length) - 1;
        if (((low | (high << 16)) & within) == 0) {
            if constexpr (Shared) return StorePlainValue(text, length, state);
            return state.arena->CopyString(text, length);
        }
    }
#endif
    const std::size_t room = length + kXmlDecodeSlack + 1;
    auto* copy = static_cast<char*>(state.arena->Allocate(room, 1));
    const std::ptrdiff_t size = XmlDecode(text, length, state.end, copy, state.error);
    if (size < 0) return nullptr;
    copy[size] = '\0';
    state.arena->TrimLast(copy, room, static_cast<std::size_t>(size) + 1);
    return copy;
}

// The name of `node` matches a name of `length` bytes in the input when it
// equals the input's start, ignoring case, and the input's name ends right
// there (at white space, '/', '<', '=' or '>').
inline bool NameMatches(const SXmlNodeData* node, const char* other, std::size_t length) {
    const char* stored = node->name;
    if (stored == nullptr) return false;
    const std::size_t count = CXmlArena::NameLength(stored);
    if (count > length) return false;
    // An end tag mostly repeats its start tag byte for byte.
    if (!XmlSameBytes(stored, other, count)) {
        for (std::size_t i = 0; i < count; ++i) {
            if (stored[i] != other[i] && XmlLower(stored[i]) != XmlLower(other[i])) return false;
        }
    }
    const char next = other[count];
    return IsXmlSpace(next) || next == '/' || next == '<' || next == '=' || next == '>';
}

// The name's slot among the names stored lately: the length and the bytes at
// both ends tell most names of a document apart.
inline SXmlParseState::SStoredName& NameSlot(const char* text, std::size_t length, SXmlParseState& state) {
    const auto first = static_cast<unsigned char>(text[0]);
    const auto last = static_cast<unsigned char>(text[length - 1]);
    return state.names[(length * 7 + first * 3 + last) % SXmlParseState::kNameSlots];
}

[[gnu::noinline]] char* StoreNewName(const char* text, std::size_t length, SXmlParseState& state) {
    char* copy = state.arena->CopyName(text, length);
    if (length != 0) {
        SXmlParseState::SStoredName& stored = NameSlot(text, length, state);
        stored.text = copy;
        stored.length = length;
    }
    return copy;
}

// StoreName with the usual case, a name seen lately, inline.
[[gnu::always_inline]] inline char* StoreNameInline(const char* text, std::size_t length, SXmlParseState& state) {
    if (length != 0) {
        const SXmlParseState::SStoredName& stored = NameSlot(text, length, state);
        if (stored.length == length && XmlSameBytes(stored.text, text, length)) return const_cast<char*>(stored.text);
    }
    return StoreNewName(text, length, state);
}

// Appends decoded text to the text that `stored` holds. A text that comments
// are merged into grows geometrically, so that a long run of "x<!-- -->"
// stays linear.
bool AppendToText(char*& stored, const char* text, std::size_t length, SXmlParseState& state) {
    char* target = stored;
    const bool growing = target == state.growingText;
    const std::size_t had = growing ? state.growingLength : std::strlen(target);
    std::size_t capacity = growing ? state.growingCapacity : had + 1;
    const std::size_t needed = had + length + kXmlDecodeSlack + 1;
    if (needed > capacity) {
        capacity = needed * 2;
        auto* grown = static_cast<char*>(state.arena->Allocate(capacity, 1));
        std::memcpy(grown, target, had);
        target = grown;
    }
    const std::ptrdiff_t size = XmlDecode(text, length, state.end, target + had, state.error);
    if (size < 0) return false;
    target[had + static_cast<std::size_t>(size)] = '\0';
    stored = target;
    state.growingText = target;
    state.growingLength = had + static_cast<std::size_t>(size);
    state.growingCapacity = capacity;
    return true;
}

// Stores the pending text up to `end`: trimmed, decoded, and joined to the
// text before a comment that stands last in the node.
[[gnu::noinline]] bool StorePendingTextNow(SXmlParseState& state, const char* end) {
    const char* p = state.pendingText;
    state.pendingText = nullptr;
    while (p < end && IsXmlSpace(*p)) ++p;
    if (p == end) return true;
    while (IsXmlSpace(end[-1])) --end;
    const auto length = static_cast<std::size_t>(end - p);

    CXmlOpenContent& content = state.content;
    SXmlNodeData* node = content.Innermost();
    if (node->textCount > 0 && node->clearCount > 0) {
        const SXmlOpenEntry& last = content.FromEnd(1);
        SXmlOpenEntry& before = content.FromEnd(2);
        if (CXmlOpenContent::Kind(last) == XmlOrderClear &&
            CXmlOpenContent::Mark(last) == &kXmlClearMarks[XmlClearComment] &&
            CXmlOpenContent::Kind(before) == XmlOrderText) {
            // A text that fails to decode leaves the comment where it is.
            const std::size_t room = length + kXmlDecodeSlack;
            auto* scratch = static_cast<char*>(state.arena->Allocate(room, 1));
            const bool valid = XmlDecode(p, length, state.end, scratch, state.error) >= 0;
            state.arena->TrimLast(scratch, room, 0);
            if (!valid) return false;
            // The comment is the last clear section: its order entry is the last.
            content.DropLastClear(node);
            return AppendToText(before.first, p, length, state);
        }
    }
    char* text = DecodeCopy(p, length, state);
    if (text == nullptr) return false;
    content.AddText(node, text);
    return true;
}

inline bool StorePendingText(SXmlParseState& state, const char* end) {
    return state.pendingText == nullptr || StorePendingTextNow(state, end);
}

inline void AddAttribute(SXmlNodeData* node, SXmlParseState& state, char* name, char* value) {
    state.content.AddAttribute(node, name, value);
}

// The shared name and the decoded value, shared too when it is short and
// was seen lately.
[[gnu::always_inline]] inline bool StoreAttribute(SXmlNodeData* node, SXmlParseState& state, const char* name,
                                      std::size_t nameLength, const SXmlToken& value) {
    const char* text = value.start;
    std::size_t length = value.length;
    if (IsDeclaration(node) && text[length - 1] == '?') --length;
    if (value.kind == TokenQuoted) {
        ++text;
        length -= 2;
    }
    char* storedName = StoreNameInline(name, nameLength, state);
    char* decoded = DecodeCopy<true>(text, length, state);
    if (decoded == nullptr) return false;
    AddAttribute(node, state, storedName, decoded);
    return true;
}

[[gnu::noinline]] void StoreBareAttribute(SXmlNodeData* node, SXmlParseState& state, const char* name,
                                          std::size_t nameLength) {
    AddAttribute(node, state, StoreName(name, nameLength, state), nullptr);
}

// The section behind an open mark, as a clear entry unless it is empty.
[[gnu::noinline]] bool ReadClear(SXmlParseState& state, const SXmlClearMark* mark) {
    const char* start = state.cursor;
    const char* close = nullptr;
    if (mark == &kXmlClearMarks[XmlClearDoctype]) {
        const char* p = start;
        while (*p != '\0' && *p != '>' && *p != '<') p = XmlNextChar(p);
        if (*p == '>') {
            close = p;
        } else if (*p == '<') {
            mark = &kXmlDoctypeSubsetMark;  // an internal subset ends at "]>"
            close = std::strstr(start, mark->close);
        }
    } else {
        close = std::strstr(start, mark->close);
    }
    if (close == nullptr) {
        state.error = XmlUnterminatedClear;
        return false;
    }
    state.cursor = close + std::strlen(mark->close);
    if (close != start)
        state.content.AddClear(state.content.Innermost(),
                               state.arena->CopyString(start, static_cast<std::size_t>(close - start)), mark);
    state.pendingText = state.cursor;
    return true;
}

[[gnu::always_inline]] inline SXmlNodeData* OpenChild(SXmlNodeData* node, SXmlParseState& state, const SXmlToken& tag,
                                          const SXmlToken& name) {
    SXmlNodeData* child = NewRecord(node->arena, StoreNameInline(name.start, name.length, state), node,
                                    tag.kind == TokenDeclarationStart);
    const std::ptrdiff_t offset = tag.start - state.text;
    child->sourceOffset = offset <= INT32_MAX ? static_cast<std::int32_t>(offset) : -1;
    state.content.AddChild(node, child);
    state.content.Begin(child);
    return child;
}

// A byte that can only begin a text token, one byte wide.
inline bool IsPlainStart(char c) { return kXmlClasses[static_cast<unsigned char>(c)] == 0; }

// Behind a '<': a byte that begins the name of a start tag, and no mark.
constexpr std::array<bool, 256> MakeTagNameStarts() {
    std::array<bool, 256> starts{};
    for (int c = 0; c < 256; ++c)
        starts[c] = kXmlClasses[c] == 0 && !kXmlClearSeconds[c] && c != static_cast<unsigned char>(kXmlDeclarationMark);
    return starts;
}
constexpr std::array<bool, 256> kTagNameStarts = MakeTagNameStarts();

// The first '<' or the terminating zero from `p` on that begins a character.
inline const char* FindMark(const char* p, const char* textEnd) {
    for (;;) {
        p = xml_scan::SkipToMark(p, textEnd);
        const char c = *p;
        if (c == '<' || c == '\0') return p;
        p = XmlNextChar(p);
    }
}

enum EStartTag { StartTagOpen, StartTagClosed, StartTagFailed, StartTagAtEnd };

// The attributes of a start tag, up to its '>' (open) or '/>' (closed). The
// cursor stays in a register here; the caller hands it back to the state.
// kTokensOnly: every token through NextXmlToken (SXmlParseState::tokensOnly).
template <bool kTokensOnly>
[[gnu::always_inline]] inline EStartTag ReadStartTag(SXmlNodeData* node, SXmlParseState& state, const char*& cursor) {
    const char* const textEnd = state.end;
    const bool declaration = IsDeclaration(node);
    for (;;) {
        // The usual attribute, name="value", and the usual ends, '>' and
        // "/>", read in one go: anything else goes the long way below, from
        // the same place.
        if (!declaration && !kTokensOnly) {
            const char* p = cursor;
            while (IsXmlSpace(*p)) ++p;
            if (IsPlainStart(*p)) {
                // The name ends where a text token would, as '=' is one of its stops.
                const char* equals = SkipPlainBytes(p + 1, textEnd);
                const char quote = *equals == '=' ? equals[1] : '\0';
                if (quote == '"' || quote == '\'') {
                    const char* value = equals + 2;
                    // The quote as a constant: the scan need not wait for its byte.
                    const char* close = quote == '"' ? xml_scan::SkipValue(value, textEnd, '"')
                                                     : xml_scan::SkipValue(value, textEnd, '\'');
                    if (*close == quote) {
                        const auto length = static_cast<std::size_t>(close - value);
                        char* storedName = StoreNameInline(p, static_cast<std::size_t>(equals - p), state);
                        AddAttribute(node, state, storedName, StorePlainValue(value, length, state));
                        cursor = close + 1;
                        continue;
                    }
                    // A reference, a multi-byte character, or a quote that
                    // isn't closed: the quoted scan decides.
                    const SXmlToken token = ScanXmlQuoted(cursor, textEnd, equals + 1);
                    if (!StoreAttribute(node, state, p, static_cast<std::size_t>(equals - p), token))
                        return StartTagFailed;
                    continue;
                }
            } else if (*p == '>') {
                cursor = p + 1;
                state.pendingText = cursor;
                return StartTagOpen;
            } else if (*p == '/' && p[1] == '>') {
                cursor = p + 2;
                state.pendingText = cursor;
                return StartTagClosed;
            }
        }

        // Expecting a name; most often a plain character begins it.
        const char* at = cursor;
        if (IsXmlSpace(*at)) ++at;
        SXmlToken token = !kTokensOnly && IsPlainStart(*at) ? ScanXmlText(cursor, textEnd, at, at + 1)
                                                                  : NextXmlToken(cursor, textEnd);
        if (token.kind == TokenTagClose || token.kind == TokenShortClose) {
            state.pendingText = cursor;
            return token.kind == TokenTagClose ? StartTagOpen : StartTagClosed;
        }
        if (token.kind == TokenEnd) return StartTagAtEnd;
        if (token.kind != TokenText) {
            state.error = XmlUnexpectedToken;
            return StartTagFailed;
        }
        const char* name = token.start;
        std::size_t nameLength = token.length;

        // Expecting '='; a name that another follows had no value.
        for (;;) {
            if (*cursor == '=') {
                ++cursor;
                break;
            }
            token = NextXmlToken(cursor, textEnd);
            if (token.kind == TokenEquals) break;
            if (token.kind == TokenText) {
                StoreBareAttribute(node, state, name, nameLength);
                name = token.start;
                nameLength = token.length;
                continue;
            }
            if (token.kind == TokenTagClose || token.kind == TokenShortClose) {
                state.pendingText = cursor;
                bool closes = token.kind == TokenShortClose;
                // The "?" of a declaration's "?>". At the top level the
                // declaration stays open and holds the rest of the document.
                if (IsDeclaration(node) && name[nameLength - 1] == '?') {
                    --nameLength;
                    if (node->parent != nullptr && node->parent->parent != nullptr) closes = true;
                }
                if (nameLength != 0) StoreBareAttribute(node, state, name, nameLength);
                return closes ? StartTagClosed : StartTagOpen;
            }
            if (token.kind == TokenEnd) return StartTagAtEnd;
            state.error = XmlUnexpectedToken;
            return StartTagFailed;
        }

        // Expecting a value.
        const char c = *cursor;
        token = c == '"' || c == '\'' ? ScanXmlQuoted(cursor, textEnd, cursor) : NextXmlToken(cursor, textEnd);
        if (token.kind == TokenEnd) return StartTagAtEnd;
        if (token.kind != TokenText && token.kind != TokenQuoted) {
            state.error = XmlUnexpectedToken;
            return StartTagFailed;
        }
        if (!StoreAttribute(node, state, name, nameLength, token)) return StartTagFailed;
    }
}

// The text ended inside `node`.
[[gnu::noinline]] bool EndOfText(SXmlNodeData* node, SXmlParseState& state) {
    if (!IsDeclaration(node) && node->parent != nullptr) {
        state.error = XmlMissingEndTag;
        state.missingEndTag = state.cursor;
        state.unclosed = node;
        state.mismatchedEndTag.clear();
    }
    StorePendingText(state, state.cursor);
    return false;
}

}  // namespace

char* StoreName(const char* text, std::size_t length, SXmlParseState& state) {
    return StoreNameInline(text, length, state);
}

char* DecodeEntities(const char* text, std::size_t length, SXmlParseState& state) {
    return DecodeCopy(text, length, state);
}

namespace {

template <bool kTokensOnly>
bool ParseTree(SXmlNodeData* top, SXmlParseState& state) {
    // One loop for the whole subtree: opening a child descends into it, and
    // an element that ends hands control back to its parent, which every
    // record knows. So the nesting of a document costs no stack.
    // state.cursor is brought up to date before anything that reads it, and
    // before every return.
    SXmlNodeData* node = top;
    const char* cursor = state.cursor;
    const char* const textEnd = state.end;
    bool entering = true;  // `node` was just opened: its start tag comes first
    for (;;) {
        // Set when `node` is complete; false from a failure stops everything,
        // as no element around it has more to do then.
        bool complete = false;
        if (entering) {
            entering = false;
            if (state.atStart) {
                state.atStart = false;  // the top level: no start tag to read
            } else {
                const EStartTag end = ReadStartTag<kTokensOnly>(node, state, cursor);
                state.cursor = cursor;
                if (end == StartTagFailed) return false;
                if (end == StartTagAtEnd) return EndOfText(node, state);
                if (end == StartTagClosed) complete = true;
            }
        }

        // The content. Outside a tag only a '<' and the end of the text count;
        // everything else (words, quotes, '=', '>') is pending text. Every
        // token there ends before a '<' that begins a character, so the search
        // for the next one can skip the tokens.
        while (!complete && !entering) {
            const char* before = cursor;
            const char* at = SkipSpaceBytes(cursor, textEnd);
            if (*at != '<' && *at != '\0') {
                at = FindMark(at, textEnd);
            } else if (state.pendingText == before) {
                state.pendingText = nullptr;  // only white space since the last tag: nothing to store
            }
            SXmlToken token;
            if (kTokensOnly) {
                cursor = at;
                token = NextXmlToken(cursor, textEnd);
            } else if (at[0] == '<' && kTagNameStarts[static_cast<unsigned char>(at[1])]) {
                // The usual: a start tag with its name right behind the '<'.
                cursor = at + 1;
                token = SXmlToken{TokenTagStart, at, 1, nullptr};
            } else if (at[0] == '<' && at[1] == '/') {
                cursor = at + 2;
                token = SXmlToken{TokenTagEnd, at, 2, nullptr};
            } else {
                cursor = at;
                token = NextXmlToken(cursor, textEnd);
            }
            switch (token.kind) {
                case TokenEnd:
                    state.cursor = cursor;
                    return EndOfText(node, state);

                case TokenTagStart:
                case TokenDeclarationStart: {
                    if (!StorePendingText(state, token.start)) {
                        state.cursor = cursor;
                        return false;
                    }
                    at = cursor;
                    const SXmlToken name = !kTokensOnly && IsPlainStart(*at)
                                               ? ScanXmlText(cursor, textEnd, at, at + 1)
                                               : NextXmlToken(cursor, textEnd);
                    state.cursor = cursor;
                    if (name.kind != TokenText) {
                        state.error = XmlMissingTagName;
                        return false;
                    }
                    if (state.depth >= kXmlMaxDepth) {
                        state.error = XmlTooDeep;
                        state.cursor = token.start;
                        return false;
                    }
                    node = OpenChild(node, state, token, name);
                    ++state.depth;
                    entering = true;
                    break;
                }

                case TokenTagEnd: {
                    if (!StorePendingText(state, token.start)) {
                        state.cursor = cursor;
                        return false;
                    }
                    // The usual: the open element's name as it was written, then '>'.
                    const std::size_t length = NameLength(node);
                    if (!kTokensOnly && length != 0 && static_cast<std::size_t>(textEnd - cursor) > length &&
                        cursor[length] == '>' &&
                        node->name[length - 1] != '/' && XmlSameBytes(node->name, cursor, length)) {
                        cursor += length + 1;
                        state.cursor = cursor;
                        state.pendingText = cursor;
                        complete = true;
                        break;
                    }
                    const SXmlToken name = NextXmlToken(cursor, textEnd);
                    const bool closed = name.kind == TokenText && NextXmlToken(cursor, textEnd).kind == TokenTagClose;
                    state.cursor = cursor;
                    if (!closed) {
                        state.error = XmlMissingEndTagName;
                        return false;
                    }
                    state.pendingText = cursor;
                    if (!NameMatches(node, name.start, name.length)) {
                        state.error = XmlMissingEndTag;
                        state.missingEndTag = cursor;
                        state.endTag = name.start;
                        state.endTagLength = static_cast<std::uint32_t>(name.length);
                        state.unclosed = node;
                        state.mismatchedEndTag.assign(name.start, name.length);
                    }
                    complete = true;
                    break;
                }

                case TokenClear: {
                    state.cursor = cursor;
                    if (!StorePendingText(state, token.start)) return false;
                    const bool read = ReadClear(state, token.mark);
                    cursor = state.cursor;
                    if (!read) return false;
                    break;
                }

                default:
                    break;  // not reached: only marks begin with '<'
            }
        }
        if (entering) continue;

        // `node` is complete: its content goes into its record, and control
        // back to its parent, which an end tag that didn't match may close
        // too, up to the element it names; the top node has none to offer.
        state.content.EndInline(node);
        while (complete) {
            if (node == top) return true;
            node = node->parent;
            --state.depth;
            cursor = state.cursor;
            complete = false;
            if (state.endTagLength != 0) {
                if (node->name == nullptr) {
                    state.error = XmlUnmatchedEndTag;
                    state.unclosed = nullptr;
                    return false;
                }
                if (NameMatches(node, state.endTag, state.endTagLength)) state.endTagLength = 0;
                state.content.End(node);
                complete = true;
            }
        }
    }
}

}  // namespace

bool ParseElement(SXmlNodeData* top, SXmlParseState& state) {
    state.content.Begin(top);
    // The fast paths are compiled out of the reading by tokens alone.
    const bool complete = state.tokensOnly ? ParseTree<true>(top, state) : ParseTree<false>(top, state);
    // Elements still open where the reading stopped keep what they hold.
    while (state.content.AnyOpen()) state.content.End(state.content.Innermost());
    return complete;
}

void XmlLocate(const char* text, const char* target, std::int32_t& line, std::int32_t& column) noexcept {
    std::int64_t lines = 1, columns = 1;
    for (const char* p = text; p < target && *p != '\0'; p = XmlNextChar(p)) {
        if (*p == '\n') {
            ++lines;
            columns = 1;
        } else {
            ++columns;
        }
    }
    line = static_cast<std::int32_t>(lines < INT32_MAX ? lines : INT32_MAX);
    column = static_cast<std::int32_t>(columns < INT32_MAX ? columns : INT32_MAX);
}

}  // namespace ZEM
