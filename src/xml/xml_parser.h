// The forgiving single-pass parser behind ParseText: it turns zero-terminated
// UTF-8 into a tree of node records, walking down and up the tree it builds
// instead of recursing, so that no nesting can exhaust the stack. It
// never throws a parse error: it leaves a code in its state and unwinds by
// returning false. ParseText (xml_document.cpp) is its one caller.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/utf8.h"
#include "xml/xml_content.h"
#include "xml/xml_node_data.h"

namespace ZEM {

// The parser steps through text by the width of each character's lead byte.
inline constexpr const std::array<std::uint8_t, 256>& kXmlCharWidth = platform::kUtf8Width;

// The character after the one at `p`; a truncated character at the end of the
// text stops at the terminating zero instead of stepping over it.
inline const char* XmlNextChar(const char* p) noexcept {
    unsigned width = kXmlCharWidth[static_cast<unsigned char>(*p)];
    if (width <= 1) return p + width;
    unsigned step = 1;
    while (step < width && p[step] != '\0') ++step;
    return p + step;
}

// The clear marks, in the order in which they are tried.
enum EXmlClearKind { XmlClearCdata, XmlClearDoctype, XmlClearComment, XmlClearPre };
inline constexpr SXmlClearMark kXmlClearMarks[4] = {
    {"<![CDATA[", 9, "]]>"},
    {"<!DOCTYPE", 9, ">"},
    {"<!--", 4, "-->"},
    {"<PRE>", 5, "</PRE>"},
};
// A DOCTYPE with an internal subset ends at "]>" instead of ">".
inline constexpr SXmlClearMark kXmlDoctypeSubsetMark = {"<!DOCTYPE", 9, "]>"};

// The byte behind '<' that begins a declaration ("<?xml ...?>").
inline constexpr char kXmlDeclarationMark = '?';

// Bytes that, behind '<', may begin a clear mark: the second byte of each.
// The tokeniser tries the marks only behind these, and the parser's fast
// path for start tags takes none of them, nor the declaration's, for a name.
constexpr std::array<bool, 256> MakeXmlClearSeconds() {
    std::array<bool, 256> seconds{};
    for (const SXmlClearMark& mark : kXmlClearMarks) seconds[static_cast<unsigned char>(mark.open[1])] = true;
    return seconds;
}
inline constexpr std::array<bool, 256> kXmlClearSeconds = MakeXmlClearSeconds();

struct SXmlParseState {
    const char* text = nullptr;         // the whole input
    const char* end = nullptr;          // its terminating zero
    const char* pendingText = nullptr;  // start of the text not yet stored; null if none
    const char* cursor = nullptr;       // the next byte to read
    const char* missingEndTag = nullptr;  // where an end tag was found missing
    const SXmlNodeData* unclosed = nullptr;  // the element it was missing for
    std::string mismatchedEndTag;            // the end tag found instead; empty at the end of the text
    std::uint32_t error = 0;
    const char* endTag = nullptr;       // an end tag's name, in the input, looking for its element
    std::uint32_t endTagLength = 0;     // 0 when no end tag is looking
    bool atStart = false;               // the next ParseElement reads the top level
    // Every token through NextXmlToken alone, none by the fast paths beside
    // it: for the check that both read every input alike.
    bool tokensOnly = false;
    int depth = 0;                      // elements open below the top node
    CXmlArena* arena = nullptr;         // where decoded strings go
    // A text that comments have been merged into grows geometrically, so that
    // a long run of "x<!-- -->" stays linear.
    char* growingText = nullptr;
    std::size_t growingLength = 0;
    std::size_t growingCapacity = 0;
    // Element and attribute names stored lately, by a hash of their bytes: a
    // name written again shares the stored copy. A document repeats a few
    // names over and over.
    static constexpr int kNameSlots = 64;
    struct SStoredName {
        const char* text = nullptr;  // in the arena
        std::size_t length = 0;
    };
    SStoredName names[kNameSlots];
    // Short attribute values stored lately, the same way: an attribute value
    // is never written once stored, so elements may share one.
    static constexpr int kValueSlots = 128;
    SStoredName values[kValueSlots];
    // Attributes, children, texts and clear sections of the elements open now.
    CXmlOpenContent content;
};

// The name of `length` bytes at `text` as a string in state.arena: a copy
// made before for the same bytes, or a new one. Throws std::bad_alloc.
char* StoreName(const char* text, std::size_t length, SXmlParseState& state);

// Reads the content of `node`, with all its descendants, until the element
// ends. True: the element is complete. False: stop; state.error may hold the reason, or the text ended.
// Throws std::bad_alloc when memory runs out.
bool ParseElement(SXmlNodeData* node, SXmlParseState& state);

// The text with its entities and character references replaced, as a new
// string in state.arena; null with state.error set (12 or 13) if it holds a
// malformed or unknown one.
char* DecodeEntities(const char* text, std::size_t length, SXmlParseState& state);

// Line and column (from 1; a multi-byte character is one column) of `target`.
void XmlLocate(const char* text, const char* target, std::int32_t& line, std::int32_t& column) noexcept;

struct SXmlParseResult;

// ParseText with every token read by the tokeniser alone, the fast paths
// off. The tree and the outcome must be those of ParseText; a fuzz target
// holds the two against each other.
XMLNode ParseTextByTokens(const char* text, std::size_t length, const char* rootName, SXmlParseResult* result);

}  // namespace ZEM
