// The exception family; out of line so that type information and vtables live
// in libzem alone and a host catches what the library throws.
#include "zem/exception.h"

#include "foundation/string_convert.h"

IException::~IException() = default;

KtExceptionContainer::~KtExceptionContainer() = default;

std::unique_ptr<IException> KtExceptionContainer::Clone() const {
    return std::make_unique<KtExceptionContainer>(*this);
}

namespace ZEM {

namespace {

std::string Utf8Of(const std::wstring& message) {
    try {
        return Narrow(message);
    } catch (...) {
        return std::string();  // no memory for the copy: what() is empty, the message stays
    }
}

}  // namespace

CException::CException(const wchar_t* message)
    : message_(message != nullptr ? message : L""), utf8_(Utf8Of(message_)) {}
CException::CException(const std::wstring& message) : message_(message), utf8_(Utf8Of(message_)) {}
CException::CException(const CException& other) = default;
CException::CException(CException&& other) noexcept
    : message_(std::move(other.message_)), utf8_(std::move(other.utf8_)) {
    other.message_.clear();
    other.utf8_.clear();
}
CException& CException::operator=(const CException& other) = default;
CException& CException::operator=(CException&& other) noexcept {
    if (this != &other) {
        message_ = std::move(other.message_);
        utf8_ = std::move(other.utf8_);
        other.message_.clear();
        other.utf8_.clear();
    }
    return *this;
}
CException::~CException() = default;

std::unique_ptr<IException> CException::Clone() const { return std::make_unique<CException>(*this); }

const std::wstring& CException::GetMessageW() const { return message_; }

const char* CException::what() const noexcept { return utf8_.c_str(); }

}  // namespace ZEM
