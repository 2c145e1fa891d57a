// The record behind an XMLNode, and the building steps on it. Only the node
// model and the parser include this header.
//
// All memory of a tree (records, strings, finished arrays) comes from one
// CXmlArena. The parser gives each element its arrays once, back to back in
// one exact block (xml_content.h). An element built or changed through
// XMLNode gets its arrays apart and grows them in fixed steps, the first
// step in a block that the arena recycles from element to element, later
// ones on the heap; when it is finished they move into the arena at their
// exact sizes.
#pragma once

#include <cstddef>
#include <array>
#include <climits>
#include <cstdint>

#include "xml/xml_arena.h"
#include "xml/xml_node.h"

namespace ZEM {

struct SXmlAttribute {
    char* name;
    char* value;  // null: written without '='
};

struct SXmlClear {
    char* text;           // never empty
    const char* openTag;  // both point into the clear table, not owned
    const char* closeTag;
};

// Kinds of an `order` entry; the entry is index * 4 + kind.
enum EXmlOrderKind : std::uint32_t {
    XmlOrderChild = 0,
    XmlOrderText = 2,
    XmlOrderClear = 3,
};

constexpr int kXmlArrayStep = 50;
constexpr int kXmlOrderStep = 150;

struct SXmlNodeData;

// The arrays of a record that is built or changed through XMLNode, each on
// its own so that it can grow.
struct SXmlSplitArrays {
    SXmlNodeData** children;  // each entry holds one reference
    char** texts;
    SXmlClear* clears;
    SXmlAttribute* attributes;
    std::uint32_t* order;
    // One bit per array (children, texts, clears, attributes, order, from
    // bit 0), set while the array is still growing, behind a header of its own.
    std::uint8_t heapArrays;
};

// How a record keeps its arrays (SXmlNodeData::layout). The parser gives a
// record one block: attributes, children, texts, clear sections and, unless
// a shared table serves, the order, back to back. A record that XMLNode
// builds on or adds to holds an SXmlSplitArrays instead.
enum EXmlLayout : std::uint8_t {
    XmlLayoutPacked,       // the order is the last part of the block
    XmlLayoutChildOrder,   // the order is kXmlChildOrder
    XmlLayoutTextOrder,    // the order is kXmlTextOrder
    XmlLayoutSplit,
};

// 56 bytes: a document holds one per element, and most of a tree's memory is
// these records. The length of the name sits in front of its characters
// (CXmlArena::CopyName), and the layout and the declaration flag in the low
// bits of the content's address, which the arena aligns to 8.
struct SXmlNodeData {
    char* name;            // null for the document's top node
    SXmlNodeData* parent;  // not counted; null for a top node and once the parent is gone
    CXmlArena* arena;
    // The block or the SXmlSplitArrays, as the layout says; null without
    // entries. Bits 0-1: the EXmlLayout; bit 2: a declaration ("<?...").
    std::uintptr_t content;
    std::int32_t childCount;
    std::int32_t textCount;
    std::int32_t clearCount;
    std::int32_t attributeCount;
    std::int32_t refCount;
    std::int32_t sourceOffset;  // of the element's '<'; -1 if unknown
};
static_assert(sizeof(void*) != 8 || sizeof(SXmlNodeData) == 56, "a node record should stay at 56 bytes");

namespace xml_detail {

constexpr std::uintptr_t kXmlLayoutBits = 3;
constexpr std::uintptr_t kXmlDeclarationBit = 4;

inline EXmlLayout Layout(const SXmlNodeData* node) noexcept {
    return static_cast<EXmlLayout>(node->content & kXmlLayoutBits);
}
inline bool IsDeclaration(const SXmlNodeData* node) noexcept { return (node->content & kXmlDeclarationBit) != 0; }
inline void* Content(const SXmlNodeData* node) noexcept {
    return reinterpret_cast<void*>(node->content & ~(kXmlLayoutBits | kXmlDeclarationBit));
}
// New content and layout; the declaration flag stays.
inline void SetContent(SXmlNodeData* node, void* content, EXmlLayout layout) noexcept {
    node->content = reinterpret_cast<std::uintptr_t>(content) | layout | (node->content & kXmlDeclarationBit);
}
// The length of the element's name, 0 for the top node.
inline std::uint32_t NameLength(const SXmlNodeData* node) noexcept {
    return node->name != nullptr ? CXmlArena::NameLength(node->name) : 0;
}

// Beyond this an order entry (index * 4 + kind) would not fit in 32 bits.
constexpr std::int32_t kXmlMaxEntries = (INT32_MAX / 4) - kXmlOrderStep;

// The order of an element that holds only children, or only texts, is the
// same for every such element of that size: up to this size the record points
// at one of two shared tables instead of an array of its own. A shared table
// is never written; removing an entry from such an element leaves the order
// of the rest as it is.
constexpr int kXmlSharedOrderSize = 64;
extern const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlChildOrder;
extern const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlTextOrder;
inline bool IsSharedOrder(const std::uint32_t* order) noexcept {
    const auto at = reinterpret_cast<std::uintptr_t>(order);
    const auto within = [at](const std::array<std::uint32_t, kXmlSharedOrderSize>& table) {
        const auto first = reinterpret_cast<std::uintptr_t>(table.data());
        return at >= first && at < first + sizeof table;
    };
    return within(kXmlChildOrder) || within(kXmlTextOrder);
}

// The arrays of a record, whatever its layout.
inline SXmlSplitArrays* Split(const SXmlNodeData* node) noexcept {
    return static_cast<SXmlSplitArrays*>(Content(node));
}
inline SXmlAttribute* Attributes(const SXmlNodeData* node) noexcept {
    if (Layout(node) == XmlLayoutSplit) return Split(node)->attributes;
    return static_cast<SXmlAttribute*>(Content(node));
}
inline SXmlNodeData** Children(const SXmlNodeData* node) noexcept {
    if (Layout(node) == XmlLayoutSplit) return Split(node)->children;
    return reinterpret_cast<SXmlNodeData**>(static_cast<char*>(Content(node)) +
                                            static_cast<std::size_t>(node->attributeCount) * sizeof(SXmlAttribute));
}
inline char** Texts(const SXmlNodeData* node) noexcept {
    if (Layout(node) == XmlLayoutSplit) return Split(node)->texts;
    return reinterpret_cast<char**>(Children(node) + node->childCount);
}
inline SXmlClear* Clears(const SXmlNodeData* node) noexcept {
    if (Layout(node) == XmlLayoutSplit) return Split(node)->clears;
    return reinterpret_cast<SXmlClear*>(Texts(node) + node->textCount);
}
inline std::uint32_t* Order(const SXmlNodeData* node) noexcept {
    switch (Layout(node)) {
        case XmlLayoutSplit: return Split(node)->order;
        case XmlLayoutChildOrder: return const_cast<std::uint32_t*>(kXmlChildOrder.data());
        case XmlLayoutTextOrder: return const_cast<std::uint32_t*>(kXmlTextOrder.data());
        default: return reinterpret_cast<std::uint32_t*>(Clears(node) + node->clearCount);
    }
}

// The record's arrays, each on its own from now on, ready to grow: a packed
// record gets an SXmlSplitArrays that points into its block. Throws
// std::bad_alloc and leaves the record as it was when memory runs out.
SXmlSplitArrays& MakeSplit(SXmlNodeData* node);
inline SXmlSplitArrays& Arrays(SXmlNodeData* node) {
    return Layout(node) == XmlLayoutSplit ? *Split(node) : MakeSplit(node);
}

// The arrays of a record, in the order of their bits in heapArrays.
enum EXmlArrayKind { XmlArrayChildren, XmlArrayTexts, XmlArrayClears, XmlArrayAttributes, XmlArrayOrder };

// The header in front of a growing array. Its first step comes from the
// arena's recycled blocks (an element that finishes gives its blocks back for
// the next one), anything larger from the heap.
struct SXmlGrowing {
    std::int32_t capacity;  // entries the array may hold: the step count, rounded up
    std::int32_t reserved;  // entries the block behind it has room for
    std::int32_t recycled;  // 1: a first-step block of the arena
    std::int32_t unused;
};

// Room for one more entry in array `kind`, which has none: a growing array
// gets a step more (50, 150 for order); a finished one, exact in the arena,
// or none at all starts to grow again. Returns the array. Throws
// std::bad_alloc and leaves the array as it was when memory runs out.
void* GrowArray(SXmlNodeData* node, void* array, std::int32_t count, int kind, std::size_t entrySize);

template <class T>
[[gnu::always_inline]] inline void MakeRoom(SXmlNodeData* node, T*& array, std::int32_t count, int kind) {
    const auto bit = static_cast<std::uint8_t>(1u << kind);
    std::uint8_t& heapArrays = Split(node)->heapArrays;
    if ((heapArrays & bit) != 0) {
        if (count < (reinterpret_cast<SXmlGrowing*>(array) - 1)->capacity) return;
    } else if (count == 0) {
        // The usual start: the first step in a block that a finished element gave back.
        if (void* block = node->arena->TakeRecycled(kind)) {
            auto* header = static_cast<SXmlGrowing*>(block);
            header->capacity = header->reserved = kind == XmlArrayOrder ? kXmlOrderStep : kXmlArrayStep;
            header->recycled = 1;
            array = reinterpret_cast<T*>(header + 1);
            heapArrays |= bit;
            return;
        }
    }
    array = static_cast<T*>(GrowArray(node, array, count, kind, sizeof(T)));
}

inline std::int32_t OrderCount(const SXmlNodeData* node) {
    return node->childCount + node->textCount + node->clearCount;
}

// A new record with refCount 1, in `arena`. `name` must already live there,
// made by CopyName (or be null). The record isn't added to the
// parent's children, and its one reference isn't a handle yet (AppendChild
// gives it to the parent's array).
inline SXmlNodeData* NewRecord(CXmlArena* arena, char* name, SXmlNodeData* parent, bool isDeclaration) {
    auto* node = static_cast<SXmlNodeData*>(arena->Allocate(sizeof(SXmlNodeData)));
    // Field by field: cheaper than clearing the record first.
    node->name = name;
    node->childCount = 0;
    node->textCount = 0;
    node->clearCount = 0;
    node->attributeCount = 0;
    node->parent = parent;
    node->content = std::uintptr_t{XmlLayoutPacked} | (isDeclaration ? kXmlDeclarationBit : 0);
    node->refCount = 1;
    node->sourceOffset = -1;
    node->arena = arena;
    arena->AddRecord();
    return node;
}

// Appends; the strings must live in the node's arena. Throw std::bad_alloc
// and leave the node unchanged when memory runs out.
inline SXmlNodeData* AppendChild(SXmlNodeData* node, char* name, bool isDeclaration) {
    SXmlSplitArrays& arrays = Arrays(node);
    MakeRoom(node, arrays.children, node->childCount, XmlArrayChildren);
    MakeRoom(node, arrays.order, OrderCount(node), XmlArrayOrder);
    SXmlNodeData* child = NewRecord(node->arena, name, node, isDeclaration);
    arrays.order[OrderCount(node)] = static_cast<std::uint32_t>(node->childCount) * 4 + XmlOrderChild;
    arrays.children[node->childCount++] = child;
    return child;
}

inline void AppendAttribute(SXmlNodeData* node, char* name, char* value) {
    SXmlSplitArrays& arrays = Arrays(node);
    MakeRoom(node, arrays.attributes, node->attributeCount, XmlArrayAttributes);
    arrays.attributes[node->attributeCount++] = SXmlAttribute{name, value};
}

inline void AppendText(SXmlNodeData* node, char* text) {
    SXmlSplitArrays& arrays = Arrays(node);
    MakeRoom(node, arrays.texts, node->textCount, XmlArrayTexts);
    MakeRoom(node, arrays.order, OrderCount(node), XmlArrayOrder);
    arrays.order[OrderCount(node)] = static_cast<std::uint32_t>(node->textCount) * 4 + XmlOrderText;
    arrays.texts[node->textCount++] = text;
}

void AppendClear(SXmlNodeData* node, char* text, const SXmlClearMark* mark);
void RemoveClearAt(SXmlNodeData* node, int index);

// Moves the growing arrays into the arena at their exact sizes.
void ShrinkArrays(SXmlNodeData* node);
inline void ShrinkRecord(SXmlNodeData* node) {
    if (Layout(node) == XmlLayoutSplit && Split(node)->heapArrays != 0) ShrinkArrays(node);
}

// A handle more on the record.
inline void Retain(SXmlNodeData* node) noexcept {
    ++node->refCount;
    node->arena->AddHandle();
}
// A handle less: lowers the count and destroys the record, and children left
// without a reference, when it reaches 0.
void ReleaseLast(SXmlNodeData* node) noexcept;
inline void Release(SXmlNodeData* node) noexcept {
    // Most handles are copies from look-ups, whose record lives on in its parent.
    if (node->refCount > 1) {
        --node->refCount;
        node->arena->DropHandle();
        return;
    }
    ReleaseLast(node);
}

}  // namespace xml_detail

}  // namespace ZEM
