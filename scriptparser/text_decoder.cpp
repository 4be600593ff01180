#include "scriptparser/text_decoder.h"

#include <array>
#include <cstring>

namespace qxscriptparser {

namespace {

// Characters of Windows-1252 from 0x80 to 0x9F; the five that it leaves open keep their code.
constexpr std::array<std::uint16_t, 32> kWindows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

unsigned int Byte(char c) {
    return static_cast<unsigned char>(c);
}

char* Put(char* to, unsigned int code) {
    if (code < 0x80) {
        *to++ = static_cast<char>(code);
    } else if (code < 0x800) {
        *to++ = static_cast<char>(0xC0 | code >> 6);
        *to++ = static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        *to++ = static_cast<char>(0xE0 | code >> 12);
        *to++ = static_cast<char>(0x80 | (code >> 6 & 0x3F));
        *to++ = static_cast<char>(0x80 | (code & 0x3F));
    } else {
        *to++ = static_cast<char>(0xF0 | code >> 18);
        *to++ = static_cast<char>(0x80 | (code >> 12 & 0x3F));
        *to++ = static_cast<char>(0x80 | (code >> 6 & 0x3F));
        *to++ = static_cast<char>(0x80 | (code & 0x3F));
    }
    return to;
}

const char* SkipAscii(const char* from, const char* end) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    while (end - from >= 8) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, from, 8);
        if ((eight & kHighBits) != 0)
            break;
        from += 8;
    }
    while (from != end && Byte(*from) < 0x80)
        ++from;
    return from;
}

// Bytes of the well-formed character at `from`: 0 when there is none, and more than there are when what is
// there could be the beginning of one.
std::size_t CharacterSize(const char* from, std::size_t available) {
    const unsigned int lead = Byte(*from);
    std::size_t size = 0;
    unsigned int lowest = 0x80;   // bounds of the second byte: no overlong forms, no surrogates, no more than
    unsigned int highest = 0xBF;  // U+10FFFF
    if (lead >= 0xC2 && lead <= 0xDF) {
        size = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        size = 3;
        lowest = lead == 0xE0 ? 0xA0 : lowest;
        highest = lead == 0xED ? 0x9F : highest;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        size = 4;
        lowest = lead == 0xF0 ? 0x90 : lowest;
        highest = lead == 0xF4 ? 0x8F : highest;
    }
    for (std::size_t i = 1; i < size && i < available; ++i) {
        if (Byte(from[i]) < lowest || Byte(from[i]) > highest)
            return 0;
        lowest = 0x80;
        highest = 0xBF;
    }
    return size;
}

}  // namespace

bool TextDecoder::Detect(const char* bytes, std::size_t count, bool isLast) {
    if (count < 3 && !isLast)
        return false;
    const std::size_t known = count;
    const auto at = [&](std::size_t i) { return i < known ? Byte(bytes[i]) : 0x100U; };
    encoding = Encoding::Utf8;
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF) {
        markSize = 3;
    } else if (at(0) == 0xFF && at(1) == 0xFE) {
        encoding = Encoding::Utf16Little;
        markSize = 2;
    } else if (at(0) == 0xFE && at(1) == 0xFF) {
        encoding = Encoding::Utf16Big;
        markSize = 2;
    } else if (at(0) != 0 && at(1) == 0) {
        encoding = Encoding::Utf16Little;
    } else if (at(0) == 0 && at(1) != 0 && known > 1) {
        encoding = Encoding::Utf16Big;
    }
    return true;
}

TextDecoder::Result TextDecoder::Decode(const char* bytes, std::size_t count, bool isLast, char* to) {
    std::size_t mark = 0;
    if (encoding == Encoding::Unknown) {
        if (!Detect(bytes, count, isLast))
            return {0, 0};
        mark = markSize;
    }
    Result result = IsUtf16() ? DecodeUtf16(bytes + mark, count - mark, isLast, to)
                              : DecodeUtf8(bytes + mark, count - mark, isLast, to);
    result.taken += mark;
    writtenBefore += result.written;
    return result;
}

TextDecoder::Result TextDecoder::DecodeUtf8(const char* bytes, std::size_t count, bool isLast, char* to) {
    const void* const zero = count != 0 ? std::memchr(bytes, 0, count) : nullptr;
    foundZero = zero != nullptr;
    const char* const end = foundZero ? static_cast<const char*>(zero) : bytes + count;
    const char* from = bytes;
    const char* run = bytes;  // start of what is copied as it stands
    char* out = to;
    while ((from = SkipAscii(from, end)) != end) {
        const auto available = static_cast<std::size_t>(end - from);
        const std::size_t size = CharacterSize(from, available);
        if (size > available && !isLast && !foundZero)
            break;
        if (size != 0 && size <= available) {
            from += size;
            continue;
        }
        std::memcpy(out, run, static_cast<std::size_t>(from - run));
        out += from - run;
        const unsigned int byte = Byte(*from);
        char* const behind = Put(out, byte < 0xA0 ? kWindows1252[byte - 0x80] : byte);
        widened.push_back({writtenBefore + static_cast<std::uint64_t>(out - to),
                           static_cast<unsigned int>(behind - out) - 1});
        out = behind;
        run = ++from;
    }
    std::memcpy(out, run, static_cast<std::size_t>(from - run));
    out += from - run;
    return {static_cast<std::size_t>(from - bytes), static_cast<std::size_t>(out - to)};
}

TextDecoder::Result TextDecoder::DecodeUtf16(const char* bytes, std::size_t count, bool isLast, char* to) {
    const std::size_t high = encoding == Encoding::Utf16Big ? 0 : 1;
    const auto unit = [&](std::size_t i) { return Byte(bytes[i + high]) << 8 | Byte(bytes[i + 1 - high]); };
    char* out = to;
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2) {
        unsigned int code = unit(i);
        if (code == 0) {
            foundZero = true;
            break;
        }
        if ((code & 0xFC00) == 0xD800) {
            if (i + 4 > count && !isLast)
                break;
            const unsigned int low = i + 4 <= count ? unit(i + 2) : 0;
            if ((low & 0xFC00) == 0xDC00) {
                code = 0x10000 + ((code & 0x3FF) << 10) + (low & 0x3FF);
                i += 2;
            }
        }
        out = Put(out, code);
    }
    if (isLast && i + 1 == count) {  // half a character: kept as the byte that it is
        out = Put(out, Byte(bytes[i]) == 0 ? ' ' : Byte(bytes[i]));
        ++i;
    }
    return {i, static_cast<std::size_t>(out - to)};
}

}  // namespace qxscriptparser
