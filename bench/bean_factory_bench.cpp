// Bean requests on one thread: a warm singleton seen by an idle request
// observer, and a non-singleton with two constructor arguments (an int and a
// reference to a singleton) and one string property, with the conversion of
// each argument measured on its own. The bare request of a singleton, against
// the floor of a lock and a look-up, and requests on several threads are in
// bench_request_threads.
#include <benchmark/benchmark.h>

#include "bean_fixture.h"

namespace {

using namespace ZEM;
using bench_beans::MakeFactory;

// A singleton with an observer that does nothing: what observation costs.
void BM_GetBean_Singleton_Observed(benchmark::State& state) {
    struct CIdle : IBeanRequestObserver {
        void OnRequestStart(const SBeanRequest&) override {}
        void OnRequestEnd(const SBeanRequest&) override {}
    };
    auto factory = MakeFactory();
    SetBeanRequestObserver(*factory, std::make_shared<CIdle>());
    if (!factory->GetBean("engine", nullptr)) state.SkipWithError("no engine");
    for (auto _ : state) benchmark::DoNotOptimize(factory->GetBean("engine", nullptr));
}
BENCHMARK(BM_GetBean_Singleton_Observed);

void BM_GetBean_NonSingleton(benchmark::State& state) {
    auto factory = MakeFactory();
    if (!factory->GetBean("car", nullptr)) state.SkipWithError("no car");
    for (auto _ : state) benchmark::DoNotOptimize(factory->GetBean("car", nullptr));
}
BENCHMARK(BM_GetBean_NonSingleton);

// The conversion of each argument of the car on its own, as a request after
// the first pays it: the argument's type is known, its value made anew.
void BM_Bind(benchmark::State& state, const char* type, const char* value) {
    auto factory = MakeFactory();
    CTypeRegistry types;
    types.SetObjectType(std::make_unique<ObjectType>(&types));
    SArgument argument{type, value};
    IType* known = nullptr;
    for (auto _ : state)
        benchmark::DoNotOptimize(EvaluateArgument(argument, factory.get(), &types, nullptr, &known).GetValue());
}
BENCHMARK_CAPTURE(BM_Bind, Int, "int", "4");
BENCHMARK_CAPTURE(BM_Bind, BeanReference, "bean", "engine");
BENCHMARK_CAPTURE(BM_Bind, String, "const char*", "family");

}  // namespace

BENCHMARK_MAIN();
