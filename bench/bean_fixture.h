// The factory that the bean request benchmarks ask: singletons "engine" and
// "engine1" to "engine3" of one small class, "car", a new object at every
// request with an int, a reference to "engine" and one string property, and
// "slow", a new object whose making takes 50 ms.
#pragma once

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "container/bean_factory.h"
#include "library/library.h"
#include "platform/module.h"
#include "types/bean_type.h"
#include "zem/zem.h"

namespace bench_beans {

using namespace ZEM;

class Engine : public IObject {};
class Car : public IObject {
public:
    int wheels = 0;
    std::shared_ptr<IObject> engine;
    std::string label;
};

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

class CarWrapper : public IBeanWrapper {
public:
    const char* GetClassName() const override { return "Car"; }
    std::unique_ptr<IObject> CreateInstance(const char*, std::size_t count, std::vector<void*>* args,
                                            std::shared_ptr<const IBeanWrapper>, const char*,
                                            std::vector<std::shared_ptr<IObject>>&) const override {
        auto car = std::make_unique<Car>();
        if (count == 2 && args != nullptr) {
            car->wheels = *static_cast<int*>((*args)[0]);
            if ((*args)[1] != nullptr) car->engine = *static_cast<std::shared_ptr<IObject>*>((*args)[1]);
        }
        return car;
    }
    bool Invoke(IObject* object, const char* method, std::size_t count, std::vector<void*>* args) const override {
        if (std::strcmp(method, "Label") != 0 || count != 1) return false;
        static_cast<Car*>(object)->label = *static_cast<const char* const*>((*args)[0]);
        return true;
    }
    bool HasMethod(const char*, std::size_t) const override { return true; }
    void GetArgumentTypes(const char*, std::size_t count, std::vector<std::string>& types) const override {
        types.assign(count, "const char*");
    }
};

inline IBeanWrapper* MakeEngine() { return new EngineWrapper; }
inline IBeanWrapper* MakeCar() { return new CarWrapper; }

inline SBean Definition(const char* name, const char* className, bool singleton, const char* method) {
    SBean bean;
    bean.name = name;
    bean.className = className;
    bean.factoryMethod = method;
    bean.singleton = singleton;
    return bean;
}

// A new factory with the beans above defined; nothing made yet.
inline std::shared_ptr<CBeanFactoryImpl> MakeFactory() {
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

}  // namespace bench_beans
