// The end of an element the parser had open, for the callers outside the
// parsing loop, and the growth of the shared stack.
#include "xml/xml_content.h"

namespace ZEM {

void CXmlOpenContent::End(SXmlNodeData* node) { EndInline(node); }

void CXmlOpenContent::Grow() {
    const auto size = static_cast<std::size_t>(limit_ - base_);
    std::unique_ptr<SXmlOpenEntry[]> grown(new SXmlOpenEntry[size * 2]);
    std::memcpy(grown.get(), base_, size * sizeof(SXmlOpenEntry));
    heap_ = std::move(grown);
    base_ = heap_.get();
    top_ = base_ + size;
    limit_ = base_ + size * 2;
}

}  // namespace ZEM
