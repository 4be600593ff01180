// The SQL texts of the handlers, by number. Numbers and texts are fixed: option ids map to them, and callers'
// traces show them. printf-like places are %s and %d, filled by FormatSql.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

#include "platform/export.h"
#include "platform/resource_loader.h"

namespace qxdbsqlengine {

// Makes the rows known to ResourceLoader. Any thread, any number of times; every handler calls it.
void RegisterSqlStrings();

// Rows, sorted by number.
struct StringRows {
    const StringRow* rows;
    std::size_t count;
};
// The parts of the table. No number stands in two of them.
StringRows GetCommonStrings();
StringRows GetDB2Strings();

// They are found by binary search.
constexpr bool AreRowsSorted(const StringRow* rows, std::size_t count) {
    for (std::size_t i = 1; i < count; ++i) {
        if (rows[i - 1].id >= rows[i].id)
            return false;
    }
    return true;
}

// The text of one of several values: the row `index` rows behind `baseRow`. Empty when there is no such row,
// or when it has places to fill.
std::string GetChoiceText(int baseRow, int index);

// One value for a place of a format: a number or a text.
class SqlArgument {
  public:
    SqlArgument(int value);
    SqlArgument(const std::string& value);
    SqlArgument(const char* value);

    const std::string& GetText() const { return text; }
    bool IsNumber() const { return isNumber; }

  private:
    std::string text;
    bool isNumber;
};

// Fills the places of `format` with the arguments in order, as printf would print them, and gives an empty
// text where printf would misbehave; callers run nothing for an empty text.
//  - Places are %s and %d, with an optional "-" in between; %% is a percent sign. Any other place gives an
//    empty text.
//  - More arguments than places: the rest is not used (a format without a place is a plain text).
//  - Fewer arguments than places: an empty text.
//  - A number in %s prints as decimal text. A text in %d prints if it is a decimal number, else the result is
//    empty.
std::string FormatSql(const std::string& format, std::initializer_list<SqlArgument> arguments);

}  // namespace qxdbsqlengine
