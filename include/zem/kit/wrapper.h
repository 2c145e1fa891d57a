// CClassWrapper: the IBeanWrapper that a kit binding becomes. It finds a
// creator or method by name and argument count and turns every failure
// (unknown name, wrong count, missing argument, an exception) into a null
// object or false. Made by the makers of zem/class.h.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zem/kit/calls.h"
#include "zem/object.h"
#include "zem/typed_wrapper.h"

namespace ZEM::kit {

// The entries of one class binding, as CClass<T> collects them.
struct STable {
    std::vector<SCreator> creators;
    std::vector<SMethod> methods;

    // A later entry of one name and argument count replaces the earlier one.
    template <class Entry>
    static void Put(std::vector<Entry>& entries, Entry&& entry) {
        for (Entry& existing : entries) {
            if (existing.name == entry.name && existing.arity == entry.arity) {
                existing = std::move(entry);
                return;
            }
        }
        entries.push_back(std::move(entry));
    }
};

class CClassWrapper final : public IBeanWrapper, public ITypedWrapper {
public:
    CClassWrapper(STable table, std::string className)
        : table_(std::move(table)), className_(std::move(className)) {
        std::size_t colon = className_.find_last_of(':');
        ownName_ = colon == std::string::npos ? className_ : className_.substr(colon + 1);
    }
    CClassWrapper(const CClassWrapper&) = delete;
    CClassWrapper& operator=(const CClassWrapper&) = delete;

    const char* GetClassName() const override { return className_.c_str(); }

    std::unique_ptr<IObject> CreateInstance(const char* method, std::size_t argCount,
                                            std::vector<void*>* args,
                                            std::shared_ptr<const IBeanWrapper> /*wrapper*/,
                                            const char* exitMethod,
                                            std::vector<std::shared_ptr<IObject>>& dependencies) const override {
        try {
            const SCreator* creator = FindCreator(method, argCount);
            if (creator == nullptr || !HasEntries(argCount, args)) return nullptr;
            SObjectEnd end;
            if (exitMethod != nullptr && *exitMethod != '\0') {
                const SMethod* exit = FindMethod(exitMethod, 0);
                if (exit == nullptr) return nullptr;  // an exit method that can't run is refused now
                end.exit = exit->invoke;
            }
            for (const std::shared_ptr<IObject>& dependency : dependencies)
                if (dependency) end.keep.push_back(dependency);
            return creator->make(EntriesOf(argCount, args), std::move(end));
        } catch (...) {
            return nullptr;
        }
    }

    bool Invoke(IObject* object, const char* method, std::size_t argCount,
                std::vector<void*>* args) const override {
        try {
            const SMethod* entry = FindMethod(method, argCount);
            if (object == nullptr || entry == nullptr || !HasEntries(argCount, args)) return false;
            return entry->invoke(object, EntriesOf(argCount, args));
        } catch (...) {
            return false;
        }
    }

    bool HasMethod(const char* method, std::size_t argCount) const override {
        return FindMethod(method, argCount) != nullptr || FindCreator(method, argCount) != nullptr;
    }

    void GetArgumentTypes(const char* method, std::size_t argCount,
                          std::vector<std::string>& types) const override {
        // Nothing for an unknown method: the container then refuses the
        // property when it binds the class, before any object exists.
        if (const SMethod* entry = FindMethod(method, argCount))
            for (const SParameter& parameter : entry->parameters) types.emplace_back(parameter.typeName);
    }

    const std::vector<SParameter>* FindParameters(bool creator, const char* method, std::size_t argCount,
                                                  std::vector<std::size_t>& counts) const override {
        if (creator) {
            if (const SCreator* found = FindCreator(method, argCount)) return &found->parameters;
            for (const SCreator& entry : table_.creators)
                if (method != nullptr && (entry.name.empty() ? ownName_ : entry.name) == method)
                    counts.push_back(entry.arity);
        } else {
            if (const SMethod* found = FindMethod(method, argCount)) return &found->parameters;
            for (const SMethod& entry : table_.methods)
                if (method != nullptr && entry.name == method) counts.push_back(entry.arity);
        }
        std::sort(counts.begin(), counts.end());
        return nullptr;
    }

    MadeClassThrower MadeClass(const char* method, std::size_t argCount) const override {
        const SCreator* creator = FindCreator(method, argCount);
        return creator != nullptr ? creator->made : nullptr;
    }

private:
    static bool HasEntries(std::size_t argCount, const std::vector<void*>* args) {
        return argCount == 0 || (args != nullptr && args->size() >= argCount);
    }
    static Entries EntriesOf(std::size_t argCount, std::vector<void*>* args) {
        return argCount == 0 ? nullptr : args->data();
    }

    const SCreator* FindCreator(const char* method, std::size_t argCount) const {
        if (method == nullptr) return nullptr;
        for (const SCreator& creator : table_.creators) {
            const std::string& name = creator.name.empty() ? ownName_ : creator.name;
            if (creator.arity == argCount && name == method) return &creator;
        }
        return nullptr;
    }
    const SMethod* FindMethod(const char* method, std::size_t argCount) const {
        if (method == nullptr) return nullptr;
        for (const SMethod& entry : table_.methods)
            if (entry.arity == argCount && entry.name == method) return &entry;
        return nullptr;
    }

    STable table_;
    std::string className_;
    std::string ownName_;  // the last component of the class name: the constructor's name
};

}  // namespace ZEM::kit
