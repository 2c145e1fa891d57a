// libFuzzer target: any bytes as the text of ParseText, with and without a
// root name, then a walk over whatever tree comes back. The input is copied
// into a buffer of its exact size, so a read behind the terminating zero is
// caught.
#include <cstdint>
#include <cstring>
#include <memory>

#include "fuzz_tree_walk.h"
#include "xml/xml_document.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::unique_ptr<char[]> text(new char[size + 1]);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';

    ZEM::SXmlParseResult result;
    ZEM::XMLNode root = ZEM::ParseText(text.get(), nullptr, &result);
    zem_fuzz::Check(result.error <= ZEM::XmlFileTooLarge);
    zem_fuzz::Check((result.error == 0) == (result.line == 0));
    // Only codes 1 and 2 keep a tree along with the error.
    zem_fuzz::Check(root.IsEmpty() || result.error <= ZEM::XmlNoTagFound);
    zem_fuzz::Exercise(root);

    ZEM::SXmlParseResult named;
    zem_fuzz::Exercise(ZEM::ParseText(text.get(), "zem", &named));
    zem_fuzz::Check(named.error == result.error || named.error == ZEM::XmlRootNotFound);
    return 0;
}
