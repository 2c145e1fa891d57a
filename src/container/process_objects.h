// The library's process-wide objects. They are defined together, in one
// translation unit, so that they come up in a fixed order and go down in the
// reverse one: whatever a singleton's destructor uses outlives it.
#pragma once

#include <memory>
#include <mutex>

#include "zem/bean_factory.h"

namespace ZEM {

// Serialises the merge of a configuration and the making of eager beans of
// every factory of the process. Not recursive.
std::mutex& StartupMutex();

// The slot of the shared factory; weak, so it keeps nothing alive.
std::weak_ptr<IBeanFactory>& SharedFactory();

// A strong pointer to the shared factory, or empty; creates nothing.
std::shared_ptr<IBeanFactory> LockSharedFactory();

}  // namespace ZEM
