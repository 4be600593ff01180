#include "tools/qxsql/json_text.h"

#include <array>

namespace qxsql {

namespace {

// What stands for each ASCII character: 0 for itself, 'u' for \u00XX, else the letter behind the backslash.
constexpr std::array<char, 128> MakeEscapes() {
    std::array<char, 128> escapes{};
    for (std::size_t c = 0; c < 0x20; ++c)
        escapes[c] = 'u';
    escapes['\b'] = 'b';
    escapes['\f'] = 'f';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\t'] = 't';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    return escapes;
}

constexpr std::array<char, 128> escapes = MakeEscapes();

bool IsHighSurrogate(unsigned int unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(unsigned int unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

char* PutEscape(char* to, unsigned int unit) {
    static const char digits[] = "0123456789abcdef";
    *to++ = '\\';
    *to++ = 'u';
    for (int shift = 12; shift >= 0; shift -= 4)
        *to++ = digits[unit >> static_cast<unsigned int>(shift) & 0xFU];
    return to;
}

char* PutByte(char* to, unsigned int byte) {
    *to = static_cast<char>(static_cast<unsigned char>(byte));
    return to + 1;
}

char* PutAscii(char* to, unsigned int unit) {
    const char escape = escapes[unit];
    if (escape == 0)
        return PutByte(to, unit);
    if (escape == 'u')
        return PutEscape(to, unit);
    *to++ = '\\';
    *to++ = escape;
    return to;
}

// One unit that is no ASCII, or a pair of them; moves `i` behind what was taken.
char* PutWide(char* to, const unsigned short* text, std::size_t length, std::size_t& i) {
    const unsigned int unit = text[i++];
    if (unit < 0x800) {
        to = PutByte(to, 0xC0U | unit >> 6U);
        return PutByte(to, 0x80U | (unit & 0x3FU));
    }
    if (IsHighSurrogate(unit) && i < length && IsLowSurrogate(text[i])) {
        const unsigned int code = 0x10000U + ((unit - 0xD800U) << 10U) + (text[i++] - 0xDC00U);
        to = PutByte(to, 0xF0U | code >> 18U);
        to = PutByte(to, 0x80U | (code >> 12U & 0x3FU));
        to = PutByte(to, 0x80U | (code >> 6U & 0x3FU));
        return PutByte(to, 0x80U | (code & 0x3FU));
    }
    if (IsHighSurrogate(unit) || IsLowSurrogate(unit))
        return PutEscape(to, unit);
    to = PutByte(to, 0xE0U | unit >> 12U);
    to = PutByte(to, 0x80U | (unit >> 6U & 0x3FU));
    return PutByte(to, 0x80U | (unit & 0x3FU));
}

// The most bytes that one unit can become: an escape.
constexpr std::size_t LongestUnit = 6;
// Units of a piece.
constexpr std::size_t PieceUnits = 4096;

}  // namespace

std::size_t AppendJsonPiece(std::string& out, const unsigned short* text, std::size_t length,
                            std::size_t begin) {
    const std::size_t end = length - begin < PieceUnits ? length : begin + PieceUnits;
    const std::size_t used = out.size();
    // The second half of a pair may lie behind the end; a pair takes less than two units may.
    out.resize(used + (end - begin) * LongestUnit);
    char* to = &out[used];
    std::size_t i = begin;
    while (i < end)
        to = text[i] < 0x80 ? PutAscii(to, text[i++]) : PutWide(to, text, length, i);
    out.resize(static_cast<std::size_t>(to - out.data()));
    return i;
}

void AppendJsonString(std::string& out, const unsigned short* text, std::size_t length) {
    out += '"';
    for (std::size_t i = 0; i < length;)
        i = AppendJsonPiece(out, text, length, i);
    out += '"';
}

}  // namespace qxsql
