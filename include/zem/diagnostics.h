// Opt-in diagnostics for hosts and tools. A bean request never throws: when it
// fails, it gives an empty pointer. A failure handler installed on a factory
// learns why, without changing what the request gives; a request observer
// sees every request start and end, to measure where start-up time goes.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>
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

// How a bean request ended.
enum class EBeanRequestOutcome {
    Made,    // a new object: a bean made anew per request, or a singleton's first making
    Found,   // the singleton that already existed
    Failed,  // an empty result; the reason says why
};

// One bean request as an observer sees it. The fields up to `thread` hold at
// both calls; the others are filled for OnRequestEnd only.
struct SBeanRequest {
    const char* name = nullptr;     // as requested
    const char* library = nullptr;  // path of the library asking for it ("" for the host's own); null: none
    std::size_t depth = 0;          // requests of this thread that enclose this one
    std::thread::id thread;         // the requesting thread
    bool singleton = false;         // the definition's; false when there is none
    EBeanRequestOutcome outcome = EBeanRequestOutcome::Failed;
    std::wstring reason;            // Failed only: the same text a failure handler gets
};

// Sees the start and the end of every bean request of a factory, in nested
// order on each thread: a request started inside another ends before it.
// Both calls run on the requesting thread under the factory's lock, like bean
// code; an exception that leaves them is dropped and the request goes on.
class ZEM_API IBeanRequestObserver {
public:
    virtual ~IBeanRequestObserver();
    virtual void OnRequestStart(const SBeanRequest& request) = 0;
    virtual void OnRequestEnd(const SBeanRequest& request) = 0;
};

// Installs `observer` on `factory` (a factory of this library); null removes
// it. Off by default, and then a request pays one relaxed atomic load for it.
// A request that started keeps the observer it started with until its end.
// Throws CException for another factory.
ZEM_API void SetBeanRequestObserver(IBeanFactory& factory, std::shared_ptr<IBeanRequestObserver> observer);

}  // namespace ZEM
