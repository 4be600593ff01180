#include "platform/qxutils/java_string.h"

namespace qxutils {

JavaString::JavaString(const std::string& initialText) : text(initialText) {}

JavaString::JavaString(const JavaString&) = default;

JavaString& JavaString::operator=(const JavaString&) = default;

JavaString::~JavaString() = default;

const std::string& JavaString::GetText() const {
    return text;
}

}  // namespace qxutils
