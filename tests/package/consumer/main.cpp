// A host built against the installed package: it makes containers, catches
// the library's exception across the shared-object boundary, and finds the
// version it was built with in the library it runs with.
#include <zem/zem.h>

#include <cstdio>
#include <cstring>

int main() {
    try {
        ZEM::CContainer container(nullptr);
        if (container.Exists("a")) return 1;
    } catch (const ZEM::CException&) {
        return 1;
    }
    try {
        ZEM::CContainer broken("<zem><library>", false);
        return 1;
    } catch (const ZEM::CException& e) {
        if (e.GetMessageW().empty()) return 1;
    }
    // The installed headers and the installed library are of one version.
    if (std::strcmp(ZEM::Version(), ZEM_VERSION_STRING) != 0) return 1;
    std::puts("consumer: ok");
    return 0;
}
