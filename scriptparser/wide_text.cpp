#include "scriptparser/wide_text.h"

#include <cstdint>
#include <cstring>

namespace qxscriptparser {

namespace {

constexpr std::size_t kKept = 1024 * 1024;  // units
constexpr std::size_t kStep = 16;

unsigned int Byte(const char* at) {
    return static_cast<unsigned char>(*at);
}

bool IsAscii(const char* at) {
    std::uint64_t halves[2];
    std::memcpy(halves, at, sizeof halves);
    return ((halves[0] | halves[1]) & 0x8080808080808080U) == 0;
}

// One character of more than one byte.
unsigned short* PutLong(const char*& from, const char* end, unsigned short* to) {
    const unsigned int lead = Byte(from);
    const std::ptrdiff_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (end - from < size) {
        ++from;
        *to++ = 0xFFFD;
        return to;
    }
    unsigned int code = lead & (0xFFU >> (size + 1));
    for (std::ptrdiff_t i = 1; i < size; ++i)
        code = code << 6 | (Byte(from + i) & 0x3F);
    from += size;
    if (code >= 0x10000) {
        *to++ = static_cast<unsigned short>(0xD800 + ((code - 0x10000) >> 10));
        *to++ = static_cast<unsigned short>(0xDC00 + (code & 0x3FF));
    } else {
        *to++ = static_cast<unsigned short>(code);
    }
    return to;
}

}  // namespace

const unsigned short* WideText::Assign(std::string_view utf8) {
    if (capacity < utf8.size() + 1 || (capacity > kKept && utf8.size() < kKept / 2)) {
        units.reset();
        capacity = utf8.size() < kKept ? kKept : utf8.size() + 1;
        units.reset(new unsigned short[capacity]);
    }
    const char* from = utf8.data();
    const char* const end = from + utf8.size();
    unsigned short* to = units.get();
    while (from != end) {
        while (static_cast<std::size_t>(end - from) >= kStep && IsAscii(from)) {
            for (std::size_t i = 0; i < kStep; ++i)
                to[i] = static_cast<unsigned char>(from[i]);
            from += kStep;
            to += kStep;
        }
        for (std::size_t i = 0; i < kStep && from != end; ++i) {
            if (Byte(from) < 0x80)
                *to++ = static_cast<unsigned char>(*from++);
            else
                to = PutLong(from, end, to);
        }
    }
    *to = 0;
    return units.get();
}

}  // namespace qxscriptparser
