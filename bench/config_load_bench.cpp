// Cost of loading a configuration file of N beans as a configuring container
// does before it makes any bean: reading the file with the element readers,
// then merging the result into an empty long-lived store. The time per bean
// should stay flat from 1,000 to 100,000 beans.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "config/configuration.h"
#include "config/document_reader.h"
#include "config_generator.h"
#include "foundation/string_convert.h"
#include "xml/xml_document.h"

namespace {

// The generated documents, written once per size into a folder of their own
// that goes when the program ends.
class DocumentFolder {
public:
    DocumentFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zem-config-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr) root_ = pattern;
    }
    ~DocumentFolder() {
        std::error_code ignored;
        if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
    }

    // The path of the document of `beans` beans; empty if it can't be written.
    const std::wstring& PathFor(int beans) {
        auto found = paths_.find(beans);
        if (found != paths_.end()) return found->second;
        std::wstring& path = paths_[beans];
        if (root_.empty()) return path;
        std::filesystem::path file = root_ / ("beans-" + std::to_string(beans) + ".xml");
        std::ofstream out(file, std::ios::binary);
        out << GenerateConfiguration(beans);
        if (out.good()) path = ZEM::Widen(file.string());
        return path;
    }

private:
    std::filesystem::path root_;
    std::map<int, std::wstring> paths_;
};

DocumentFolder& Documents() {
    static DocumentFolder folder;
    return folder;
}

void BM_LoadConfigurationFile(benchmark::State& state) {
    const int beans = static_cast<int>(state.range(0));
    const std::wstring& path = Documents().PathFor(beans);
    if (path.empty()) {
        state.SkipWithError("could not write the document");
        return;
    }
    for (auto _ : state) {
        ZEM::CConfiguration target(nullptr);
        ZEM::CConfiguration read = ZEM::ReadConfigurationFile(nullptr, path.c_str());
        target.MergeConfiguration(read);
        benchmark::DoNotOptimize(target.Store().libraries.size());
    }
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_LoadConfigurationFile)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The parse of the same file alone, so that the share of the readers and the
// merge shows as the difference.
void BM_ParseFileOnly(benchmark::State& state) {
    const int beans = static_cast<int>(state.range(0));
    const std::string path = ZEM::Narrow(Documents().PathFor(beans));
    if (path.empty()) {
        state.SkipWithError("could not write the document");
        return;
    }
    for (auto _ : state) {
        ZEM::SXmlParseResult result;
        ZEM::XMLNode root = ZEM::ParseFile(path.c_str(), "zem", &result);
        benchmark::DoNotOptimize(root.IsEmpty());
    }
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ParseFileOnly)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The readers and the merge alone, on a tree parsed once: the load less the parse.
void BM_ReadParsedTree(benchmark::State& state) {
    const int beans = static_cast<int>(state.range(0));
    const std::string path = ZEM::Narrow(Documents().PathFor(beans));
    ZEM::SXmlParseResult result;
    ZEM::XMLNode root = ZEM::ParseFile(path.c_str(), "zem", &result);
    if (root.IsEmpty()) {
        state.SkipWithError("could not parse the document");
        return;
    }
    for (auto _ : state) {
        ZEM::CConfiguration target(nullptr);
        ZEM::CConfiguration read(nullptr);
        ZEM::ReadLibraries(read, root);
        target.MergeConfiguration(read);
        benchmark::DoNotOptimize(target.Store().libraries.size());
    }
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ReadParsedTree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
