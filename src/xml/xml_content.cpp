// The end of an element the parser had open: its entries leave the shared
// stacks for one exact block of the arena, and an order that the shared
// tables hold costs no room in it.
#include "xml/xml_content.h"

namespace ZEM {

namespace {

using namespace xml_detail;

// Copies `count` entries from `from` into `place` and moves `place` on.
template <class T>
void Place(const T* from, std::uint32_t count, char*& place) {
    if (count == 0) return;
    XmlCopyBytes(place, from, static_cast<std::size_t>(count) * sizeof(T));
    place += static_cast<std::size_t>(count) * sizeof(T);
}

}  // namespace

void CXmlOpenContent::End(SXmlNodeData* node) {
    const SStart start = Start();
    const std::uint32_t attributes = attributes_.Size() - start.attributes;
    const std::uint32_t children = children_.Size() - start.children;
    const std::uint32_t texts = texts_.Size() - start.texts;
    const std::uint32_t clears = clears_.Size() - start.clears;
    const std::uint32_t entries = order_.Size() - start.order;

    std::uint8_t layout = XmlLayoutPacked;
    if (clears == 0 && entries <= static_cast<std::uint32_t>(kXmlSharedOrderSize)) {
        if (texts == 0) layout = XmlLayoutChildOrder;
        else if (children == 0) layout = XmlLayoutTextOrder;
    }
    // The order array, of 4-byte entries, last.
    const std::size_t bytes = attributes * sizeof(SXmlAttribute) + children * sizeof(SXmlNodeData*) +
                              texts * sizeof(char*) + clears * sizeof(SXmlClear) +
                              (layout != XmlLayoutPacked ? 0 : entries * sizeof(std::uint32_t));
    char* place = bytes != 0 ? static_cast<char*>(node->arena->Allocate(bytes)) : nullptr;
    node->content = place;
    Place(attributes_.At(start.attributes), attributes, place);
    Place(children_.At(start.children), children, place);
    Place(texts_.At(start.texts), texts, place);
    Place(clears_.At(start.clears), clears, place);
    if (layout == XmlLayoutPacked) Place(order_.At(start.order), entries, place);
    node->layout = layout;
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
