// The end of an element the parser had open, for the callers outside the
// parsing loop.
#include "xml/xml_content.h"

namespace ZEM {

void CXmlOpenContent::End(SXmlNodeData* node) { EndInline(node); }

}  // namespace ZEM
