#include "platform/qxutils/qx_exception.h"

#include "platform/os/code_page.h"

namespace qxutils {

QXException::QXException(const std::string& text) : message(text), wideMessage(qxos::MultiByteToWide(text)) {}

QXException::QXException(const QXException&) = default;

QXException& QXException::operator=(const QXException&) = default;

QXException::~QXException() = default;

const char* QXException::what() const noexcept {
    return message.c_str();
}

const char* QXException::twhat() const noexcept {
    return message.c_str();
}

const wchar_t* QXException::wwhat() const noexcept {
    return wideMessage.c_str();
}

}  // namespace qxutils
