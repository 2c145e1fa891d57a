// The main function of the benchmarks that compare work on warm memory: malloc
// is told to keep freed memory in the process, so that an iteration doesn't
// pay for the kernel's clearing of the pages that the one before gave back
// (glibc's adaptive thresholds would hand warm memory to some runs and not to
// others, depending on the sizes they happen to allocate).
// ZEM_BENCH_COLD=1 in the environment leaves malloc as it is.
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdlib>

inline int RunOnWarmMemory(int argc, char** argv) {
    if (std::getenv("ZEM_BENCH_COLD") == nullptr) {
        mallopt(M_MMAP_THRESHOLD, 256 << 20);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
