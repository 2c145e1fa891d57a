// The exception family; out of line so that type information and vtables live
// in libzem alone and a host catches what the library throws.
#include "zem/exception.h"

IException::~IException() = default;

KtExceptionContainer::~KtExceptionContainer() = default;

std::unique_ptr<IException> KtExceptionContainer::Clone() const {
    return std::make_unique<KtExceptionContainer>(*this);
}

namespace ZEM {

CException::CException(const wchar_t* message) : message_(message != nullptr ? message : L"") {}
CException::CException(const std::wstring& message) : message_(message) {}
CException::CException(const CException& other) = default;
CException::CException(CException&& other) noexcept : message_(std::move(other.message_)) {
    other.message_.clear();
}
CException& CException::operator=(const CException& other) = default;
CException& CException::operator=(CException&& other) noexcept {
    if (this != &other) {
        message_ = std::move(other.message_);
        other.message_.clear();
    }
    return *this;
}
CException::~CException() = default;

std::unique_ptr<IException> CException::Clone() const { return std::make_unique<CException>(*this); }

const std::wstring& CException::GetMessageW() const { return message_; }

}  // namespace ZEM
