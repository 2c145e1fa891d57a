// The failure family of libzem. Hosts catch ZEM::CException for every error
// with a message, or IException for the whole family.
#pragma once

#include <memory>
#include <string>

#include "zem/export.h"

// Abstract root of every exception thrown by the container.
class ZEM_API IException {
public:
    virtual ~IException();
    // A new object of the same dynamic type and content.
    virtual std::unique_ptr<IException> Clone() const = 0;
};

// Thrown when a container of the foundation got no memory for its node pool.
class ZEM_API KtExceptionContainer : public IException {
public:
    KtExceptionContainer() = default;
    KtExceptionContainer(const KtExceptionContainer&) = default;
    KtExceptionContainer& operator=(const KtExceptionContainer&) = default;
    ~KtExceptionContainer() override;
    std::unique_ptr<IException> Clone() const override;
};

namespace ZEM {

// A failure with a finished English message.
class ZEM_API CException : public IException {
public:
    CException(const wchar_t* message);  // null gives an empty message
    CException(const std::wstring& message);
    CException(const CException& other);
    CException(CException&& other) noexcept;  // leaves `other` empty
    CException& operator=(const CException& other);
    CException& operator=(CException&& other) noexcept;
    ~CException() override;

    std::unique_ptr<IException> Clone() const override;
    // The message; valid as long as this object lives.
    const std::wstring& GetMessageW() const;

private:
    std::wstring message_;
};

}  // namespace ZEM
