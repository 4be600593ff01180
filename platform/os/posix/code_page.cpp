#include "platform/os/code_page.h"

#include <cstdint>

namespace qxos {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;
constexpr std::uint32_t noCharacter = 0xFFFFFFFF;
constexpr std::uint32_t strayByteBase = 0xDC00;

bool IsHighSurrogate(std::uint32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}

bool IsLowSurrogate(std::uint32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

void AppendUtf8(std::uint32_t c, std::string& out) {
    if (c > 0x10FFFF || IsHighSurrogate(c) || IsLowSurrogate(c)) {
        c = replacement;
    }
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Decodes the character at `position` and moves behind it; a broken sequence is `noCharacter` and takes one
// byte.
std::uint32_t NextUtf8(const std::string& text, std::size_t& position) {
    const auto byteAt = [&text](std::size_t i) -> std::uint32_t {
        return static_cast<unsigned char>(text[i]);
    };
    const std::uint32_t lead = byteAt(position++);
    if (lead < 0x80) {
        return lead;
    }
    const std::size_t tail = lead >= 0xF0 && lead < 0xF5   ? 3
                             : lead >= 0xE0 && lead < 0xF0 ? 2
                             : lead >= 0xC2 && lead < 0xE0 ? 1
                                                           : 0;
    if (tail == 0 || text.size() - position < tail) {
        return noCharacter;
    }
    std::uint32_t c = lead & (0x3Fu >> tail);
    for (std::size_t i = 0; i < tail; ++i) {
        const std::uint32_t next = byteAt(position + i);
        if ((next & 0xC0) != 0x80) {
            return noCharacter;
        }
        c = (c << 6) | (next & 0x3F);
    }
    constexpr std::uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    if (c < smallest[tail] || c > 0x10FFFF || IsHighSurrogate(c) || IsLowSurrogate(c)) {
        return noCharacter;
    }
    position += tail;
    return c;
}

bool IsStrayByte(std::uint32_t c) {
    return c >= strayByteBase + 0x80 && c <= strayByteBase + 0xFF;
}

}  // namespace

std::string Utf16ToMultiByte(const unsigned short* text, std::size_t count) {
    std::string result;
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t c = text[i];
        if (IsHighSurrogate(c) && i + 1 < count && IsLowSurrogate(text[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        }
        AppendUtf8(c, result);
    }
    return result;
}

std::string WideToMultiByte(const std::wstring& text) {
    std::string result;
    result.reserve(text.size());
    for (const wchar_t c : text) {
        AppendUtf8(static_cast<std::uint32_t>(c), result);
    }
    return result;
}

std::wstring MultiByteToWide(const std::string& text) {
    std::wstring result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::uint32_t c = NextUtf8(text, position);
        result += static_cast<wchar_t>(c == noCharacter ? replacement : c);
    }
    return result;
}

std::size_t BytesToWide(const std::string& text, wchar_t* wide) {
    std::size_t count = 0;
    for (std::size_t position = 0; position < text.size(); ++count) {
        const std::size_t begin = position;
        std::uint32_t c = NextUtf8(text, position);
        if (c == noCharacter) {
            c = strayByteBase + static_cast<unsigned char>(text[begin]);
        }
        if (wide != nullptr) {
            wide[count] = static_cast<wchar_t>(c);
        }
    }
    return count;
}

std::string WideToBytes(const wchar_t* text, std::size_t count) {
    std::string result;
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto c = static_cast<std::uint32_t>(text[i]);
        if (IsStrayByte(c)) {
            result += static_cast<char>(c - strayByteBase);
        } else {
            AppendUtf8(c, result);
        }
    }
    return result;
}

}  // namespace qxos
