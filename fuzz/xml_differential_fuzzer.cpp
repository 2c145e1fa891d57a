// libFuzzer target: any bytes parsed twice, by the parser as it runs and by
// the tokeniser alone with the fast paths beside it off. Both must give the
// same error code and position and the same tree: names, attributes, texts,
// clear sections, their order and the source offsets. A fast path that
// reads some input differently from the rules it stands in for aborts here.
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "fuzz_tree_walk.h"
#include "xml/xml_document.h"
#include "xml/xml_node_data.h"
#include "xml/xml_parser.h"

namespace {

using zem_fuzz::Check;

bool SameText(const char* a, const char* b) {
    return (a == nullptr) == (b == nullptr) && (a == nullptr || std::strcmp(a, b) == 0);
}

// Compares two records field by field, and their children in a loop of its
// own, since a tree may nest as deep as the parser allows.
void CheckSameTree(const ZEM::XMLNode& first, const ZEM::XMLNode& second) {
    std::vector<std::pair<ZEM::XMLNode, ZEM::XMLNode>> pending{{first, second}};
    while (!pending.empty()) {
        auto [a, b] = std::move(pending.back());
        pending.pop_back();
        Check(a.IsEmpty() == b.IsEmpty());
        if (a.IsEmpty()) continue;
        const ZEM::SXmlNodeData* x = a.Data();
        const ZEM::SXmlNodeData* y = b.Data();
        Check(SameText(a.Name(), b.Name()));
        Check(ZEM::xml_detail::IsDeclaration(x) == ZEM::xml_detail::IsDeclaration(y));
        Check(a.SourceOffset() == b.SourceOffset());
        Check(x->childCount == y->childCount && x->textCount == y->textCount && x->clearCount == y->clearCount &&
              x->attributeCount == y->attributeCount);
        for (int i = 0; i < a.AttributeCount(); ++i) {
            Check(SameText(a.AttributeNameAt(i), b.AttributeNameAt(i)));
            Check(SameText(a.AttributeValueAt(i), b.AttributeValueAt(i)));
        }
        for (int i = 0; i < a.TextCount(); ++i) Check(SameText(a.Text(i), b.Text(i)));
        for (int i = 0; i < x->clearCount; ++i) {
            const ZEM::SXmlClear& c = ZEM::xml_detail::Clears(x)[i];
            const ZEM::SXmlClear& d = ZEM::xml_detail::Clears(y)[i];
            Check(SameText(c.text, d.text) && c.openTag == d.openTag && c.closeTag == d.closeTag);
        }
        const int entries = x->childCount + x->textCount + x->clearCount;
        for (int i = 0; i < entries; ++i) Check(ZEM::xml_detail::Order(x)[i] == ZEM::xml_detail::Order(y)[i]);
        for (int i = 0; i < a.ChildCount(); ++i) pending.emplace_back(a.ChildAtIndex(i), b.ChildAtIndex(i));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::unique_ptr<char[]> text(new char[size + 1]);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';

    ZEM::SXmlParseResult fast;
    ZEM::SXmlParseResult tokens;
    const ZEM::XMLNode a = ZEM::ParseText(text.get(), size, nullptr, &fast);
    const ZEM::XMLNode b = ZEM::ParseTextByTokens(text.get(), size, nullptr, &tokens);
    Check(fast.error == tokens.error && fast.line == tokens.line && fast.column == tokens.column);
    Check(fast.endTag == tokens.endTag && fast.openElement == tokens.openElement);
    CheckSameTree(a, b);
    return 0;
}
