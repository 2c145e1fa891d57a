// References resolve at construction, once per object creation or property
// call, on behalf of the library of the bean that holds the argument.
#include "types/value_pointer.h"

#include "container/bean_factory.h"
#include "library/library.h"

namespace ZEM {

CBeanPointer::CBeanPointer(IBeanFactory* factory, const char* name, const SLibrary* library)
    : object_(RequestReference(factory, name, library)) {}

CServicePointer::CServicePointer(IBeanFactory* factory, const char* className)
    : object_(factory->GetService(LocalLibrary().GetTypeId(className))) {}

}  // namespace ZEM
