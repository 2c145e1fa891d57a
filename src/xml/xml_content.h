// The content of the elements that the parser has open: attributes, children,
// texts, clear sections and their order, on stacks shared by all open elements. An
// element's entries follow those of its ancestors, so when it ends they are
// the top of each stack and leave for one exact block of the tree's arena.
// Only the parser uses this; elements built through XMLNode grow their own arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "xml/xml_node_data.h"

namespace ZEM {

namespace xml_detail {

// A stack that keeps its room when it shrinks, for entries that come and go
// with each element. The first entries live in the stack itself, so a small
// document costs no allocation for them.
template <class T>
class CXmlStack {
public:
    CXmlStack() = default;
    CXmlStack(const CXmlStack&) = delete;
    CXmlStack& operator=(const CXmlStack&) = delete;

    std::uint32_t Size() const noexcept { return top_; }
    T* At(std::uint32_t index) noexcept { return items_ + index; }
    const T* At(std::uint32_t index) const noexcept { return items_ + index; }
    void Push(const T& item) {
        if (top_ == capacity_) Grow();
        items_[top_++] = item;
    }
    void Pop() noexcept { --top_; }
    void CutTo(std::uint32_t size) noexcept { top_ = size; }

private:
    static constexpr std::uint32_t kInline = 16;

    void Grow() {
        const std::uint32_t capacity = capacity_ * 2;
        std::unique_ptr<T[]> grown(new T[capacity]);
        std::memcpy(grown.get(), items_, static_cast<std::size_t>(top_) * sizeof(T));
        heap_ = std::move(grown);
        items_ = heap_.get();
        capacity_ = capacity;
    }

    T inline_[kInline];
    std::unique_ptr<T[]> heap_;
    T* items_ = inline_;
    std::uint32_t top_ = 0;
    std::uint32_t capacity_ = kInline;
};

// Copies `count` entries from `from` into `place` and moves `place` on.
template <class T>
inline void Place(const T* from, std::uint32_t count, char*& place) {
    if (count == 0) return;
    XmlCopyBytes(place, from, static_cast<std::size_t>(count) * sizeof(T));
    place += static_cast<std::size_t>(count) * sizeof(T);
}

}  // namespace xml_detail

class CXmlOpenContent {
public:
    // `node` opens; its entries go on top of its parent's.
    void Begin(SXmlNodeData* node) {
        starts_.Push(SStart{attributes_.Size(), children_.Size(), texts_.Size(), clears_.Size(), order_.Size()});
        innermost_ = node;
    }

    // The element that opened last and hasn't ended; null when none is open.
    SXmlNodeData* Innermost() const noexcept { return innermost_; }
    bool AnyOpen() const noexcept { return starts_.Size() != 0; }

    void AddAttribute(char* name, char* value) { attributes_.Push(SXmlAttribute{name, value}); }

    void AddChild(SXmlNodeData* child) {
        const std::uint32_t index = children_.Size() - Start().children;
        Append(index * 4 + XmlOrderChild);
        children_.Push(child);
    }

    void AddText(char* text) {
        const std::uint32_t index = texts_.Size() - Start().texts;
        Append(index * 4 + XmlOrderText);
        texts_.Push(text);
    }

    void AddClear(char* text, const SXmlClearMark* mark) {
        const std::uint32_t index = clears_.Size() - Start().clears;
        Append(index * 4 + XmlOrderClear);
        clears_.Push(SXmlClear{text, mark->open, mark->close});
    }

    // Of the innermost element.
    std::uint32_t TextCount() const { return texts_.Size() - Start().texts; }
    std::uint32_t ClearCount() const { return clears_.Size() - Start().clears; }
    // Its order entry `back` places from the end (1: the last).
    std::uint32_t OrderFromEnd(std::uint32_t back) const { return *order_.At(order_.Size() - back); }
    const SXmlClear& Clear(std::uint32_t index) const { return *clears_.At(Start().clears + index); }
    char*& Text(std::uint32_t index) { return *texts_.At(Start().texts + index); }
    // Drops its last entry, which is a clear section.
    void DropLastClear() noexcept {
        clears_.Pop();
        order_.Pop();
    }

    // The innermost element ends: its entries move into its record, in one
    // exact block of the arena; an order that the shared tables hold costs no
    // room in it. Throws std::bad_alloc and leaves everything as it was when
    // memory runs out. EndInline is the same, for the parsing loop.
    void End(SXmlNodeData* node);
    void EndInline(SXmlNodeData* node);

private:
    struct SStart {
        std::uint32_t attributes, children, texts, clears, order;
    };

    const SStart& Start() const noexcept { return *starts_.At(starts_.Size() - 1); }
    // An element holds no more than kXmlMaxEntries entries, so that an order
    // entry fits its 32 bits.
    void Append(std::uint32_t entry) {
        if (order_.Size() - Start().order >= static_cast<std::uint32_t>(xml_detail::kXmlMaxEntries))
            throw std::bad_alloc();
        order_.Push(entry);
    }

    xml_detail::CXmlStack<SXmlAttribute> attributes_;
    xml_detail::CXmlStack<SXmlNodeData*> children_;
    xml_detail::CXmlStack<char*> texts_;
    xml_detail::CXmlStack<SXmlClear> clears_;
    xml_detail::CXmlStack<std::uint32_t> order_;
    xml_detail::CXmlStack<SStart> starts_;
    SXmlNodeData* innermost_ = nullptr;
};

[[gnu::always_inline]] inline void CXmlOpenContent::EndInline(SXmlNodeData* node) {
    const SStart start = Start();
    const std::uint32_t attributes = attributes_.Size() - start.attributes;
    const std::uint32_t children = children_.Size() - start.children;
    const std::uint32_t texts = texts_.Size() - start.texts;
    const std::uint32_t clears = clears_.Size() - start.clears;
    const std::uint32_t entries = order_.Size() - start.order;

    EXmlLayout layout = XmlLayoutPacked;
    if (clears == 0 && entries <= static_cast<std::uint32_t>(xml_detail::kXmlSharedOrderSize)) {
        if (texts == 0) layout = XmlLayoutChildOrder;
        else if (children == 0) layout = XmlLayoutTextOrder;
    }
    // The order array, of 4-byte entries, last.
    const std::size_t bytes = attributes * sizeof(SXmlAttribute) + children * sizeof(SXmlNodeData*) +
                              texts * sizeof(char*) + clears * sizeof(SXmlClear) +
                              (layout != XmlLayoutPacked ? 0 : entries * sizeof(std::uint32_t));
    char* place = bytes != 0 ? static_cast<char*>(node->arena->Allocate(bytes)) : nullptr;
    xml_detail::SetContent(node, place, layout);
    xml_detail::Place(attributes_.At(start.attributes), attributes, place);
    xml_detail::Place(children_.At(start.children), children, place);
    xml_detail::Place(texts_.At(start.texts), texts, place);
    xml_detail::Place(clears_.At(start.clears), clears, place);
    if (layout == XmlLayoutPacked) xml_detail::Place(order_.At(start.order), entries, place);
    node->attributeCount = static_cast<std::int32_t>(attributes);
    node->childCount = static_cast<std::int32_t>(children);
    node->textCount = static_cast<std::int32_t>(texts);
    node->clearCount = static_cast<std::int32_t>(clears);

    attributes_.CutTo(start.attributes);
    children_.CutTo(start.children);
    texts_.CutTo(start.texts);
    clears_.CutTo(start.clears);
    order_.CutTo(start.order);
    starts_.Pop();
    innermost_ = node->parent;
}

}  // namespace ZEM
