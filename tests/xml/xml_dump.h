// Test helpers of the XML tests: a tree written as one line, in document
// order, and a parse of a text held in a buffer of its exact size (so that a
// read behind the terminating zero shows under AddressSanitizer).
//
//   name(attr=value,bare){child,"text",[open|clear content|close]}
// A declaration starts with '?', the nameless top node is "#top".
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "xml/xml_document.h"
#include "xml/xml_node_data.h"

namespace zem_test {

inline std::string DumpXml(const ZEM::XMLNode& node) {
    if (node.IsEmpty()) return "<empty>";
    const ZEM::SXmlNodeData* data = node.Data();
    std::string out = ZEM::xml_detail::IsDeclaration(data) ? "?" : "";
    out += data->name != nullptr ? data->name : "#top";
    if (node.AttributeCount() != 0) {
        out += '(';
        for (int i = 0; i < node.AttributeCount(); ++i) {
            if (i != 0) out += ',';
            out += node.AttributeNameAt(i);
            if (node.AttributeValueAt(i) != nullptr) out += std::string("=") + node.AttributeValueAt(i);
        }
        out += ')';
    }
    const int entries = data->childCount + data->textCount + data->clearCount;
    if (entries != 0) {
        out += '{';
        for (int i = 0; i < entries; ++i) {
            if (i != 0) out += ',';
            const std::uint32_t entry = ZEM::xml_detail::Order(data)[i];
            const std::uint32_t index = entry >> 2;
            switch (entry & 3) {
                case ZEM::XmlOrderChild:
                    out += DumpXml(node.ChildAtIndex(static_cast<int>(index)));
                    break;
                case ZEM::XmlOrderText:
                    out += '"' + std::string(ZEM::xml_detail::Texts(data)[index]) + '"';
                    break;
                case ZEM::XmlOrderClear: {
                    const ZEM::SXmlClear& clear = ZEM::xml_detail::Clears(data)[index];
                    out += std::string("[") + clear.openTag + "|" + clear.text + "|" + clear.closeTag + "]";
                    break;
                }
                default:
                    out += "<bad order entry>";
            }
        }
        out += '}';
    }
    return out;
}

// ParseText over an exact copy of `text`.
inline ZEM::XMLNode ParseExact(std::string_view text, const char* rootName, ZEM::SXmlParseResult* result) {
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.data(), text.size());
    copy[text.size()] = '\0';
    return ZEM::ParseText(copy.get(), rootName, result);
}

}  // namespace zem_test
