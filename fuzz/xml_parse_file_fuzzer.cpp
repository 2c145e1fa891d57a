// libFuzzer target: any bytes as a file for ParseFile, which exercises the
// UTF-16 detection and conversion and the byte-order marks. A file that is
// taken as UTF-8 must give what ParseText gives for the same bytes.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz_tree_walk.h"
#include "platform/text.h"
#include "xml/xml_document.h"

namespace {

std::string g_path;

void RemoveFile() { unlink(g_path.c_str()); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    char pattern[] = "/tmp/zem_xml_fuzz_XXXXXX";
    int fd = mkstemp(pattern);
    if (fd < 0) std::abort();
    close(fd);
    g_path = pattern;
    std::atexit(RemoveFile);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    int fd = open(g_path.c_str(), O_WRONLY | O_TRUNC);
    if (fd < 0) std::abort();
    for (std::size_t written = 0; written < size;) {
        ssize_t n = write(fd, data + written, size - written);
        if (n <= 0) std::abort();
        written += static_cast<std::size_t>(n);
    }
    close(fd);

    ZEM::SXmlParseResult result;
    ZEM::XMLNode root = ZEM::ParseFile(g_path.c_str(), "zem", &result);
    zem_fuzz::Check(root.IsEmpty() || result.error <= ZEM::XmlNoTagFound);
    zem_fuzz::Exercise(root);

    if (size == 0) {
        zem_fuzz::Check(result.error == ZEM::XmlEmptyFile);
    } else if (!ZEM::platform::LooksLikeUtf16(data, size)) {
        std::size_t skip = size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF ? 3 : 0;
        std::unique_ptr<char[]> text(new char[size - skip + 1]);
        std::memcpy(text.get(), data + skip, size - skip);
        text[size - skip] = '\0';
        ZEM::SXmlParseResult direct;
        ZEM::ParseText(text.get(), "zem", &direct);
        zem_fuzz::Check(direct.error == result.error && direct.line == result.line && direct.column == result.column);
    }
    return 0;
}
