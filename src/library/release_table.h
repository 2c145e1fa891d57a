// The process-wide table of release functions for service objects made by an
// owning maker. An entry lives from the moment such an object gets its shared
// pointer until its release function has run, so the object may outlive its
// registration, its store and its factory.
#pragma once

#include <functional>
#include <mutex>

#include "foundation/kt_map.h"
#include "zem/object.h"

namespace ZEM {

class CReleaseTable {
public:
    // Records `release` for `object` and gives the shared pointer whose
    // deleter runs it.
    std::shared_ptr<IObject> Track(std::unique_ptr<IObject> object, const std::function<void(IObject*)>& release);

    // Runs and forgets the release function of `object`, then deletes it.
    void Release(IObject* object);

    std::size_t Size();

private:
    // Not recursive: a release function must not release another such object.
    std::mutex mutex_;
    KtMap<IObject*, std::function<void(IObject*)>> functions_;
};

CReleaseTable& ReleaseTable();

}  // namespace ZEM
