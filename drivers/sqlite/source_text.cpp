#include "drivers/sqlite/source_text.h"

#include <algorithm>
#include <climits>

namespace qxdrivers::sqlite {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == ';';
}

int ToInt(std::size_t value) {
    return static_cast<int>(std::min<std::size_t>(value, INT_MAX));
}

}  // namespace

Place FindPlace(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(offset);
    Place place;
    place.line = ToInt(static_cast<std::size_t>(std::count(text.begin(), end, '\n')) + 1);
    place.position = ToInt(offset + 1);
    return place;
}

std::size_t SkipBlank(std::string_view text, std::size_t offset) {
    while (offset < text.size()) {
        const std::string_view rest = text.substr(offset);
        if (IsBlank(rest[0])) {
            ++offset;
        } else if (rest.substr(0, byteOrderMark.size()) == byteOrderMark) {
            offset += byteOrderMark.size();
        } else if (rest.substr(0, 2) == "--") {
            offset = std::min(text.find('\n', offset), text.size());
        } else if (rest.substr(0, 2) == "/*") {
            const std::size_t end = text.find("*/", offset + 2);
            offset = end == std::string_view::npos ? text.size() : end + 2;
        } else {
            break;
        }
    }
    return offset;
}

std::string WordAt(std::string_view text, std::size_t offset) {
    std::string word;
    for (; offset < text.size(); ++offset) {
        const char c = text[offset];
        if (c >= 'a' && c <= 'z') {
            word += static_cast<char>(c - 'a' + 'A');
        } else if (c >= 'A' && c <= 'Z') {
            word += c;
        } else {
            break;
        }
    }
    return word;
}

}  // namespace qxdrivers::sqlite
