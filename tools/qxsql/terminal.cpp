#include "tools/qxsql/terminal.h"

#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cwchar>

namespace qxsql {

namespace {

struct Character {
    std::size_t bytes;
    char32_t code;  // 0xFFFFFFFF for a byte that is no UTF-8
};

constexpr char32_t InvalidByte = 0xFFFFFFFF;

Character NextCharacter(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return {1, lead};
    const std::size_t length = lead >= 0xF0 && lead < 0xF5   ? 4
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                                                             : 0;
    if (length == 0 || length > text.size())
        return {1, InvalidByte};
    char32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {1, InvalidByte};
        code = code << 6 | (byte(i) & 0x3F);
    }
    return {length, code};
}

// The width table of the C library needs a UTF-8 character type; the numbers and texts of the tool do not
// depend on it.
void UseUtf8Widths() {
    static const bool done = [] { return std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; }();
    static_cast<void>(done);
}

int WidthOf(const Character& character) {
    if (character.code == InvalidByte || character.code < 0x20 || character.code == 0x7F)
        return 1;
    if (character.code < 0x7F)
        return 1;
    UseUtf8Widths();
    const int width = wcwidth(static_cast<wchar_t>(character.code));
    return width < 0 ? 1 : width;
}

std::string_view Shown(const Character& character, std::string_view bytes) {
    if (character.code == '\n')
        return "↵";
    if (character.code == '\t')
        return " ";
    if (character.code == InvalidByte || character.code < 0x20 || character.code == 0x7F)
        return "·";
    if (character.code >= 0x80 && character.code < 0xA0)
        return "·";
    return bytes;
}

}  // namespace

bool IsTerminal(int fileDescriptor) {
    return isatty(fileDescriptor) == 1;
}

int ScreenWidth() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    const char* const columns = std::getenv("COLUMNS");
    const int fromEnvironment = columns == nullptr ? 0 : std::atoi(columns);
    return fromEnvironment > 0 ? fromEnvironment : 80;
}

int DisplayWidth(std::string_view text) {
    int width = 0;
    while (!text.empty()) {
        const Character character = NextCharacter(text);
        width += WidthOf(character);
        text.remove_prefix(character.bytes);
    }
    return width;
}

int AppendFitted(std::string& out, std::string_view text, int width) {
    int taken = 0;
    std::size_t cutBytes = out.size();  // where to put the mark if the text turns out too wide
    int cutColumns = 0;
    while (!text.empty()) {
        const Character character = NextCharacter(text);
        const int columns = WidthOf(character);
        if (taken + columns > width) {
            out.resize(cutBytes);
            if (width > 0)
                out += "…";
            return width > 0 ? cutColumns + 1 : 0;
        }
        out += Shown(character, text.substr(0, character.bytes));
        taken += columns;
        if (taken < width) {
            cutBytes = out.size();
            cutColumns = taken;
        }
        text.remove_prefix(character.bytes);
    }
    return taken;
}

std::size_t PeakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

}  // namespace qxsql
