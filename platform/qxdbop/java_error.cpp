#include "platform/qxdbop/java_error.h"

namespace qxdbop {

JavaError::JavaError(const std::string& reason) : text(reason) {}

JavaError::~JavaError() = default;

const char* JavaError::what() const noexcept {
    return text.c_str();
}

}  // namespace qxdbop
