// libFuzzer target: any bytes as a configuration file, loaded by path into a
// private container. Beside it stands a small fixed tree of files it may
// include (nested includes, a cycle, a loop, a broken file), written once at
// start-up. The requests that follow are those of the text target.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "document_road.h"

namespace {

std::filesystem::path g_dir;
std::wstring g_main;

const struct {
    const char* path;
    const char* text;
} kTree[] = {
    {"common.xml",
     "<zem><library><beans>"
     "<bean name='base' class='Part' singleton='true'><constructor-arg>"
     "<argument><value type='int'>3</value></argument></constructor-arg></bean>"
     "</beans></library></zem>"},
    {"sub/parts.xml",
     "<zem><include path='leaf.xml'/><library><beans>"
     "<bean name='part' class='Part' init-method='Open'><constructor-arg>"
     "<argument><value type='const char*'>sub</value></argument>"
     "<argument><value type='int'>-1</value></argument></constructor-arg></bean>"
     "</beans></library></zem>"},
    {"sub/leaf.xml",
     "<zem><library><beans><service name='leaf' class='shop::Box'>"
     "<provides><interface>IThing</interface></provides></service></beans></library></zem>"},
    {"loop.xml",
     "<zem><library><beans><for first='1' last='3' substitute='i'>"
     "<bean name='p%i%' class='Part' lazy='false'><properties>"
     "<property name='Next'><ref bean='base'/></property></properties></bean>"
     "</for></beans></library></zem>"},
    {"cycle.xml", "<zem><include path='sub/../cycle.xml'/></zem>"},
    {"broken.xml", "<zem><library><beans><bean name='x' class='Part'></beans>"},
};

void RemoveTree() {
    std::error_code ignored;
    std::filesystem::remove_all(g_dir, ignored);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::string pattern = (std::filesystem::temp_directory_path() / "zem_doc_fuzz_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    g_dir = pattern;
    std::atexit(RemoveTree);
    for (const auto& file : kTree) {
        std::filesystem::path path = g_dir / file.path;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << file.text;
    }
    g_main = (g_dir / "main.xml").wstring();
    zem_fuzz::RegisterClasses();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    {
        std::ofstream out(g_dir / "main.xml", std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        if (!out) std::abort();
    }
    try {
        ZEM::CContainer container(g_main.c_str());
        zem_fuzz::RequestBeans(container);
    } catch (const ZEM::CException&) {
    }
    return 0;
}
