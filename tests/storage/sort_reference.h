// The order of cells, said again in the plainest way, to check sorts against.
#pragma once

#include <cctype>
#include <string>

namespace qxdbsqlengine {

inline std::string DigitsAt(const std::string& text, std::size_t at) {
    std::size_t end = at;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9')
        ++end;
    return text.substr(at, end - at);
}

inline int Sign(long long value) {
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

// Texts piece by piece: lower-case characters as signed numbers, digit runs by value and then the one with
// more zeros in front first.
inline int ReferenceCompareTexts(const std::string& a, const std::string& b) {
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < a.size() && k < b.size()) {
        const std::string first = DigitsAt(a, i);
        const std::string second = DigitsAt(b, k);
        if (!first.empty() && !second.empty()) {
            const std::string firstValue = first.substr(std::min(first.find_first_not_of('0'), first.size()));
            const std::string secondValue =
                second.substr(std::min(second.find_first_not_of('0'), second.size()));
            if (firstValue.size() != secondValue.size())
                return firstValue.size() < secondValue.size() ? -1 : 1;
            if (firstValue != secondValue)
                return firstValue < secondValue ? -1 : 1;
            if (first.size() != second.size())
                return first.size() > second.size() ? -1 : 1;
            i += first.size();
            k += second.size();
            continue;
        }
        const int x = static_cast<signed char>(std::tolower(static_cast<unsigned char>(a[i++])));
        const int y = static_cast<signed char>(std::tolower(static_cast<unsigned char>(b[k++])));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return Sign(static_cast<long long>(a.size() - i)) - Sign(static_cast<long long>(b.size() - k));
}

}  // namespace qxdbsqlengine
