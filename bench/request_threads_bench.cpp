// Bean requests of one factory from 1, 2 and 4 threads: the same made
// singleton, each thread its own made singleton, and a new object. Beside
// them the bounds they are held against: one lock and one look-up on one
// thread, and the copy of one shared pointer from 1 and 2 threads, which every
// request of the same singleton pays. And how long a request of a made
// singleton waits while another thread keeps making a bean that takes 50 ms.
// After the runs a summary sets each figure beside its goal: the median and
// range over the repetitions (3 unless --benchmark_repetitions says). Rates
// are by the clock on the wall. On a machine that other work keeps busy they
// say little about threads, so the summary also gives each scaling as the
// processor time per request allows it: N threads times the time of one
// thread's request over that of N threads' (the same figure on idle cores,
// for code that doesn't block; a blocked thread uses no processor time).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "container/bean_factory.h"
#include "library/library.h"
#include "platform/module.h"
#include "types/bean_type.h"
#include "zem/zem.h"

#include "car_beans.h"

namespace {

using namespace ZEM;
using namespace bench_beans;

// The beans: singletons "engine" and "engine1" to "engine3" of one small
// class; "car", a new object at every request with an int, a reference to
// "engine" and one string property; "slow", a new object whose making takes
// 50 ms.

class EngineWrapper : public IBeanWrapper {
public:
    const char* GetClassName() const override { return "Engine"; }
    std::unique_ptr<IObject> CreateInstance(const char* method, std::size_t, std::vector<void*>*,
                                            std::shared_ptr<const IBeanWrapper>, const char*,
                                            std::vector<std::shared_ptr<IObject>>&) const override {
        if (std::strcmp(method, "Slow") == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return std::make_unique<Engine>();
    }
    bool Invoke(IObject*, const char*, std::size_t, std::vector<void*>*) const override { return false; }
    bool HasMethod(const char*, std::size_t) const override { return false; }
    void GetArgumentTypes(const char*, std::size_t, std::vector<std::string>&) const override {}
};

IBeanWrapper* MakeEngine() { return new EngineWrapper; }
IBeanWrapper* MakeCar() { return new CarWrapper; }

SBean Definition(const char* name, const char* className, bool singleton, const char* method) {
    SBean bean;
    bean.name = name;
    bean.className = className;
    bean.factoryMethod = method;
    bean.singleton = singleton;
    return bean;
}

// A new factory with the beans above defined; nothing made yet.
std::shared_ptr<CBeanFactoryImpl> MakeFactory() {
    GetLocalLibrary().RegisterWrapperMaker("create_BenchEngine_Wrapper", &MakeEngine);
    GetLocalLibrary().RegisterWrapperMaker("create_BenchCar_Wrapper", &MakeCar);
    auto factory = std::make_shared<CBeanFactoryImpl>();
    CConfiguration configuration(factory.get());
    SLibrary* library = configuration.FindOrAddLibrary(platform::ExecutablePath());
    for (const char* name : {"engine", "engine1", "engine2", "engine3"})
        library->beans.push_back(Definition(name, "BenchEngine", true, "BenchEngine"));
    library->beans.push_back(Definition("slow", "BenchEngine", false, "Slow"));
    SBean car = Definition("car", "BenchCar", false, "BenchCar");
    car.arguments = {{"int", "4"}, {"bean", "engine"}};
    car.properties = {{"Label", {{"const char*", "family"}}}};
    library->beans.push_back(car);
    factory->LoadConfiguration(configuration);
    return factory;
}

const char* const kEngines[] = {"engine", "engine1", "engine2", "engine3"};

// One factory for all runs, with its singletons made before any is timed.
IBeanFactory& Factory() {
    static const std::shared_ptr<CBeanFactoryImpl> factory = [] {
        std::shared_ptr<CBeanFactoryImpl> made = MakeFactory();
        for (const char* name : kEngines) made->GetBean(name, nullptr);
        return made;
    }();
    return *factory;
}

// The floor of a request on one thread: one uncontended recursive lock and
// one hash look-up of the name.
void BM_Floor_LockAndLookup(benchmark::State& state) {
    std::recursive_mutex lock;
    KtMap<KtStr, int> names;
    for (int i = 0; i < 100; ++i) names.FindOrInsert(std::string_view("bean" + std::to_string(i))) = i;
    names.FindOrInsert("engine") = 1;
    // The name comes from outside, as a request's does: the compiler may not
    // work its hash out ahead.
    const char* name = "engine";
    for (auto _ : state) {
        benchmark::DoNotOptimize(name);
        std::lock_guard<std::recursive_mutex> guard(lock);
        benchmark::DoNotOptimize(names.Find(name));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Floor_LockAndLookup)->UseRealTime();

// A copy of one shared pointer, made and dropped: what handing out the same
// object costs, whatever the container does.
void BM_SharedPointerCopy(benchmark::State& state) {
    static const std::shared_ptr<int> shared = std::make_shared<int>(1);
    for (auto _ : state) {
        std::shared_ptr<int> copy = shared;
        benchmark::DoNotOptimize(copy);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SharedPointerCopy)->Threads(1)->Threads(2)->UseRealTime();

void Requests(benchmark::State& state, const char* name) {
    IBeanFactory& factory = Factory();
    if (!factory.GetBean(name, nullptr)) state.SkipWithError("no bean");
    for (auto _ : state) benchmark::DoNotOptimize(factory.GetBean(name, nullptr));
    state.SetItemsProcessed(state.iterations());
}

void BM_SameSingleton(benchmark::State& state) { Requests(state, "engine"); }
BENCHMARK(BM_SameSingleton)->ThreadRange(1, 4)->UseRealTime();

void BM_OwnSingleton(benchmark::State& state) { Requests(state, kEngines[state.thread_index() % 4]); }
BENCHMARK(BM_OwnSingleton)->ThreadRange(1, 4)->UseRealTime();

void BM_NewObject(benchmark::State& state) { Requests(state, "car"); }
BENCHMARK(BM_NewObject)->ThreadRange(1, 4)->UseRealTime();

// Requests of a made singleton while another thread makes "slow" beans one
// after the other, if `slowBeans`: the mean and the worst time of one request.
// Without them, the same loop shows what the machine alone adds to the worst
// (a thread that other work pushes off its core).
void WaitedTimes(benchmark::State& state, bool slowBeans) {
    using Clock = std::chrono::steady_clock;
    IBeanFactory& factory = Factory();
    std::atomic<bool> stop{false};
    std::atomic<bool> started{!slowBeans};
    std::thread maker([&] {
        while (slowBeans && !stop.load()) {
            started.store(true);
            factory.GetBean("slow", nullptr);
        }
    });
    while (!started.load()) std::this_thread::yield();
    double sum = 0;
    double worst = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        benchmark::DoNotOptimize(factory.GetBean("engine", nullptr));
        const double took = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
        sum += took;
        worst = std::max(worst, took);
    }
    stop.store(true);
    maker.join();
    state.counters["mean_us"] = sum / static_cast<double>(state.iterations());
    state.counters["worst_us"] = worst;
}

void BM_WaitBesideSlowBean(benchmark::State& state) { WaitedTimes(state, true); }
void BM_WaitAlone(benchmark::State& state) { WaitedTimes(state, false); }
BENCHMARK(BM_WaitAlone)->MinTime(1.0)->UseRealTime();
BENCHMARK(BM_WaitBesideSlowBean)->MinTime(1.0)->UseRealTime();

// The console's output, and after it each goal with the figures it rests on.
class CGoalReporter : public benchmark::ConsoleReporter {
public:
    // Colours only for a terminal, as the library's own reporter does.
    CGoalReporter() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_Defaults : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            for (const auto& [counter, value] : run.counters)
                figures_[Key(run.run_name.function_name, run.threads, counter)].push_back(value.value);
            figures_[Key(run.run_name.function_name, run.threads, "cpu")].push_back(run.GetAdjustedCPUTime());
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\nGoals (median [lowest - highest] over the repetitions)\n");
        Rates("BM_SharedPointerCopy", {1, 2});
        Rates("BM_SameSingleton", {1, 2, 4});
        Rates("BM_OwnSingleton", {1, 2, 4});
        Rates("BM_NewObject", {1, 2, 4});
        Line("different singletons, 2 threads / 1", Ratio("BM_OwnSingleton", 2, "BM_OwnSingleton", 1),
             "at least 1.6x");
        const std::vector<double> same = Ratio("BM_SameSingleton", 2, "BM_SameSingleton", 1);
        const std::vector<double> copy = Ratio("BM_SharedPointerCopy", 2, "BM_SharedPointerCopy", 1);
        Line("same singleton, 2 threads / 1", same, "");
        Line("shared pointer copy, 2 threads / 1", copy, "");
        Line("  the one ratio / the other", Quotients(same, copy), "at least 0.9x");
        Line("new object, 2 threads / 1", Ratio("BM_NewObject", 2, "BM_NewObject", 1), "");
        Line("one thread's singleton request / floor",
             Ratio("BM_Floor_LockAndLookup", 1, "BM_SameSingleton", 1), "at most 1.5x");
        Line("beside a slow bean, mean wait (us)", figures_[Key("BM_WaitBesideSlowBean", 1, "mean_us")],
             "under 2 us");
        Line("beside a slow bean, worst wait (us)", figures_[Key("BM_WaitBesideSlowBean", 1, "worst_us")],
             "under 5000 us");
        Line("  the same loop alone, worst (us)", figures_[Key("BM_WaitAlone", 1, "worst_us")], "the machine's share");
        std::printf("By processor time (see the top of bench/request_threads_bench.cpp)\n");
        const std::vector<double> floor = Quotients(figures_[Key("BM_SameSingleton", 1, "cpu")],
                                                    figures_[Key("BM_Floor_LockAndLookup", 1, "cpu")]);
        Line("one thread's singleton request / floor", floor, "at most 1.5x");
        for (const char* name : {"BM_SharedPointerCopy", "BM_SameSingleton", "BM_OwnSingleton", "BM_NewObject"})
            for (int threads : {2, 4}) {
                std::vector<double> scaling;
                const std::vector<double>& one = figures_[Key(name, 1, "cpu")];
                const std::vector<double>& many = figures_[Key(name, threads, "cpu")];
                for (std::size_t i = 0; i < one.size() && i < many.size(); ++i)
                    if (many[i] > 0) scaling.push_back(threads * one[i] / many[i]);
                if (!scaling.empty())
                    Line((std::string(name + 3) + ", " + std::to_string(threads) + " threads / 1").c_str(), scaling,
                         "");
            }
    }

private:
    static std::string Key(const std::string& name, std::int64_t threads, const std::string& counter) {
        return name + "/" + std::to_string(threads) + "/" + counter;
    }

    // a[i] / b[i], repetition by repetition.
    static std::vector<double> Quotients(const std::vector<double>& a, const std::vector<double>& b) {
        std::vector<double> quotients;
        for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
            if (b[i] > 0) quotients.push_back(a[i] / b[i]);
        return quotients;
    }

    // The rate of `a` over that of `b`, repetition by repetition.
    std::vector<double> Ratio(const char* a, int aThreads, const char* b, int bThreads) {
        return Quotients(figures_[Key(a, aThreads, "items_per_second")],
                         figures_[Key(b, bThreads, "items_per_second")]);
    }

    void Rates(const char* name, std::initializer_list<int> threads) {
        for (int count : threads) {
            std::vector<double> rates = figures_[Key(name, count, "items_per_second")];
            for (double& rate : rates) rate /= 1e6;
            Line((std::string(name + 3) + ", M requests/s, threads: " + std::to_string(count)).c_str(), rates, "");
        }
    }

    static void Line(const char* what, std::vector<double> values, const char* goal) {
        if (values.empty()) {
            std::printf("  %-44s not measured\n", what);
            return;
        }
        std::sort(values.begin(), values.end());
        const std::size_t n = values.size();
        const double median = n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
        std::printf("  %-44s %9.3f [%.3f - %.3f]  %s\n", what, median, values.front(), values.back(), goal);
    }

    std::map<std::string, std::vector<double>> figures_;
};

}  // namespace

int main(int argc, char** argv) {
    // Three repetitions unless told otherwise: one figure of a loaded machine
    // says little.
    std::vector<char*> args(argv, argv + argc);
    std::string repetitions = "--benchmark_repetitions=3";
    if (std::none_of(args.begin(), args.end(),
                     [](const char* arg) { return std::strncmp(arg, "--benchmark_repetitions", 23) == 0; }))
        args.push_back(repetitions.data());
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
    CGoalReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
