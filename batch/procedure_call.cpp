#include "batch/procedure_call.h"

#include <algorithm>
#include <cstddef>
#include <cwctype>

#include "platform/os/code_page.h"
#include "platform/qxutils/string_utils.h"

namespace qxbatch {

namespace {

using qxutils::StringUtils;

constexpr unsigned short singleQuote = 39;
constexpr unsigned short doubleQuote = 34;
constexpr unsigned short point = 46;
constexpr unsigned short comma = ',';
constexpr unsigned short open = '(';
constexpr unsigned short close = ')';

wstring Wide(const char* text) {
    wstring result;
    for (; *text != '\0'; ++text)
        result += static_cast<unsigned char>(*text);
    return result;
}

// Removes the blanks before commas outside quotes, and at the end.
wstring TrimBeforeCommas(const wstring& list) {
    wstring result;
    std::size_t quotes = 0;
    for (std::size_t begin = 0;;) {
        const std::size_t end = list.find(comma, begin);
        wstring piece = list.substr(begin, end == wstring::npos ? end : end - begin);
        quotes += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), singleQuote));
        if (quotes % 2 == 0)
            StringUtils::StringTrimRight(piece);
        result += piece;
        if (end == wstring::npos)
            return result;
        result += comma;
        begin = end + 1;
    }
}

// Reads the argument at `position` and moves to the comma behind it or to the end.
wstring ReadArgument(const wstring& params, std::size_t& position) {
    wstring value;
    bool wasQuoted = false;
    bool inQuote = false;
    while (position < params.size()) {
        const unsigned short c = params[position];
        if (c == comma && !inQuote)
            break;
        if (c != singleQuote) {
            value += c;
            ++position;
            continue;
        }
        wasQuoted = true;
        if (position + 1 == params.size() || params[position + 1] != singleQuote) {
            inQuote = !inQuote;
            ++position;
            continue;
        }
        // Doubled. Before a comma or the end it is taken for a whole empty text.
        position += 2;
        if (position == params.size() || params[position] == comma)
            break;
        value += singleQuote;
    }
    wstring check = value;
    if (wasQuoted && StringUtils::StringICmp(StringUtils::StringTrim(check), Wide("NULL")) == 0)
        value = singleQuote + value + singleQuote;
    return value;
}

bool IsSpace(unsigned short c) {
    return std::iswspace(c) != 0;
}

}  // namespace

bool ParseArguments(wstring& params, std::list<std::string>& values) {
    StringUtils::StringTrim(params);
    if (params.empty() || params.front() != open || params.rfind(close) != params.size() - 1)
        return false;
    wstring rest = params.substr(1, params.size() - 2);
    params = TrimBeforeCommas(StringUtils::StringTrim(rest));

    for (std::size_t position = 0; position < params.size();) {
        const wstring value = ReadArgument(params, position);
        values.push_back(qxos::Utf16ToMultiByte(value.data(), value.size()));
        if (position < params.size())
            ++position;
        // Blanks before the next argument.
        position = std::min(params.find_first_not_of(Wide(" \t\n\v\f\r"), position), params.size());
    }
    return true;
}

wstring ProcedureName(const wstring& head) {
    wstring text = head;
    StringUtils::StringTrim(text);
    const auto keyWordEnd =
        std::find_if(text.begin(), text.end(), [](unsigned short c) { return c == 0 || IsSpace(c); });
    text.erase(text.begin(), keyWordEnd);
    StringUtils::StringTrim(text);

    wstring name;
    wstring segment;
    bool inQuotes = false;
    bool segmentQuoted = false;
    for (const unsigned short c : text) {
        if (c == doubleQuote) {
            inQuotes = !inQuotes;
            segmentQuoted = true;
            segment += c;
        } else if (c == point && !inQuotes) {
            name += segment;
            name += c;
            segment.clear();
            segmentQuoted = false;
        } else {
            segment += segmentQuoted ? c : static_cast<unsigned short>(std::towupper(c));
        }
    }
    return name + segment;
}

}  // namespace qxbatch
