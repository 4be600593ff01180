#include "storage/number_text.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>

namespace qxdbsqlengine {

namespace {

// The point of the default locale when the library was loaded.
const char pointCharacter = std::use_facet<std::numpunct<char>>(std::locale()).decimal_point();

const int kFloatDigits = 8;
const int kLongFloatDigits = 7;
const std::size_t kLongFloatText = 9;
const int kDoubleDigits = 15;

// Takes zeros behind the point away, all but one where nothing else stands there.
std::size_t WithoutTrailingZeros(const char* text, std::size_t length) {
    if (std::memchr(text, pointCharacter, length) == nullptr || std::memchr(text, 'e', length) != nullptr ||
        std::memchr(text, 'E', length) != nullptr)
        return length;
    std::size_t last = length;
    while (last > 0 && text[last - 1] == '0')
        --last;
    if (last > 0 && text[last - 1] == pointCharacter && last < length)
        ++last;
    return last;
}

std::string_view SkipBlanks(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    return text.substr(i);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <class T>
void ParseWhole(std::string_view text, T& value) {
    text = SkipBlanks(text);
    value = 0;
    if (!text.empty() && text[0] == '+') {
        text.remove_prefix(1);
        if (text.empty() || !IsDigit(text[0]))
            return;
    }
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = text[0] == '-' ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
}

// The characters at the start of `text` that a stream takes for a floating number. They need not be one:
// "1e".
std::size_t FloatingSpan(std::string_view text) {
    std::size_t i = 0;
    bool digits = false;
    bool point = false;
    bool exponent = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    while (i < text.size()) {
        const char c = text[i];
        if (IsDigit(c)) {
            digits = true;
        } else if (c == '.' && !point && !exponent) {
            point = true;
        } else if ((c == 'e' || c == 'E') && digits && !exponent) {
            exponent = true;
            if (i + 1 < text.size() && (text[i + 1] == '+' || text[i + 1] == '-'))
                ++i;
        } else {
            break;
        }
        ++i;
    }
    return i;
}

template <class T>
void ParseFloating(std::string_view text, T& value) {
    text = SkipBlanks(text);
    value = 0;
    std::string_view span = text.substr(0, FloatingSpan(text));
    if (!span.empty() && span[0] == '+')
        span.remove_prefix(1);
    T parsed = 0;
    const char* end = span.data() + span.size();
    const std::from_chars_result result = std::from_chars(span.data(), end, parsed);
    if (result.ec == std::errc::result_out_of_range) {
        // Beyond the greatest number or below the least: rare, and the stream knows best.
        std::istringstream stream{std::string(span)};
        stream.imbue(std::locale::classic());
        stream >> value;
    } else if (result.ec == std::errc() && result.ptr == end) {
        value = parsed;
    }
}

}  // namespace

void AppendDigits(__int64 value, std::string& out) {
    char text[24];
    const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
    out.append(text, static_cast<std::size_t>(result.ptr - text));
}

void AppendFloatText(float value, std::string& out) {
    char text[32];
    const double number = static_cast<double>(value);
    auto render = [&](int digits) {
        const std::to_chars_result result =
            std::to_chars(text, text + sizeof text, number, std::chars_format::general, digits);
        return static_cast<std::size_t>(result.ptr - text);
    };
    std::size_t length = render(kFloatDigits);
    if (length >= kLongFloatText)
        length = render(kLongFloatDigits);
    out.append(text, WithoutTrailingZeros(text, length));
}

void AppendDoubleText(double value, std::string& out) {
    char text[40];
    const std::to_chars_result result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, kDoubleDigits);
    out.append(text, static_cast<std::size_t>(result.ptr - text));
}

void ParseNumber(std::string_view text, short& value) {
    ParseWhole(text, value);
}

void ParseNumber(std::string_view text, int& value) {
    ParseWhole(text, value);
}

void ParseNumber(std::string_view text, long& value) {
    ParseWhole(text, value);
}

void ParseNumber(std::string_view text, __int64& value) {
    ParseWhole(text, value);
}

void ParseNumber(std::string_view text, float& value) {
    ParseFloating(text, value);
}

void ParseNumber(std::string_view text, double& value) {
    ParseFloating(text, value);
}

}  // namespace qxdbsqlengine
