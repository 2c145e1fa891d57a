// The message of the library's exception that an action throws, for tests
// that compare messages word for word.
#pragma once

#include <functional>
#include <string>

#include "zem/exception.h"

namespace zem_support {

// The message of the CException that `action` throws; "" if none.
inline std::wstring MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZEM::CException& failure) {
        return failure.GetMessageW();
    }
    return L"";
}

}  // namespace zem_support
