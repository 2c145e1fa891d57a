// XMLNode: a reference-counted handle on one element of a parsed document.
// A null handle is the empty node, which every failed look-up returns, so
// look-ups chain without checks. Names compare without regard to ASCII case.
// A tree belongs to one thread at a time.
#pragma once

#include <cstdint>

namespace ZEM {

struct SXmlNodeData;

// One entry of the clear table (comment, CDATA, DOCTYPE, PRE): its marks.
struct SXmlClearMark {
    const char* open;
    int openLength;
    const char* close;
};

class XMLNode {
public:
    XMLNode() noexcept = default;  // the empty node
    XMLNode(const XMLNode& other) noexcept;
    XMLNode(XMLNode&& other) noexcept;
    XMLNode& operator=(const XMLNode& other) noexcept;
    XMLNode& operator=(XMLNode&& other) noexcept;
    ~XMLNode();

    bool IsEmpty() const noexcept { return data_ == nullptr; }
    // The element's name as written; null on the empty node and the top node.
    const char* Name() const noexcept;

    // Number of direct children called `name`; 0 on the empty node.
    int ChildCount(const char* name) const noexcept;
    // The first child called `name` at or after *position (0 if null); on a hit
    // *position moves behind it. The empty node if there is none.
    XMLNode NextChild(const char* name, std::int32_t* position = nullptr) const noexcept;
    // The child numbered `position` among those called `name`; negative gives
    // the last one.
    XMLNode ChildAt(const char* name, std::int32_t position) const noexcept;
    // The value of the attribute `name`, searched like NextChild; null if there
    // is none or it was written without '='.
    const char* AttributeValue(const char* name, std::int32_t* position = nullptr) const noexcept;
    // The text piece `index`, or null.
    const char* Text(std::int32_t index = 0) const noexcept;

    // The whole content, for tools that show a tree as it was parsed.
    int ChildCount() const noexcept;
    XMLNode ChildAtIndex(int index) const noexcept;
    int AttributeCount() const noexcept;
    const char* AttributeNameAt(int index) const noexcept;
    const char* AttributeValueAt(int index) const noexcept;  // null: written without '='
    int TextCount() const noexcept;
    int ClearCount() const noexcept;
    // Byte offset of the element's '<' in the parsed text; -1 if unknown. Not
    // used by the readers: it serves tools that report positions.
    std::int32_t SourceOffset() const noexcept;

    // A new tree: its nameless top node, for the parser to build below.
    // Throws std::bad_alloc.
    static XMLNode CreateTop();
    SXmlNodeData* Data() const noexcept { return data_; }

private:
    explicit XMLNode(SXmlNodeData* data) noexcept : data_(data) {}
    SXmlNodeData* data_ = nullptr;
};

// The one empty node that look-ups copy.
const XMLNode& EmptyXmlNode() noexcept;

}  // namespace ZEM
