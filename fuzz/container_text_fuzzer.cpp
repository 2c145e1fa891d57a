// libFuzzer target: any text as the document of a private container, with
// classes bound on the local library, eager beans made at load, then the
// requests of a host. A CException is the expected outcome of bad text; a
// crash, a leak, a hang or runaway memory is a finding.
#include <cstdint>
#include <cstring>
#include <memory>

#include "document_road.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    zem_fuzz::RegisterClasses();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::unique_ptr<char[]> text(new char[size + 1]);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';
    try {
        ZEM::CContainer container(text.get());
        zem_fuzz::RequestBeans(container);
    } catch (const ZEM::CException&) {
    }
    return 0;
}
