// Opt-in diagnostics for hosts and tools. A bean request never throws: when it
// fails, it gives an empty pointer. A failure handler installed on a factory
// learns why, without changing what the request gives.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zem/bean_factory.h"
#include "zem/export.h"

namespace ZEM {

// Called, on the requesting thread and under the factory's lock, with the
// name of the bean whose request gave up and the reason (the message of the
// exception the request dropped, or a short description). For a class library
// that could not be loaded, the system loader's own reason follows the
// message in parentheses: "Could not load library 'x.so' (x.so: cannot open
// shared object file: No such file or directory)". `chain` holds the beans
// being made on this thread when it happened, outermost first.
using BeanFailureHandler =
    std::function<void(const char* name, const std::wstring& reason, const std::vector<std::string>& chain)>;

// Installs `handler` on `factory` (a factory of this library); an empty
// function removes it. Off by default. Throws CException for another factory.
ZEM_API void SetBeanFailureHandler(IBeanFactory& factory, BeanFailureHandler handler);

}  // namespace ZEM
