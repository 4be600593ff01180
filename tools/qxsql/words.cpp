#include "tools/qxsql/words.h"

#include <charconv>
#include <stdexcept>

namespace qxsql {

std::vector<std::string> SplitAtCommas(const std::string& text) {
    std::vector<std::string> pieces;
    std::string::size_type from = 0;
    for (;;) {
        const std::string::size_type comma = text.find(',', from);
        pieces.push_back(text.substr(from, comma - from));
        if (comma == std::string::npos)
            return pieces;
        from = comma + 1;
    }
}

int ParseNumber(const std::string& text, const char* what) {
    int value = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        throw std::invalid_argument(std::string(what) + ": \"" + text + "\" is not a whole number");
    return value;
}

}  // namespace qxsql
