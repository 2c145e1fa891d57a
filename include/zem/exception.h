// The failure family of libzem. Hosts catch ZEM::CException for every error
// with a message, or IException for the whole family.
#pragma once

#include <exception>
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

// A failure with a finished English message. It is a std::exception too, so
// that hosts which catch those see it, and one that nobody catches shows its
// message; what() gives the message in UTF-8.
class ZEM_API CException : public IException, public std::exception {
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
    // The message in UTF-8; valid as long as this object lives.
    const char* what() const noexcept override;

private:
    std::wstring message_;
    std::string utf8_;
};

}  // namespace ZEM
