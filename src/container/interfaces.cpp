// Out-of-line destructors of the public interfaces, so that their vtables and
// type information are emitted once, by libzem, with default visibility.
#include "zem/zem.h"

namespace ZEM {

IObject::~IObject() = default;
IBeanWrapper::~IBeanWrapper() = default;
ITypeRegistration::~ITypeRegistration() = default;
IBeanFactory::~IBeanFactory() = default;
ILibraryConfiguration::~ILibraryConfiguration() = default;
IBeanRequestObserver::~IBeanRequestObserver() = default;
ITypedWrapper::~ITypedWrapper() = default;

}  // namespace ZEM
