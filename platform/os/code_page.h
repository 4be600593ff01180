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

}  // namespace qxos
