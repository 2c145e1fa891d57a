// References resolve at construction, once per object creation or property
// call, on behalf of the library of the bean that holds the argument.
#include "types/value_pointer.h"

#include "container/bean_factory.h"
#include "foundation/string_convert.h"
#include "library/library.h"

namespace ZEM {

CBeanPointer::CBeanPointer(IBeanFactory* factory, const wchar_t* name, const SLibrary* library) {
    if (CShortNarrow shortName(name); shortName.Fits()) {
        object_ = RequestReference(factory, shortName.c_str(), library);
        return;
    }
    std::string narrow = Narrow(name);
    object_ = RequestReference(factory, narrow.c_str(), library);
}

CServicePointer::CServicePointer(IBeanFactory* factory, const wchar_t* className) {
    std::string narrow = Narrow(className);
    const char* typeId = LocalLibrary().GetTypeId(narrow.c_str());
    object_ = factory->GetService(typeId);
}

}  // namespace ZEM
