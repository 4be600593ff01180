#include "storage/cell_format.h"

#include <charconv>
#include <climits>
#include <sstream>
#include <typeinfo>

#include "storage/number_text.h"

namespace qxdbsqlengine {

namespace {

// Facets other than the library's may write digits in ways of their own.
bool FormatsByItself(const std::locale& locale) {
    const auto& numbers = std::use_facet<std::num_put<char>>(locale);
    const auto& characters = std::use_facet<std::ctype<char>>(locale);
    return typeid(numbers) != typeid(std::num_put<char>) ||
           (typeid(characters) != typeid(std::ctype<char>) &&
            typeid(characters) != typeid(std::ctype_byname<char>));
}

// Digits up to the next separator.
int GroupSize(char size, int digitCount) {
    return size == CHAR_MAX ? digitCount : size;
}

}  // namespace

CellFormat::CellFormat(const std::locale& cellLocale)
    : locale(cellLocale), classic(cellLocale == std::locale::classic()), ownDigits(false) {
    const auto& punctuation = std::use_facet<std::numpunct<char>>(locale);
    decimalPoint = punctuation.decimal_point();
    thousandsSeparator = punctuation.thousands_sep();
    if (classic) {
        plainIntegers = true;
        return;
    }
    ownDigits = FormatsByItself(locale);
    grouping = punctuation.grouping();
    // What a size of 0 or less means is the stream's own affair.
    for (char groupSize : grouping)
        ownDigits = ownDigits || static_cast<signed char>(groupSize) <= 0;
    if (!grouping.empty() && grouping[0] == CHAR_MAX)
        grouping.clear();
    plainIntegers = !ownDigits && grouping.empty();
}

CellFormat::~CellFormat() = default;

const CellFormat& CellFormat::Classic() {
    static const CellFormat format{std::locale::classic()};
    return format;
}

void CellFormat::AppendInteger(__int64 value, std::string& out) const {
    if (ownDigits) {
        std::ostringstream stream;
        stream.imbue(locale);
        stream << value;
        out += stream.str();
    } else if (grouping.empty()) {
        AppendDigits(value, out);
    } else {
        char text[24];
        const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
        const char* digits = text;
        if (*digits == '-')
            out += *digits++;
        AppendGrouped(digits, static_cast<int>(result.ptr - digits), out);
    }
}

// Sizes of the groups from the right; the last size goes on for ever, unless it says that no more follow.
void CellFormat::AppendGrouped(const char* digits, int count, std::string& out) const {
    char text[64];
    char* first = text + sizeof text;
    std::size_t group = 0;
    int left = GroupSize(grouping[0], count);
    for (int i = count; i > 0; --i) {
        if (left == 0) {
            *--first = thousandsSeparator;
            if (group + 1 < grouping.size())
                ++group;
            left = GroupSize(grouping[group], count);
        }
        *--first = digits[i - 1];
        --left;
    }
    out.append(first, static_cast<std::size_t>(text + sizeof text - first));
}

}  // namespace qxdbsqlengine
