// Text helpers.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxutils/wide_string.h"

namespace qxutils {

// Any thread. Case and white space are those of ASCII, whatever the locale: bytes of multi-byte characters
// are never changed. White space is blank, tab, line feed, vertical tab, form feed, carriage return.
class QXSENG2_API StringUtils {
  public:
    // UTF-16 to the local multi-byte code page; a half surrogate becomes U+FFFD. Null gives an empty text.
    static std::string ConvertToMBString(const unsigned short* text);

    // Compare ignoring case: negative, 0 or positive.
    static int StringICmp(const std::string& a, const std::string& b);
    static int StringICmp(const wstring16& a, const wstring16& b);

    // Remove white space in place, and return the argument.
    static std::string& StringTrim(std::string& text);
    static wstring16& StringTrim(wstring16& text);
    static wstring16& StringTrimLeft(wstring16& text);
    static wstring16& StringTrimRight(wstring16& text);

    // In place.
    static std::string& StringUpper(std::string& text);

    // All occurrences from left to right; what was put in is not searched again. An empty `from` changes
    // nothing.
    static std::string StringReplaceAll(const std::string& text, std::string from, std::string to);

    // First match ignoring case, text.end() when there is none. An empty `what` is found at the beginning.
    static std::string::iterator find_nocase(std::string& text, const std::string& what);
};

}  // namespace qxutils
