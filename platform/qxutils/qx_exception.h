// The base of the failures that the library reports itself.
#pragma once

#include <exception>
#include <string>

#include "platform/export.h"

namespace qxutils {

// A failure with a text for the user. Thrown by value, caught by reference; immutable, so any thread may read
// it. Server failures are not of this kind: they travel as Errors.
class QXSENG2_API QXException : public std::exception {
  public:
    explicit QXException(const std::string& message);
    QXException(const QXException&);
    QXException& operator=(const QXException&);
    ~QXException() override;

    // The message in the local multi-byte code page; valid as long as the exception.
    const char* what() const noexcept override;
    // The same message again, as narrow and as wide text.
    virtual const char* twhat() const noexcept;
    virtual const wchar_t* wwhat() const noexcept;

  private:
    std::string message;
    std::wstring wideMessage;
};

}  // namespace qxutils
