#include "drivers/sqlite/utf16_text.h"

namespace qxdrivers::sqlite {

namespace {

constexpr unsigned int replacement = 0xFFFD;

void AppendCharacter(unsigned int character, std::string& text) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | (character >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

bool IsLeading(unsigned int unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsTrailing(unsigned int unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

void Utf16Reader::Add(std::string_view bytes, std::string& text) {
    for (const char c : bytes) {
        const int byte = static_cast<unsigned char>(c);
        if (oddByte < 0) {
            oddByte = byte;
            continue;
        }
        const int unit = bigEndian ? oddByte << 8 | byte : byte << 8 | oddByte;
        oddByte = -1;
        AddUnit(static_cast<unsigned int>(unit), text);
    }
}

void Utf16Reader::AddUnit(unsigned int unit, std::string& text) {
    if (leading != 0) {
        const unsigned int first = leading;
        leading = 0;
        if (IsTrailing(unit)) {
            AppendCharacter(0x10000 + ((first - 0xD800) << 10) + (unit - 0xDC00), text);
            return;
        }
        AppendCharacter(replacement, text);
    }
    if (IsLeading(unit)) {
        leading = unit;
    } else {
        AppendCharacter(IsTrailing(unit) ? replacement : unit, text);
    }
}

void Utf16Reader::Finish(std::string& text) {
    if (leading != 0 || oddByte >= 0) {
        AppendCharacter(replacement, text);
    }
    leading = 0;
    oddByte = -1;
}

}  // namespace qxdrivers::sqlite
