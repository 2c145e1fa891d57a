// Parsing speed of the XML layer on generated configuration documents, in MB/s,
// against DOM parsers of other libraries when the build found them (pugixml,
// tinyxml2, libxml2) and a bare memchr pass. Each iteration builds the whole
// tree and drops it again. Every parser is given the text with its length, as
// a file's reader has it. Counters: held_x and peak_x, the memory of a tree
// as a multiple of the document's size once parsed and at most while parsing
// (peak only where the build counts this program's own malloc calls); faults,
// the page faults per parse.
//
// malloc is told to keep freed memory in the process, so that every parser
// works on warm memory and the figures compare parsing rather than the
// kernel's clearing of fresh pages (without this, glibc's adaptive thresholds
// hand warm memory to some parsers and not to others, depending on the sizes
// that they happen to allocate). ZEM_BENCH_COLD=1 in the environment leaves
// malloc as it is.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "config_generator.h"
#include "warm_main.h"
#include "xml/xml_document.h"

#ifdef ZEM_BENCH_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef ZEM_BENCH_TINYXML2
#include <tinyxml2.h>
#endif
#ifdef ZEM_BENCH_LIBXML2
#include <libxml/parser.h>
#endif

#ifdef ZEM_BENCH_COUNT_MALLOC
// The link routes this program's malloc, realloc and free through here (ld
// --wrap), so the peak of live bytes during one parse can be read. Libraries
// linked as shared objects are not counted.
namespace {
bool g_counting = false;
long long g_live = 0;
long long g_peak = 0;

void Count(long long delta) {
    g_live += delta;
    if (g_live > g_peak) g_peak = g_live;
}
}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    void* block = __real_malloc(size);
    if (g_counting && block != nullptr) Count(static_cast<long long>(malloc_usable_size(block)));
    return block;
}

void* __wrap_realloc(void* block, std::size_t size) {
    long long before = g_counting && block != nullptr ? static_cast<long long>(malloc_usable_size(block)) : 0;
    void* grown = __real_realloc(block, size);
    if (g_counting && grown != nullptr) Count(static_cast<long long>(malloc_usable_size(grown)) - before);
    return grown;
}

void __wrap_free(void* block) {
    if (g_counting && block != nullptr) Count(-static_cast<long long>(malloc_usable_size(block)));
    __real_free(block);
}
}
#endif

namespace {

const std::string& Document(std::int64_t beans) {
    static std::map<std::int64_t, std::string> documents;
    std::string& text = documents[beans];
    if (text.empty()) text = GenerateConfiguration(static_cast<int>(beans));
    return text;
}

// Bytes that malloc holds for the program right now.
long long HeldBytes() {
    struct mallinfo2 info = mallinfo2();
    return static_cast<long long>(info.uordblks + info.hblkhd);
}

long long MinorFaults() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Page faults per parse: fresh memory costs as much as parsing on some hosts.
void CountFaults(benchmark::State& state, long long before) {
    state.counters["faults"] = static_cast<double>(MinorFaults() - before) / static_cast<double>(state.iterations());
}

void Finish(benchmark::State& state, const std::string& text, double heldRatio) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    state.counters["doc_MB"] = static_cast<double>(text.size()) / 1e6;
    if (heldRatio >= 0) state.counters["held_x"] = heldRatio;
}

void BM_ZemParseText(benchmark::State& state) {
    const std::string& text = Document(state.range(0));
    const long long faults = MinorFaults();
    for (auto _ : state) {
        ZEM::SXmlParseResult result;
        ZEM::XMLNode root = ZEM::ParseText(text.c_str(), text.size(), "zem", &result);
        benchmark::DoNotOptimize(root.Data());
        if (result.error != 0) state.SkipWithError("parse failed");
    }
    CountFaults(state, faults);
    const long long before = HeldBytes();
#ifdef ZEM_BENCH_COUNT_MALLOC
    g_live = g_peak = 0;
    g_counting = true;
#endif
    {
        ZEM::XMLNode root = ZEM::ParseText(text.c_str(), text.size(), "zem", nullptr);
        Finish(state, text, static_cast<double>(HeldBytes() - before) / static_cast<double>(text.size()));
    }
#ifdef ZEM_BENCH_COUNT_MALLOC
    g_counting = false;
    state.counters["peak_x"] = static_cast<double>(g_peak) / static_cast<double>(text.size());
#endif
}

#ifdef ZEM_BENCH_PUGIXML
void BM_Pugixml(benchmark::State& state) {
    const std::string& text = Document(state.range(0));
    const long long faults = MinorFaults();
    for (auto _ : state) {
        pugi::xml_document document;
        pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
        benchmark::DoNotOptimize(document.first_child());
        if (!result) state.SkipWithError("parse failed");
    }
    CountFaults(state, faults);
    const long long before = HeldBytes();
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    Finish(state, text, static_cast<double>(HeldBytes() - before) / static_cast<double>(text.size()));
}
#endif

#ifdef ZEM_BENCH_TINYXML2
void BM_Tinyxml2(benchmark::State& state) {
    const std::string& text = Document(state.range(0));
    const long long faults = MinorFaults();
    for (auto _ : state) {
        tinyxml2::XMLDocument document;
        if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.RootElement());
    }
    CountFaults(state, faults);
    const long long before = HeldBytes();
    tinyxml2::XMLDocument document;
    document.Parse(text.data(), text.size());
    Finish(state, text, static_cast<double>(HeldBytes() - before) / static_cast<double>(text.size()));
}
#endif

#ifdef ZEM_BENCH_LIBXML2
void BM_Libxml2(benchmark::State& state) {
    const std::string& text = Document(state.range(0));
    const long long faults = MinorFaults();
    for (auto _ : state) {
        xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                           XML_PARSE_NONET | XML_PARSE_HUGE);
        if (document == nullptr) state.SkipWithError("parse failed");
        xmlFreeDoc(document);
    }
    CountFaults(state, faults);
    const long long before = HeldBytes();
    xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                       XML_PARSE_NONET | XML_PARSE_HUGE);
    Finish(state, text, static_cast<double>(HeldBytes() - before) / static_cast<double>(text.size()));
    xmlFreeDoc(document);
}
#endif

// The floor: one memchr pass that counts the '<' of the document.
void BM_MemchrPass(benchmark::State& state) {
    const std::string& text = Document(state.range(0));
    const long long faults = MinorFaults();
    for (auto _ : state) {
        std::size_t tags = 0;
        for (const char* p = text.data(); (p = static_cast<const char*>(std::memchr(p, '<', text.data() + text.size() - p))) != nullptr; ++p) {
            ++tags;
        }
        benchmark::DoNotOptimize(tags);
    }
    CountFaults(state, faults);
    Finish(state, text, -1);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_ZemParseText)->Apply(Sizes);
#ifdef ZEM_BENCH_PUGIXML
BENCHMARK(BM_Pugixml)->Apply(Sizes);
#endif
#ifdef ZEM_BENCH_TINYXML2
BENCHMARK(BM_Tinyxml2)->Apply(Sizes);
#endif
#ifdef ZEM_BENCH_LIBXML2
BENCHMARK(BM_Libxml2)->Apply(Sizes);
#endif
BENCHMARK(BM_MemchrPass)->Apply(Sizes);

int main(int argc, char** argv) { return RunOnWarmMemory(argc, argv); }
