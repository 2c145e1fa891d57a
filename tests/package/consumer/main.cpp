// A host built against the installed package: it makes containers and catches
// the library's exception across the shared-object boundary.
#include <zem/zem.h>

#include <cstdio>

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
    std::puts("consumer: ok");
    return 0;
}
