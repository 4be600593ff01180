// How numbers are rendered for a locale, resolved once, so that no locale is looked up for a cell.
#pragma once

#include <charconv>
#include <cstddef>
#include <locale>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/int64.h"

namespace qxdbsqlengine {

// Constant after construction, so any thread may use one object. Make one per export or per screen, not per
// cell.
class QXSENG2_API CellFormat {
  public:
    explicit CellFormat(const std::locale& cellLocale);
    ~CellFormat();

    static const CellFormat& Classic();

    const std::locale& GetLocale() const { return locale; }
    bool IsClassic() const { return classic; }
    char DecimalPoint() const { return decimalPoint; }

    // Appends the text that a stream with this locale writes for the number.
    void AppendInteger(__int64 value, std::string& out) const;
    // The same text as a view of the start of `buffer`, whose content is overwritten; it grows where it must.
    std::string_view ViewInteger(__int64 value, std::string& buffer) const {
        constexpr std::size_t longest = 24;
        if (plainIntegers) {
            if (buffer.size() < longest)
                buffer.resize(longest);
            char* const text = &buffer[0];
            return {text, static_cast<std::size_t>(std::to_chars(text, text + longest, value).ptr - text)};
        }
        buffer.clear();
        AppendInteger(value, buffer);
        return buffer;
    }

  private:
    void AppendGrouped(const char* digits, int count, std::string& out) const;

    std::locale locale;
    bool classic;
    bool ownDigits;  // the locale formats numbers by its own facet: a stream must do it
    char decimalPoint;
    char thousandsSeparator;
    std::string grouping;        // empty: none
    bool plainIntegers = false;  // digits alone
};

}  // namespace qxdbsqlengine
