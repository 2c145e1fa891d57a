// The slow paths of building a tree and its release: arrays that grow in
// steps and are cut to their exact sizes when an element is finished, the
// removal of clear entries, and the destruction of records whose count has
// reached 0.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>

#include "xml/xml_node_data.h"

namespace ZEM::xml_detail {

namespace {

constexpr std::int32_t kMaxEntries = kXmlMaxEntries;

template <std::uint32_t Kind>
constexpr std::array<std::uint32_t, kXmlSharedOrderSize> MakeSharedOrder() {
    std::array<std::uint32_t, kXmlSharedOrderSize> order{};
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i * 4 + Kind;
    return order;
}

SXmlGrowing* HeaderOf(void* array) { return static_cast<SXmlGrowing*>(array) - 1; }

void LetGo(CXmlArena* arena, int kind, SXmlGrowing* header) noexcept {
    if (header->recycled != 0) {
        arena->Recycle(kind, header);
    } else {
        std::free(header);
        arena->DropHeapBlock();
    }
}

// Copies a growing array into its place in the exact block, and lets the
// growing one go.
template <class T>
void SettleArray(SXmlNodeData* node, T*& array, std::int32_t count, int kind, char*& place) {
    const auto bit = static_cast<std::uint8_t>(1u << kind);
    std::uint8_t& heapArrays = Split(node)->heapArrays;
    if ((heapArrays & bit) == 0) return;
    T* exact = nullptr;
    if (count != 0) {
        exact = reinterpret_cast<T*>(place);
        XmlCopyBytes(exact, array, static_cast<std::size_t>(count) * sizeof(T));
        place += static_cast<std::size_t>(count) * sizeof(T);
    }
    LetGo(node->arena, kind, HeaderOf(array));
    array = exact;
    heapArrays &= static_cast<std::uint8_t>(~bit);
}

template <class T>
std::size_t GrowingBytes(const SXmlNodeData* node, std::int32_t count, int kind) {
    return (Split(node)->heapArrays & (1u << kind)) != 0 ? static_cast<std::size_t>(count) * sizeof(T) : 0;
}

void FreeGrowing(SXmlNodeData* node, void* array, int kind) noexcept {
    if ((Split(node)->heapArrays & (1u << kind)) != 0) LetGo(node->arena, kind, HeaderOf(array));
}

void FreeHeapArrays(SXmlNodeData* node) noexcept {
    if (Layout(node) != XmlLayoutSplit || Split(node)->heapArrays == 0) return;
    const SXmlSplitArrays& arrays = *Split(node);
    FreeGrowing(node, arrays.children, XmlArrayChildren);
    FreeGrowing(node, arrays.texts, XmlArrayTexts);
    FreeGrowing(node, arrays.clears, XmlArrayClears);
    FreeGrowing(node, arrays.attributes, XmlArrayAttributes);
    FreeGrowing(node, arrays.order, XmlArrayOrder);
}

// Takes `size` bytes out of a packed record's block at `at`: what follows
// moves up, so every later array stays where the counts say it is.
void CutFromBlock(SXmlNodeData* node, void* at, std::size_t size) noexcept {
    char* const start = static_cast<char*>(at);
    char* end = reinterpret_cast<char*>(Clears(node) + node->clearCount);
    if (Layout(node) == XmlLayoutPacked) end += static_cast<std::size_t>(OrderCount(node)) * sizeof(std::uint32_t);
    std::memmove(start, start + size, static_cast<std::size_t>(end - start) - size);
}

// Removes the order entry `index * 4 + kind` and lowers the index of every
// later entry of that kind. `entries` is the count before the removal.
void RemoveOrder(std::uint32_t* order, std::int32_t entries, std::int32_t index, std::uint32_t kind) noexcept {
    if (IsSharedOrder(order)) return;
    const std::uint32_t wanted = static_cast<std::uint32_t>(index) * 4 + kind;
    std::int32_t at = entries - 1;
    while (at >= 0 && order[at] != wanted) --at;
    if (at < 0) return;
    for (std::int32_t i = at + 1; i < entries; ++i) {
        const std::uint32_t entry = order[i];
        order[i - 1] = (entry & 3) == kind ? entry - 4 : entry;
    }
}

// Step 1 of the release: the record leaves the children of its living parent.
void LeaveParent(SXmlNodeData* node) noexcept {
    SXmlNodeData* parent = node->parent;
    SXmlNodeData** children = Children(parent);
    std::int32_t at = parent->childCount - 1;
    while (at >= 0 && children[at] != node) --at;
    if (at < 0) return;
    const std::int32_t entries = OrderCount(parent);
    if (Layout(parent) == XmlLayoutSplit) {
        std::memmove(children + at, children + at + 1,
                     static_cast<std::size_t>(parent->childCount - at - 1) * sizeof(SXmlNodeData*));
    } else {
        CutFromBlock(parent, children + at, sizeof(SXmlNodeData*));
    }
    --parent->childCount;
    RemoveOrder(Order(parent), entries, at, XmlOrderChild);
}

}  // namespace

const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlChildOrder = MakeSharedOrder<XmlOrderChild>();
const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlTextOrder = MakeSharedOrder<XmlOrderText>();

void* GrowArray(SXmlNodeData* node, void* array, std::int32_t count, int kind, std::size_t entrySize) {
    const int step = kind == XmlArrayOrder ? kXmlOrderStep : kXmlArrayStep;
    const auto bit = static_cast<std::uint8_t>(1u << kind);
    if (count >= kMaxEntries) throw std::bad_alloc();
    CXmlArena* arena = node->arena;

    std::uint8_t& heapArrays = Split(node)->heapArrays;
    if ((heapArrays & bit) != 0) {
        SXmlGrowing* header = HeaderOf(array);
        const std::int32_t capacity = count + step;
        if (capacity <= header->reserved) {
            header->capacity = capacity;
            return array;
        }
        // The block is replaced by one with room for twice the entries, so
        // that an element with a great many children isn't copied over and
        // over, once per step.
        const std::int32_t reserved = std::max(capacity, std::min(count * 2, kMaxEntries + step));
        const std::size_t bytes = sizeof(SXmlGrowing) + static_cast<std::size_t>(reserved) * entrySize;
        SXmlGrowing* grown;
        if (header->recycled != 0) {
            grown = static_cast<SXmlGrowing*>(std::malloc(bytes));
            if (grown == nullptr) throw std::bad_alloc();
            std::memcpy(grown + 1, array, static_cast<std::size_t>(count) * entrySize);
            arena->Recycle(kind, header);
            arena->AddHeapBlock();
        } else {
            grown = static_cast<SXmlGrowing*>(std::realloc(header, bytes));
            if (grown == nullptr) throw std::bad_alloc();
        }
        grown->capacity = capacity;
        grown->reserved = reserved;
        grown->recycled = 0;
        return grown + 1;
    }

    const auto capacity = static_cast<std::int32_t>((count / step + 1) * step);
    const std::size_t bytes = sizeof(SXmlGrowing) + static_cast<std::size_t>(capacity) * entrySize;
    SXmlGrowing* header;
    if (capacity == step) {
        header = static_cast<SXmlGrowing*>(arena->TakeRecycled(kind));
        if (header == nullptr) header = static_cast<SXmlGrowing*>(arena->Allocate(bytes));
        header->recycled = 1;
    } else {
        header = static_cast<SXmlGrowing*>(std::malloc(bytes));
        if (header == nullptr) throw std::bad_alloc();
        header->recycled = 0;
        arena->AddHeapBlock();
    }
    header->capacity = capacity;
    header->reserved = capacity;
    if (count != 0) XmlCopyBytes(header + 1, array, static_cast<std::size_t>(count) * entrySize);
    heapArrays |= bit;
    return header + 1;
}

SXmlSplitArrays& MakeSplit(SXmlNodeData* node) {
    auto* arrays = static_cast<SXmlSplitArrays*>(node->arena->Allocate(sizeof(SXmlSplitArrays)));
    arrays->children = node->childCount != 0 ? Children(node) : nullptr;
    arrays->texts = node->textCount != 0 ? Texts(node) : nullptr;
    arrays->clears = node->clearCount != 0 ? Clears(node) : nullptr;
    arrays->attributes = node->attributeCount != 0 ? Attributes(node) : nullptr;
    arrays->order = OrderCount(node) != 0 ? Order(node) : nullptr;
    arrays->heapArrays = 0;
    SetContent(node, arrays, XmlLayoutSplit);
    return *arrays;
}

void ShrinkArrays(SXmlNodeData* node) {
    // One block for all of them; the order array, of 4-byte entries, last.
    SXmlSplitArrays& arrays = *Split(node);
    const std::size_t bytes = GrowingBytes<SXmlNodeData*>(node, node->childCount, XmlArrayChildren) +
                              GrowingBytes<char*>(node, node->textCount, XmlArrayTexts) +
                              GrowingBytes<SXmlClear>(node, node->clearCount, XmlArrayClears) +
                              GrowingBytes<SXmlAttribute>(node, node->attributeCount, XmlArrayAttributes) +
                              GrowingBytes<std::uint32_t>(node, OrderCount(node), XmlArrayOrder);
    char* place = bytes != 0 ? static_cast<char*>(node->arena->Allocate(bytes)) : nullptr;
    SettleArray(node, arrays.children, node->childCount, XmlArrayChildren, place);
    SettleArray(node, arrays.texts, node->textCount, XmlArrayTexts, place);
    SettleArray(node, arrays.clears, node->clearCount, XmlArrayClears, place);
    SettleArray(node, arrays.attributes, node->attributeCount, XmlArrayAttributes, place);
    SettleArray(node, arrays.order, OrderCount(node), XmlArrayOrder, place);
}

void AppendClear(SXmlNodeData* node, char* text, const SXmlClearMark* mark) {
    SXmlSplitArrays& arrays = Arrays(node);
    MakeRoom(node, arrays.clears, node->clearCount, XmlArrayClears);
    MakeRoom(node, arrays.order, OrderCount(node), XmlArrayOrder);
    arrays.order[OrderCount(node)] = static_cast<std::uint32_t>(node->clearCount) * 4 + XmlOrderClear;
    arrays.clears[node->clearCount++] = SXmlClear{text, mark->open, mark->close};
}

void RemoveClearAt(SXmlNodeData* node, int index) {
    if (index < 0 || index >= node->clearCount) return;
    // The text stays in the arena until the tree goes.
    const std::int32_t entries = OrderCount(node);
    SXmlClear* clears = Clears(node);
    if (Layout(node) == XmlLayoutSplit) {
        std::memmove(clears + index, clears + index + 1,
                     static_cast<std::size_t>(node->clearCount - index - 1) * sizeof(SXmlClear));
    } else {
        CutFromBlock(node, clears + index, sizeof(SXmlClear));
    }
    --node->clearCount;
    RemoveOrder(Order(node), entries, index, XmlOrderClear);
}

void ReleaseLast(SXmlNodeData* node) noexcept {
    CXmlArena* arena = node->arena;
    arena->DropHandle();
    if (--node->refCount > 0) return;
    if (node->parent == nullptr && arena->Handles() == 0 && arena->HeapBlocks() == 0) {
        // No handle is left on any record of the tree, so every record still
        // alive hangs below this one and goes with it: the arena goes whole.
        arena->Destroy();
        return;
    }
    if (node->parent != nullptr) LeaveParent(node);
    // Records to destroy are chained through `parent`, which a dead record no
    // longer needs; this keeps the release of a deep tree off the stack.
    node->parent = nullptr;
    SXmlNodeData* pending = node;
    while (pending != nullptr) {
        SXmlNodeData* dead = pending;
        pending = dead->parent;
        SXmlNodeData* const* children = Children(dead);
        for (std::int32_t i = 0; i < dead->childCount; ++i) {
            SXmlNodeData* child = children[i];
            child->parent = nullptr;
            if (--child->refCount == 0) {
                child->parent = pending;
                pending = child;
            }
        }
        FreeHeapArrays(dead);
        // Strings and the record itself belong to the arena, which lets go of
        // its blocks with its last record.
        dead->arena->ReleaseRecord();
    }
}

}  // namespace ZEM::xml_detail
