// The classes of the request benchmarks: "Engine", a small class, and "Car",
// made with an int and a reference to an engine, with one string property
// ("Label"), and the raw wrapper that binds Car.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

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

}  // namespace bench_beans
