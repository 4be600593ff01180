// Text between the local multi-byte code page (UTF-8 outside Windows) and wide characters.
#pragma once

#include <cstddef>
#include <string>

#include "platform/export.h"

namespace qxos {

// Any thread. What has no meaning in the source (a broken sequence, a half surrogate) becomes U+FFFD.

// UTF-16 units, `count` of them.
QXSENG2_API std::string Utf16ToMultiByte(const unsigned short* text, std::size_t count);
QXSENG2_API std::string WideToMultiByte(const std::wstring& text);
QXSENG2_API std::wstring MultiByteToWide(const std::string& text);

// For texts and file names that must come back as the same bytes, whatever they are: a byte that is no
// character of the code page becomes U+DC00 + byte, a code that no character has.

// Writes to `wide`, unless it is null, and returns the number of characters, at most one for each byte.
QXSENG2_API std::size_t BytesToWide(const std::string& text, wchar_t* wide);
QXSENG2_API std::string WideToBytes(const wchar_t* text, std::size_t count);

}  // namespace qxos
