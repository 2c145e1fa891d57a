// Shared by the fuzz targets: walks a parsed tree through its public
// accessors, reading every string (so that stale memory shows under
// AddressSanitizer), checks the invariants of the node records, and lets a
// child outlive the rest of its tree.
#pragma once

#include <cstdlib>
#include <cstring>

#include "xml/xml_node.h"
#include "xml/xml_node_data.h"

namespace zem_fuzz {

inline void Check(bool condition) {
    if (!condition) std::abort();
}

inline std::size_t Touch(const char* text) { return text != nullptr ? std::strlen(text) : 0; }

// Returns the number of elements below `node`; remembers the deepest child.
inline std::size_t Walk(const ZEM::XMLNode& node, ZEM::XMLNode& deepest, int depth, int& deepestDepth) {
    if (node.IsEmpty()) return 0;
    const ZEM::SXmlNodeData* data = node.Data();
    Check(data->childCount >= 0 && data->textCount >= 0 && data->clearCount >= 0 && data->attributeCount >= 0);
    // A name carries its length in front of it, which end tags and look-ups trust.
    Check(ZEM::xml_detail::NameLength(data) == Touch(node.Name()));
    for (int i = 0; i < node.AttributeCount(); ++i) {
        const char* name = node.AttributeNameAt(i);
        Check(name != nullptr);
        Touch(name);
        Touch(node.AttributeValueAt(i));
        // A search that starts at an attribute finds that one first.
        std::int32_t position = i;
        Check(node.AttributeValue(name, &position) == node.AttributeValueAt(i) && position == i + 1);
    }
    for (int i = 0; i < node.TextCount(); ++i) {
        Check(node.Text(i) != nullptr);
        Touch(node.Text(i));
    }
    for (int i = 0; i < data->clearCount; ++i) Check(Touch(ZEM::xml_detail::Clears(data)[i].text) > 0);

    // The order array holds every entry once, each kind in document order.
    const int entries = data->childCount + data->textCount + data->clearCount;
    int next[4] = {0, 0, 0, 0};
    for (int i = 0; i < entries; ++i) {
        const std::uint32_t kind = ZEM::xml_detail::Order(data)[i] & 3;
        Check(kind != 1);
        Check(static_cast<int>(ZEM::xml_detail::Order(data)[i] >> 2) == next[kind]++);
    }
    Check(next[0] == data->childCount && next[2] == data->textCount && next[3] == data->clearCount);

    std::size_t elements = 0;
    for (int i = 0; i < node.ChildCount(); ++i) {
        ZEM::XMLNode child = node.ChildAtIndex(i);
        Check(child.Data()->parent == data);
        Check(node.ChildCount(child.Name()) >= 1);
        elements += 1 + Walk(child, deepest, depth + 1, deepestDepth);
    }
    if (depth > deepestDepth) {
        deepestDepth = depth;
        deepest = node;
    }
    return elements;
}

// Walks the tree, drops it but for its deepest element, and walks that again.
inline void Exercise(ZEM::XMLNode root) {
    ZEM::XMLNode deepest;
    int deepestDepth = -1;
    Walk(root, deepest, 0, deepestDepth);
    root = ZEM::XMLNode();
    if (!deepest.IsEmpty()) {
        ZEM::XMLNode none;
        int ignored = -1;
        Walk(deepest, none, 0, ignored);
    }
}

}  // namespace zem_fuzz
