// The closed table of value types: a type name and a text become a typed
// value. "bean", "service" and "nullptr" go to the one ObjectType.
#pragma once

#include <memory>

#include "foundation/kt_map.h"
#include "foundation/kt_string.h"
#include "types/value_pointer.h"

namespace ZEM {

class IType {
public:
    virtual ~IType();
    // A value pointer for `text`; empty for a reference that found nothing.
    virtual std::shared_ptr<IValuePointer> CreateValue(IBeanFactory* factory, const char* typeName,
                                                       const char* text, const SLibrary* library) = 0;
};

class CTypeRegistry {
public:
    // Builds the 21 basic types; the factory sets the object type afterwards.
    CTypeRegistry();
    ~CTypeRegistry();
    CTypeRegistry(const CTypeRegistry&) = delete;
    CTypeRegistry& operator=(const CTypeRegistry&) = delete;

    void SetObjectType(std::unique_ptr<IType> objectType) { objectType_ = std::move(objectType); }

    // Never null; throws "Could not find type bean '...'".
    IType* FindType(const char* name) const;

private:
    const std::unique_ptr<IType>* FindWithoutBlanks(const char* name) const;

    KtMap<KtStr, std::unique_ptr<IType>> types_;
    std::unique_ptr<IType> objectType_;  // destroyed before types_
};

// Resolves "bean", "service" and "nullptr" arguments.
class ObjectType final : public IType {
public:
    explicit ObjectType(CTypeRegistry* table) : table_(table) {}
    std::shared_ptr<IValuePointer> CreateValue(IBeanFactory* factory, const char* typeName,
                                               const char* text, const SLibrary* library) override;

private:
    CTypeRegistry* table_;
};

}  // namespace ZEM
