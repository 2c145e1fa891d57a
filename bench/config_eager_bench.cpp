// The whole cost of a host that configures a container from a file of N beans
// that are all eager singletons: reading, merging, binding every bean to its
// class and making, wiring and starting every object before the constructor
// returns. The classes are the program's own, bound with the kit and exported
// from it; the document's library has no path, so it names this program. That
// keeps build paths out of the document and gives the objects one home, so
// the check below can count them and cast them without crossing a module.
// Compare with bench_config_load, which stops before any bean is bound.
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "config_generator.h"
#include "foundation/string_convert.h"
#include "zem/class.h"
#include "zem/zem.h"

namespace app::services {

// What the services did, so that a load that made nothing can't pass for a
// fast one. Loads run on one thread.
struct SCensus {
    long made = 0;
    long started = 0;
    long linked = 0;  // made with the bean before them
    long ended = 0;
};
SCensus g_census;

// The part all 97 classes share: a bean takes the one before it whatever
// that one's class is.
class ServiceBase : public ZEM::IObject {
public:
    ServiceBase(int index, std::shared_ptr<ServiceBase> previous) : index_(index), previous_(std::move(previous)) {
        ++g_census.made;
        if (previous_) ++g_census.linked;
    }
    ~ServiceBase() override { ++g_census.ended; }

    void SetDescription(const char* text) { description_ = text; }
    bool Start() {
        if (started_) return false;  // a second start would mean a second set-up of one object
        started_ = true;
        ++g_census.started;
        return true;
    }

    int Index() const { return index_; }
    bool Started() const { return started_; }
    const std::string& Description() const { return description_; }
    const std::shared_ptr<ServiceBase>& Previous() const { return previous_; }

private:
    int index_;
    std::shared_ptr<ServiceBase> previous_;
    std::string description_;
    bool started_ = false;
};

// app::services::Service<k> of the document, one C++ class per k.
template <int K>
class Service : public ServiceBase {
public:
    explicit Service(int index) : ServiceBase(index, nullptr) {}
    Service(int index, std::shared_ptr<ServiceBase> previous) : ServiceBase(index, std::move(previous)) {}
};

template <int K>
ZEM::CClass<Service<K>> BindService() {
    return ZEM::CClass<Service<K>>()
        .template Constructor<int>()
        .template Constructor<int, std::shared_ptr<ServiceBase>>()
        .Property("Description", &ServiceBase::SetDescription)
        .Method("Start", &ServiceBase::Start);
}

// Set: the makers hide the kit's declared parameters behind a wrapper of
// their own, so that the container compares nothing. The same load with and
// without the comparison, in one run.
bool g_undeclared = false;

class CUndeclared final : public ZEM::IBeanWrapper {
public:
    explicit CUndeclared(ZEM::IBeanWrapper* inner) : inner_(inner) {}
    const char* GetClassName() const override { return inner_->GetClassName(); }
    std::unique_ptr<ZEM::IObject> CreateInstance(const char* method, std::size_t argCount, std::vector<void*>* args,
                                                 std::shared_ptr<const ZEM::IBeanWrapper> wrapper, const char* exitMethod,
                                                 std::vector<std::shared_ptr<ZEM::IObject>>& dependencies) const override {
        return inner_->CreateInstance(method, argCount, args, std::move(wrapper), exitMethod, dependencies);
    }
    bool Invoke(ZEM::IObject* object, const char* method, std::size_t argCount,
                std::vector<void*>* args) const override {
        return inner_->Invoke(object, method, argCount, args);
    }
    bool HasMethod(const char* method, std::size_t argCount) const override {
        return inner_->HasMethod(method, argCount);
    }
    void GetArgumentTypes(const char* method, std::size_t argCount, std::vector<std::string>& types) const override {
        inner_->GetArgumentTypes(method, argCount, types);
    }

private:
    std::unique_ptr<ZEM::IBeanWrapper> inner_;
};

template <int K>
ZEM::IBeanWrapper* MakeService(const char* className) {
    ZEM::IBeanWrapper* wrapper = ZEM::NewWrapper(BindService<K>(), className);
    return g_undeclared ? new CUndeclared(wrapper) : wrapper;
}

}  // namespace app::services

// The makers, exported from the program as a class library exports them:
// create_app_services_Service0_Wrapper ... create_app_services_Service96_Wrapper.
#define BENCH_SERVICE(k)                                                                                     \
    extern "C" ZEM_KIT_EXPORT ZEM::IBeanWrapper* create_app_services_Service##k##_Wrapper() {                 \
        return app::services::MakeService<k>("app::services::Service" #k);                                   \
    }
#define BENCH_SERVICE_DECADE(d)                                                                   \
    BENCH_SERVICE(d##0) BENCH_SERVICE(d##1) BENCH_SERVICE(d##2) BENCH_SERVICE(d##3)                \
    BENCH_SERVICE(d##4) BENCH_SERVICE(d##5) BENCH_SERVICE(d##6) BENCH_SERVICE(d##7)                \
    BENCH_SERVICE(d##8) BENCH_SERVICE(d##9)
BENCH_SERVICE_DECADE()
BENCH_SERVICE_DECADE(1)
BENCH_SERVICE_DECADE(2)
BENCH_SERVICE_DECADE(3)
BENCH_SERVICE_DECADE(4)
BENCH_SERVICE_DECADE(5)
BENCH_SERVICE_DECADE(6)
BENCH_SERVICE_DECADE(7)
BENCH_SERVICE_DECADE(8)
BENCH_SERVICE(90) BENCH_SERVICE(91) BENCH_SERVICE(92) BENCH_SERVICE(93)
BENCH_SERVICE(94) BENCH_SERVICE(95) BENCH_SERVICE(96)

namespace {

using app::services::g_census;
using app::services::ServiceBase;

CGeneratedDocuments& Documents() {
    static CGeneratedDocuments documents("zem-eager-bench",
                                         SGeneratorOptions{.libraryPath = std::nullopt, .allEager = true});
    return documents;
}

// Loads the document once and looks at what came of it: every bean made,
// linked and started exactly once, the last one reachable by name with the
// values of the document, and everything gone again with the container.
// Empty if all is well, else what went wrong. It loads through Reset so that
// a failure handler installed first can name the first bean not made; the
// timed loads go through the constructor and are counted after the loop.
std::string CheckLoad(int beans, const std::wstring& path) {
    g_census = {};
    std::string firstFailure;
    {
        ZEM::CContainer host(nullptr);
        ZEM::SetBeanFailureHandler(host.Factory(), [&](const char* name, const std::wstring& reason,
                                                       const std::vector<std::string>&) {
            if (firstFailure.empty()) firstFailure = std::string(name) + ": " + ZEM::Narrow(reason);
        });
        try {
            host.Reset(path.c_str());
        } catch (const ZEM::CException& error) {
            return "load refused: " + ZEM::Narrow(error.GetMessageW());
        }
        if (!firstFailure.empty()) return "bean not made: " + firstFailure;
        if (g_census.made != beans || g_census.started != beans || g_census.linked != beans / 2)
            return "made " + std::to_string(g_census.made) + ", started " + std::to_string(g_census.started) +
                   ", linked " + std::to_string(g_census.linked) + " of " + std::to_string(beans);

        const int last = beans - 1;
        const std::string name = "service" + std::to_string(last);
        std::shared_ptr<ServiceBase> bean = host.GetBean<ServiceBase>(name.c_str());
        if (!bean) return "GetBean('" + name + "') gave nothing";
        const std::string n = std::to_string(last);
        if (bean->Index() != last || !bean->Started() ||
            bean->Description() != "Service " + n + " & friends <v" + n + "> \"default\"")
            return "'" + name + "' was not set up as the document says";
        if ((last % 2 == 1) != static_cast<bool>(bean->Previous()) ||
            (bean->Previous() && bean->Previous()->Index() != last - 1))
            return "'" + name + "' holds the wrong bean before it";
        if (host.GetBean<ServiceBase>(name.c_str()) != bean || g_census.made != beans)
            return "'" + name + "' is not a singleton";
    }
    if (g_census.ended != beans) return std::to_string(beans - g_census.ended) + " objects outlived the container";
    return {};
}

// range(0) beans; range(1) 0 for classes that declare their parameters,
// which the container compares with the document at each bean's first
// making, 1 for the same classes behind makers that declare nothing.
void BM_LoadEagerConfigurationFile(benchmark::State& state) {
    const int beans = static_cast<int>(state.range(0));
    app::services::g_undeclared = state.range(1) != 0;
    const std::wstring& path = Documents().PathFor(beans);
    if (path.empty()) {
        state.SkipWithError("could not write the document");
        return;
    }
    // Google Benchmark runs the function several times per size; one check
    // per size is enough.
    static std::set<std::pair<int, bool>> checked;
    if (checked.insert({beans, app::services::g_undeclared}).second) {
        if (std::string problem = CheckLoad(beans, path); !problem.empty()) {
            checked.erase({beans, app::services::g_undeclared});
            state.SkipWithError(problem.c_str());
            return;
        }
    }

    // The end of the container is a host's shutdown, not its load: it is
    // timed apart and shown as a counter.
    std::chrono::steady_clock::duration teardown{};
    std::optional<ZEM::CContainer> host;
    g_census = {};
    for (auto _ : state) {
        host.emplace(path.c_str());
        state.PauseTiming();
        auto start = std::chrono::steady_clock::now();
        host.reset();
        teardown += std::chrono::steady_clock::now() - start;
        state.ResumeTiming();
    }
    // Every timed load must have made, started and ended every bean.
    const long expected = static_cast<long>(beans) * static_cast<long>(state.iterations());
    if (g_census.made != expected || g_census.started != expected || g_census.ended != expected) {
        state.SkipWithError("a timed load did not make every bean");
        return;
    }
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["teardown_per_bean"] = benchmark::Counter(
        std::chrono::duration<double>(teardown).count() / beans, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_LoadEagerConfigurationFile)
    ->ArgsProduct({{1000, 10000, 100000}, {0, 1}})
    ->ArgNames({"beans", "undeclared"})
    ->Unit(benchmark::kMillisecond);

// The same documents with a library the loader can't find: every eager bean
// fails, and each failure tries the library again, as binding requires. The
// load must cost about what a successful one does, not grow with the
// square of the beans.
void BM_LoadEagerUnloadableLibrary(benchmark::State& state) {
    static CGeneratedDocuments documents("zem-eager-fail-bench",
                                         SGeneratorOptions{.libraryPath = "libzem-missing-services.so", .allEager = true});
    const int beans = static_cast<int>(state.range(0));
    const std::wstring& path = documents.PathFor(beans);
    if (path.empty()) {
        state.SkipWithError("could not write the document");
        return;
    }
    long failures = 0;
    for (auto _ : state) {
        ZEM::CContainer host(nullptr);
        ZEM::SetBeanFailureHandler(host.Factory(), [&](const char*, const std::wstring&, const std::vector<std::string>&) {
            ++failures;
        });
        host.Reset(path.c_str());
    }
    if (failures != static_cast<long>(beans) * static_cast<long>(state.iterations())) {
        state.SkipWithError("not every eager bean failed");
        return;
    }
    state.counters["per_bean"] = benchmark::Counter(
        static_cast<double>(beans), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_LoadEagerUnloadableLibrary)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
