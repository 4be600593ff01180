// The object behind a handle, or the refusal of an empty handle. Used by the sources of this folder only.
#pragma once

#include <memory>
#include <string>

namespace qxdb {

// Throws Errors with one record of the text, severity 2: an error.
[[noreturn]] void ThrowText(const std::string& text);

// `kind` is the word for the handle in the message: "The connection handle is empty".
template <class T>
T& Target(const std::shared_ptr<T>& impl, const char* kind) {
    if (!impl) {
        ThrowText(std::string("The ") + kind + " handle is empty");
    }
    return *impl;
}

}  // namespace qxdb
