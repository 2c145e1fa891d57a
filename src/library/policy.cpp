// The process-wide library policy. The function is copied out under a lock
// and called outside it, so that a policy may be replaced while another
// thread is asking it.
#include "library/policy.h"

#include <functional>
#include <memory>
#include <mutex>

#include "foundation/string_convert.h"
#include "zem/exception.h"
#include "zem/policy.h"

namespace ZEM {

namespace {

using Policy = std::function<bool(const char*)>;

struct SPolicySlot {
    std::mutex mutex;
    std::shared_ptr<const Policy> allow;  // null: every library is allowed
    bool refuseAll = false;
};

SPolicySlot& Slot() {
    static SPolicySlot slot;
    return slot;
}

}  // namespace

CLibraryRefused::CLibraryRefused(const std::string& path)
    : CException(Message(L"Library '", path, L"' is not allowed by the host")) {}

void SetLibraryPolicy(std::function<bool(const char* path)> allow) {
    std::shared_ptr<const Policy> installed;
    if (allow) installed = std::make_shared<const Policy>(std::move(allow));
    SPolicySlot& slot = Slot();
    std::lock_guard<std::mutex> guard(slot.mutex);
    slot.allow.swap(installed);
    // The old policy ends outside the lock, with `installed`.
}

void CheckLibraryPolicy(const std::string& path) {
    std::shared_ptr<const Policy> allow;
    bool refuseAll = false;
    {
        SPolicySlot& slot = Slot();
        std::lock_guard<std::mutex> guard(slot.mutex);
        allow = slot.allow;
        refuseAll = slot.refuseAll;
    }
    if (refuseAll || (allow && !(*allow)(path.c_str()))) throw CLibraryRefused(path);
}

void SetReadingWithoutLibraries(bool on) {
    SPolicySlot& slot = Slot();
    std::lock_guard<std::mutex> guard(slot.mutex);
    slot.refuseAll = on;
}

bool ReadingWithoutLibraries() {
    SPolicySlot& slot = Slot();
    std::lock_guard<std::mutex> guard(slot.mutex);
    return slot.refuseAll;
}

}  // namespace ZEM
