// What columns of decimal numbers do alike, whatever holds their values.
#pragma once

#include <algorithm>
#include <string>

#include "platform/qxdb/decimal.h"
#include "storage/column_set_storage.h"

namespace qxdbsqlengine {

// The text that users see, with `precision` digits behind the point, or those of the value without zeros at
// the end when that is below 1. A value that can't be rendered gives a text that says so.
void AppendDecimalText(const qxdb::Decimal& value, char decimalPoint, int precision, std::string& out);
// The same as a view of `buffer`, whose content is overwritten.
std::string_view ViewDecimalText(const qxdb::Decimal& value, char decimalPoint, int precision,
                                 std::string& buffer);

// The greater width of the least and the greatest value; 0 without rows. `read(row, value)` reads a row.
template <class Read>
int MeasureDecimals(ColumnSetStorage& column, int rows, const std::locale& locale,
                    LargestColumnItemCallback& callback, Read read) {
    if (rows == 0)
        return 0;
    int least = 0;
    int greatest = 0;
    qxdb::Decimal leastValue;
    read(0, leastValue);
    qxdb::Decimal greatestValue = leastValue;
    qxdb::Decimal value;
    for (int row = 1; row < rows; ++row) {
        read(row, value);
        if (value.Compare(leastValue) < 0) {
            leastValue = value;
            least = row;
        } else if (value.Compare(greatestValue) > 0) {
            greatestValue = value;
            greatest = row;
        }
    }
    const CellFormat format(locale);
    std::string text;
    column.AppendString(least, format, text);
    const int width = callback.GetItemWidth(text);
    text.clear();
    column.AppendString(greatest, format, text);
    return std::max(width, callback.GetItemWidth(text));
}

}  // namespace qxdbsqlengine
