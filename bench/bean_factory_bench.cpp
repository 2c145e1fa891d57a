// Bean requests: a warm singleton against the floor of one uncontended
// recursive lock plus one hash look-up of the name, the same singleton seen
// by an idle request observer, and a non-singleton with
// two constructor arguments (an int and a reference to a singleton) and one
// string property, with the conversion of each argument measured on its own;
// the same non-singleton of classes bound with the kit, whose declared
// parameters the container compares at the first request and whose
// reference it checks at each.
#include <benchmark/benchmark.h>

#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>

#include "container/bean_factory.h"
#include "container/process_objects.h"
#include "library/library.h"
#include "platform/module.h"
#include "types/bean_type.h"
#include "zem/class.h"
#include "zem/zem.h"

#include "car_beans.h"

namespace {

using namespace ZEM;
using namespace bench_beans;

class EngineWrapper : public IBeanWrapper {
public:
    const char* GetClassName() const override { return "Engine"; }
    std::unique_ptr<IObject> CreateInstance(const char*, std::size_t, std::vector<void*>*,
                                            std::shared_ptr<const IBeanWrapper>, const char*,
                                            std::vector<std::shared_ptr<IObject>>&) const override {
        return std::make_unique<Engine>();
    }
    bool Invoke(IObject*, const char*, std::size_t, std::vector<void*>*) const override { return false; }
    bool HasMethod(const char*, std::size_t) const override { return false; }
    void GetArgumentTypes(const char*, std::size_t, std::vector<std::string>&) const override {}
};

class KitEngine : public IObject {};
class KitCar : public IObject {
public:
    KitCar(int wheels, std::shared_ptr<KitEngine> engine) : wheels_(wheels), engine_(std::move(engine)) {}
    void SetLabel(const char* label) { label_ = label; }

private:
    int wheels_;
    std::shared_ptr<KitEngine> engine_;
    std::string label_;
};
CClass<KitEngine> BindKitEngine() { return CClass<KitEngine>().Constructor<>(); }
CClass<KitCar> BindKitCar() {
    return CClass<KitCar>().Constructor<int, std::shared_ptr<KitEngine>>().Property("Label", &KitCar::SetLabel);
}

IBeanWrapper* MakeEngine() { return new EngineWrapper; }
IBeanWrapper* MakeCar() { return new CarWrapper; }

std::shared_ptr<CBeanFactoryImpl> MakeFactory() {
    GetLocalLibrary().RegisterWrapperMaker("create_BenchEngine_Wrapper", &MakeEngine);
    GetLocalLibrary().RegisterWrapperMaker("create_BenchCar_Wrapper", &MakeCar);
    auto factory = std::make_shared<CBeanFactoryImpl>();
    CConfiguration configuration(factory.get());
    SLibrary* library = configuration.FindOrAddLibrary(platform::ExecutablePath());
    SBean engine;
    engine.name = "engine";
    engine.className = "BenchEngine";
    engine.factoryMethod = "BenchEngine";
    engine.singleton = true;
    library->beans.push_back(engine);
    SBean car;
    car.name = "car";
    car.className = "BenchCar";
    car.factoryMethod = "BenchCar";
    car.arguments = {{"int", "4"}, {"bean", "engine"}};
    car.properties = {{"Label", {{"const char*", "family"}}}};
    library->beans.push_back(car);
    RegisterClass<&BindKitEngine>("BenchKitEngine");
    RegisterClass<&BindKitCar>("BenchKitCar");
    engine.name = "kitEngine";
    engine.className = engine.factoryMethod = "BenchKitEngine";
    library->beans.push_back(engine);
    car.name = "kitCar";
    car.className = car.factoryMethod = "BenchKitCar";
    car.arguments[1].value = "kitEngine";
    library->beans.push_back(car);
    factory->LoadConfiguration(configuration);
    return factory;
}

// The floor: one uncontended recursive lock and one hash look-up of the name.
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
}
BENCHMARK(BM_Floor_LockAndLookup);

void BM_GetBean_Singleton(benchmark::State& state) {
    auto factory = MakeFactory();
    if (!factory->GetBean("engine", nullptr)) state.SkipWithError("no engine");
    for (auto _ : state) benchmark::DoNotOptimize(factory->GetBean("engine", nullptr));
}
BENCHMARK(BM_GetBean_Singleton);

// The same with an observer that does nothing: what observation itself costs.
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

void BM_GetBean_NonSingleton_Kit(benchmark::State& state) {
    auto factory = MakeFactory();
    if (!factory->GetBean("kitCar", nullptr)) state.SkipWithError("no kit car");
    for (auto _ : state) benchmark::DoNotOptimize(factory->GetBean("kitCar", nullptr));
}
BENCHMARK(BM_GetBean_NonSingleton_Kit);

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
