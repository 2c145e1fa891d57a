// Cost of loading a configuration file of N beans as a configuring container
// does before it makes any bean: reading the file with the element readers,
// then merging the result into an empty long-lived store. The time per bean
// should stay flat from 1,000 to 100,000 beans. The end of the long-lived
// store is a host's shutdown, not its load: it is timed apart and shown as
// `teardown_per_bean`. Counter `faults`: the page faults per iteration, which
// fresh memory costs on top of the work.
// It runs on warm memory (warm_main.h): otherwise glibc gives the pages of a
// large store back to the kernel when it ends, and the next iteration pays
// for clearing them afresh, which measures the allocator's trimming rather
// than the load.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <optional>
#include <string>

#include "config/configuration.h"
#include "config/document_reader.h"
#include "config_generator.h"
#include "warm_main.h"
#include "foundation/string_convert.h"
#include "xml/xml_document.h"

namespace {

long long MinorFaults() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// Ends the store that an iteration filled, outside the timed part, and adds
// the time it took to `teardown`.
void EndUntimed(benchmark::State& state, std::optional<ZEM::CConfiguration>& target,
                std::chrono::steady_clock::duration& teardown) {
    state.PauseTiming();
    const auto start = std::chrono::steady_clock::now();
    target.reset();
    teardown += std::chrono::steady_clock::now() - start;
    state.ResumeTiming();
}

void ReportTeardown(benchmark::State& state, int beans, std::chrono::steady_clock::duration teardown) {
    state.counters["teardown_per_bean"] = benchmark::Counter(
        std::chrono::duration<double>(teardown).count() / beans, benchmark::Counter::kAvgIterations);
}

void Finish(benchmark::State& state, int beans, long long faultsBefore) {
    state.counters["faults"] =
        static_cast<double>(MinorFaults() - faultsBefore) / static_cast<double>(state.iterations());
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

CGeneratedDocuments& Documents() {
    static CGeneratedDocuments documents("zem-config-bench", SGeneratorOptions{});
    return documents;
}

void BM_LoadConfigurationFile(benchmark::State& state) {
    const int beans = static_cast<int>(state.range(0));
    const std::wstring& path = Documents().PathFor(beans);
    if (path.empty()) {
        state.SkipWithError("could not write the document");
        return;
    }
    std::chrono::steady_clock::duration teardown{};
    std::optional<ZEM::CConfiguration> target;
    const long long faults = MinorFaults();
    for (auto _ : state) {
        target.emplace(nullptr);
        ZEM::CConfiguration read = ZEM::ReadConfigurationFile(nullptr, path.c_str());
        target->MergeConfiguration(read);
        benchmark::DoNotOptimize(target->Store().libraries.size());
        EndUntimed(state, target, teardown);
    }
    Finish(state, beans, faults);
    ReportTeardown(state, beans, teardown);
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
    const long long faults = MinorFaults();
    for (auto _ : state) {
        ZEM::SXmlParseResult result;
        ZEM::XMLNode root = ZEM::ParseFile(path.c_str(), "zem", &result);
        benchmark::DoNotOptimize(root.IsEmpty());
    }
    Finish(state, beans, faults);
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
    std::chrono::steady_clock::duration teardown{};
    std::optional<ZEM::CConfiguration> target;
    const long long faults = MinorFaults();
    for (auto _ : state) {
        target.emplace(nullptr);
        ZEM::CConfiguration read(nullptr);
        ZEM::CReading reading;
        ZEM::ReadLibraries(read, reading, root, ".");
        target->MergeConfiguration(read);
        benchmark::DoNotOptimize(target->Store().libraries.size());
        EndUntimed(state, target, teardown);
    }
    Finish(state, beans, faults);
    ReportTeardown(state, beans, teardown);
}
BENCHMARK(BM_ReadParsedTree)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) { return RunOnWarmMemory(argc, argv); }
