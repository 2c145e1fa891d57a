// The content of the elements that the parser has open: attributes, children,
// texts and clear sections, on one stack shared by all open elements, in the
// order in which they were read. An element's entries follow those of its
// ancestors, so when it ends they are the top of the stack and leave for one
// exact block of the tree's arena. While an element is open its record counts
// its entries of each kind, and its content field holds where they begin.
// Only the parser uses this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "xml/xml_node_data.h"

namespace ZEM {

// One entry of an open element, 16 bytes. An attribute is its name and value
// (the same bytes as an SXmlAttribute); the attributes of an element come
// before anything else of it, so its count tells them apart. Any other entry
// is the child, text or clear text, and its order kind in the low bits of
// `second`, above which a clear section keeps its mark.
struct SXmlOpenEntry {
    char* first;
    std::uintptr_t second;
};

class CXmlOpenContent {
public:
    CXmlOpenContent() = default;
    CXmlOpenContent(const CXmlOpenContent&) = delete;
    CXmlOpenContent& operator=(const CXmlOpenContent&) = delete;

    // `node` opens; its entries go on top of its parent's.
    void Begin(SXmlNodeData* node) noexcept {
        node->content |= static_cast<std::uintptr_t>(top_ - base_) << kStartShift;
        innermost_ = node;
        ++open_;
    }

    // The element that opened last and hasn't ended; null when none is open.
    SXmlNodeData* Innermost() const noexcept { return innermost_; }
    bool AnyOpen() const noexcept { return open_ != 0; }

    // Of `node`, the innermost element.
    void AddAttribute(SXmlNodeData* node, char* name, char* value) {
        Push(name, reinterpret_cast<std::uintptr_t>(value));
        ++node->attributeCount;
    }
    void AddChild(SXmlNodeData* node, SXmlNodeData* child) {
        Push(reinterpret_cast<char*>(child), XmlOrderChild);
        ++node->childCount;
    }
    void AddText(SXmlNodeData* node, char* text) {
        Push(text, XmlOrderText);
        ++node->textCount;
    }
    void AddClear(SXmlNodeData* node, char* text, const SXmlClearMark* mark) {
        Push(text, reinterpret_cast<std::uintptr_t>(mark) | XmlOrderClear);
        ++node->clearCount;
    }

    // The entry `back` places from the top (1: the last).
    SXmlOpenEntry& FromEnd(std::uint32_t back) noexcept { return top_[-static_cast<std::ptrdiff_t>(back)]; }
    static std::uint32_t Kind(const SXmlOpenEntry& entry) noexcept {
        return static_cast<std::uint32_t>(entry.second & 3);
    }
    static const SXmlClearMark* Mark(const SXmlOpenEntry& entry) noexcept {
        return reinterpret_cast<const SXmlClearMark*>(entry.second & ~std::uintptr_t{3});
    }
    // Drops the last entry of `node`, which is a clear section.
    void DropLastClear(SXmlNodeData* node) noexcept {
        --top_;
        --node->clearCount;
    }

    // The innermost element ends: its entries move into its record, in one
    // exact block of the arena; an order that the shared tables hold costs no
    // room in it. Throws std::bad_alloc and leaves everything as it was when
    // memory runs out. EndInline is the same, for the parsing loop.
    void End(SXmlNodeData* node);
    void EndInline(SXmlNodeData* node);

private:
    // Bits 0-2 of an open record's content keep the layout and the
    // declaration flag; the index of its first entry sits above them.
    static constexpr int kStartShift = 3;
    static constexpr std::size_t kInline = 64;

    void Push(char* first, std::uintptr_t second) {
        if (top_ == limit_) Grow();
        top_->first = first;
        top_->second = second;
        ++top_;
    }
    void Grow();

    SXmlOpenEntry* base_ = inline_;
    SXmlOpenEntry* top_ = inline_;
    SXmlOpenEntry* limit_ = inline_ + kInline;
    SXmlNodeData* innermost_ = nullptr;
    std::size_t open_ = 0;
    std::unique_ptr<SXmlOpenEntry[]> heap_;
    SXmlOpenEntry inline_[kInline];
};

[[gnu::always_inline]] inline void CXmlOpenContent::EndInline(SXmlNodeData* node) {
    SXmlOpenEntry* const first = base_ + (node->content >> kStartShift);
    const auto attributes = static_cast<std::uint32_t>(node->attributeCount);
    const auto children = static_cast<std::uint32_t>(node->childCount);
    const auto texts = static_cast<std::uint32_t>(node->textCount);
    const auto clears = static_cast<std::uint32_t>(node->clearCount);
    const std::size_t entries = static_cast<std::size_t>(top_ - first) - attributes;
    // Beyond this an order entry (index * 4 + kind) would not fit its 32 bits.
    if (entries > static_cast<std::size_t>(xml_detail::kXmlMaxEntries)) throw std::bad_alloc();

    EXmlLayout layout = XmlLayoutPacked;
    if (clears == 0 && entries <= static_cast<std::uint32_t>(xml_detail::kXmlSharedOrderSize)) {
        if (texts == 0) layout = XmlLayoutChildOrder;
        else if (children == 0) layout = XmlLayoutTextOrder;
    }
    // The order array, of 4-byte entries, last.
    const std::size_t bytes = attributes * sizeof(SXmlAttribute) + (children + texts) * sizeof(char*) +
                              clears * sizeof(SXmlClear) +
                              (layout != XmlLayoutPacked ? 0 : entries * sizeof(std::uint32_t));
    char* place = bytes != 0 ? static_cast<char*>(node->arena->Allocate(bytes)) : nullptr;
    node->content &= xml_detail::kXmlDeclarationBit;
    xml_detail::SetContent(node, place, layout);
    if (attributes != 0) XmlCopyBytes(place, first, attributes * sizeof(SXmlAttribute));
    const SXmlOpenEntry* entry = first + attributes;
    auto** childOut = reinterpret_cast<SXmlNodeData**>(place + attributes * sizeof(SXmlAttribute));
    if (layout != XmlLayoutPacked) {
        // One kind only: children, or texts, in a row.
        auto** out = childOut;
        for (const SXmlOpenEntry* end = top_; entry != end; ++entry)
            *out++ = reinterpret_cast<SXmlNodeData*>(entry->first);
    } else {
        char** textOut = reinterpret_cast<char**>(childOut + children);
        auto* clearOut = reinterpret_cast<SXmlClear*>(textOut + texts);
        auto* orderOut = reinterpret_cast<std::uint32_t*>(clearOut + clears);
        std::uint32_t child = 0, text = 0, clear = 0;
        for (const SXmlOpenEntry* end = top_; entry != end; ++entry) {
            switch (Kind(*entry)) {
                case XmlOrderChild:
                    childOut[child] = reinterpret_cast<SXmlNodeData*>(entry->first);
                    *orderOut++ = child++ * 4 + XmlOrderChild;
                    break;
                case XmlOrderText:
                    textOut[text] = entry->first;
                    *orderOut++ = text++ * 4 + XmlOrderText;
                    break;
                default: {
                    const SXmlClearMark* mark = Mark(*entry);
                    clearOut[clear] = SXmlClear{entry->first, mark->open, mark->close};
                    *orderOut++ = clear++ * 4 + XmlOrderClear;
                    break;
                }
            }
        }
    }
    top_ = first;
    innermost_ = node->parent;
    --open_;
}

}  // namespace ZEM
