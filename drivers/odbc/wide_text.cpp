#include "drivers/odbc/wide_text.h"

#include <algorithm>
#include <cstdint>

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

bool IsTrailSurrogate(SQLWCHAR unit) {
    return (unit & 0xFC00) == 0xDC00;
}

[[noreturn]] void ThrowNoUtf8(std::size_t offset) {
    ThrowRefusal("The text is no UTF-8 at byte " + std::to_string(offset + 1), "22021");
}

// Reads one character behind `at`, which moves on.
std::uint32_t ReadCharacter(std::string_view text, std::size_t& at) {
    static constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const std::size_t begin = at;
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || length > text.size() - begin) {
        ThrowNoUtf8(begin);
    }
    std::uint32_t character = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[begin + i]);
        if ((next & 0xC0) != 0x80) {
            ThrowNoUtf8(begin);
        }
        character = character << 6 | (next & 0x3Fu);
    }
    if (character < smallest[length] || character > 0x10FFFF) {
        ThrowNoUtf8(begin);
    }
    at = begin + length;
    return character;
}

void AppendCharacter(std::uint32_t character, std::string& out) {
    const auto tail = [&](unsigned int shift) {
        out += static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        out += static_cast<char>(character);
    } else if (character < 0x800) {
        out += static_cast<char>(0xC0 | character >> 6);
        tail(0);
    } else if (character < 0x10000) {
        out += static_cast<char>(0xE0 | character >> 12);
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xF0 | character >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

}  // namespace

WideText ToWide(std::string_view utf8) {
    WideText wide;
    wide.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const std::uint32_t character = ReadCharacter(utf8, i);
        if (character < 0x10000) {
            wide.push_back(static_cast<SQLWCHAR>(character));
        } else {
            wide.push_back(static_cast<SQLWCHAR>(0xD7C0 + (character >> 10)));
            wide.push_back(static_cast<SQLWCHAR>(0xDC00 + (character & 0x3FF)));
        }
    }
    return wide;
}

std::size_t WholeCharacters(std::string_view utf8) {
    // The last lead byte, at most three bytes before the end, tells how long its character is.
    for (std::size_t back = 1; back <= 4 && back <= utf8.size(); ++back) {
        const auto byte = static_cast<unsigned char>(utf8[utf8.size() - back]);
        if ((byte & 0xC0) == 0x80) {
            continue;
        }
        const std::size_t length = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        return length > back ? utf8.size() - back : utf8.size();
    }
    return utf8.size();
}

void AppendUtf8(const SQLWCHAR* text, std::size_t count, std::string& out) {
    std::size_t i = 0;
    while (i < count) {
        // Most texts are plain, or mostly so.
        std::size_t plain = i;
        while (plain < count && text[plain] < 0x80) {
            ++plain;
        }
        const std::size_t old = out.size();
        out.resize(old + (plain - i));
        for (char* target = out.data() + old; i < plain; ++i) {
            *target++ = static_cast<char>(text[i]);
        }
        if (i == count) {
            return;
        }
        if (IsLeadSurrogate(text[i]) && i + 1 < count && IsTrailSurrogate(text[i + 1])) {
            AppendCharacter(
                0x10000u + ((text[i] & 0x3FFu) << 10 | static_cast<std::uint32_t>(text[i + 1] & 0x3FF)), out);
            i += 2;
        } else {
            AppendCharacter(text[i++], out);
        }
    }
}

void AppendTerminated(const SQLWCHAR* text, std::size_t most, std::string& out) {
    AppendUtf8(text, static_cast<std::size_t>(std::find(text, text + most, SQLWCHAR{0}) - text), out);
}

}  // namespace qxdrivers::odbc
