#include "platform/os/com_error.h"

#if !defined(_WIN32)

#include <cstdio>

_com_error::_com_error(HRESULT code) : hresult(code) {
    char text[32];
    std::snprintf(text, sizeof text, "Failure code 0x%08X", static_cast<unsigned int>(code));
    message = text;
}

_com_error::_com_error(const _com_error&) = default;

_com_error& _com_error::operator=(const _com_error&) = default;

_com_error::~_com_error() = default;

HRESULT _com_error::Error() const noexcept {
    return hresult;
}

const char* _com_error::ErrorMessage() const noexcept {
    return message.c_str();
}

#endif
