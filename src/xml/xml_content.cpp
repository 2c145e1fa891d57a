// The end of an element the parser had open: its entries leave the shared
// stacks for one exact block of the arena, and an order that the shared
// tables hold costs no block at all.
#include "xml/xml_content.h"

namespace ZEM {

namespace {

using namespace xml_detail;

// Copies `count` entries from `from` into `place` and moves `place` on; null
// for none.
template <class T>
T* Place(const T* from, std::uint32_t count, char*& place) {
    if (count == 0) return nullptr;
    auto* to = reinterpret_cast<T*>(place);
    XmlCopyBytes(to, from, static_cast<std::size_t>(count) * sizeof(T));
    place += static_cast<std::size_t>(count) * sizeof(T);
    return to;
}

}  // namespace

void CXmlOpenContent::End(SXmlNodeData* node) {
    const SStart start = Start();
    const std::uint32_t children = children_.Size() - start.children;
    const std::uint32_t texts = texts_.Size() - start.texts;
    const std::uint32_t clears = clears_.Size() - start.clears;
    const std::uint32_t entries = order_.Size() - start.order;

    const std::uint32_t* shared = nullptr;
    if (clears == 0 && entries <= static_cast<std::uint32_t>(kXmlSharedOrderSize)) {
        if (texts == 0) shared = kXmlChildOrder.data();
        else if (children == 0) shared = kXmlTextOrder.data();
    }
    // The order array, of 4-byte entries, last.
    const std::size_t bytes = children * sizeof(SXmlNodeData*) + texts * sizeof(char*) + clears * sizeof(SXmlClear) +
                              (shared != nullptr ? 0 : entries * sizeof(std::uint32_t));
    char* place = bytes != 0 ? static_cast<char*>(node->arena->Allocate(bytes)) : nullptr;

    node->children = Place(children_.At(start.children), children, place);
    node->texts = Place(texts_.At(start.texts), texts, place);
    node->clears = Place(clears_.At(start.clears), clears, place);
    node->order = shared != nullptr ? (entries != 0 ? const_cast<std::uint32_t*>(shared) : nullptr)
                                    : Place(order_.At(start.order), entries, place);
    node->childCount = static_cast<std::int32_t>(children);
    node->textCount = static_cast<std::int32_t>(texts);
    node->clearCount = static_cast<std::int32_t>(clears);

    children_.CutTo(start.children);
    texts_.CutTo(start.texts);
    clears_.CutTo(start.clears);
    order_.CutTo(start.order);
    starts_.Pop();
    innermost_ = node->parent;
}

}  // namespace ZEM
