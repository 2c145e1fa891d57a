// Value pointers: the object behind one argument address during one wrapper
// call. Plain values live in a CValuePointer<T>; references to beans and
// services, and the null reference, in their own classes.
#pragma once

#include <memory>

#include "zem/bean_factory.h"
#include "zem/object.h"

namespace ZEM {

class IValuePointer {
public:
    virtual ~IValuePointer();
    // The address the wrapper reads, or null.
    virtual void* GetValue() = 0;
};

template <class T>
class CValuePointer final : public IValuePointer {
public:
    explicit CValuePointer(T value) : value_(std::move(value)) {}
    void* GetValue() override { return &value_; }

private:
    T value_;
};

// A bean asked for on behalf of `library` at construction.
class CBeanPointer final : public IValuePointer {
public:
    CBeanPointer(IBeanFactory* factory, const char* name, const SLibrary* library);
    void* GetValue() override { return object_ ? &object_ : nullptr; }

private:
    std::shared_ptr<IObject> object_;
};

// The first service of the interface whose class name is given; throws if the
// class name has no type id.
class CServicePointer final : public IValuePointer {
public:
    CServicePointer(IBeanFactory* factory, const char* className);
    void* GetValue() override { return object_ ? &object_ : nullptr; }

private:
    std::shared_ptr<IObject> object_;
};

// An empty shared pointer with a valid address.
class CNullPointer final : public IValuePointer {
public:
    void* GetValue() override { return &object_; }

private:
    std::shared_ptr<IObject> object_;
};

}  // namespace ZEM
