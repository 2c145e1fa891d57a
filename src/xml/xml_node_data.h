// The record behind an XMLNode. Only the node model and the parser include
// this header.
//
// All memory of a tree (records, strings, arrays) comes from one CXmlArena.
// The parser gives each element its arrays once, when the element ends, back
// to back in one exact block (xml_content.h); a finished tree is not changed.
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

// How a record keeps its arrays (bits 0-1 of SXmlNodeData::content): one block holding
// attributes, children, texts, clear sections and, unless a shared table
// serves, the order, back to back.
enum EXmlLayout : std::uint8_t {
    XmlLayoutPacked,       // the order is the last part of the block
    XmlLayoutChildOrder,   // the order is kXmlChildOrder
    XmlLayoutTextOrder,    // the order is kXmlTextOrder
};

// 56 bytes: a document holds one per element, and most of a tree's memory is
// these records. The length of the name sits in front of its characters
// (CXmlArena::CopyName), and the layout and the declaration flag in the low
// bits of the content's address, which the arena aligns to 8.
struct SXmlNodeData {
    char* name;            // null for the document's top node
    SXmlNodeData* parent;  // not counted; null for a top node and once the parent is gone
    CXmlArena* arena;
    // The block; null without entries. Bits 0-1: the EXmlLayout; bit 2: a
    // declaration ("<?...").
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
constexpr std::int32_t kXmlMaxEntries = INT32_MAX / 4;

// The order of an element that holds only children, or only texts, is the
// same for every such element of that size: up to this size the record points
// at one of two shared tables instead of an array of its own.
constexpr int kXmlSharedOrderSize = 64;
extern const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlChildOrder;
extern const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlTextOrder;

// The arrays of a record, found from its counts.
inline SXmlAttribute* Attributes(const SXmlNodeData* node) noexcept {
    return static_cast<SXmlAttribute*>(Content(node));
}
inline SXmlNodeData** Children(const SXmlNodeData* node) noexcept {
    return reinterpret_cast<SXmlNodeData**>(static_cast<char*>(Content(node)) +
                                            static_cast<std::size_t>(node->attributeCount) * sizeof(SXmlAttribute));
}
inline char** Texts(const SXmlNodeData* node) noexcept {
    return reinterpret_cast<char**>(Children(node) + node->childCount);
}
inline SXmlClear* Clears(const SXmlNodeData* node) noexcept {
    return reinterpret_cast<SXmlClear*>(Texts(node) + node->textCount);
}
inline const std::uint32_t* Order(const SXmlNodeData* node) noexcept {
    switch (Layout(node)) {
        case XmlLayoutChildOrder: return kXmlChildOrder.data();
        case XmlLayoutTextOrder: return kXmlTextOrder.data();
        default: return reinterpret_cast<const std::uint32_t*>(Clears(node) + node->clearCount);
    }
}

// A new record with refCount 1, in `arena`. `name` must already live there,
// made by CopyName (or be null). The record isn't added to the
// parent's children: its one reference is the parent's entry, which the
// parser makes, or the handle of a tree's top node.
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
