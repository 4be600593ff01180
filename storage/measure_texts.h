// The measure of columns whose texts differ in length.
#pragma once

#include <algorithm>
#include <string>

#include "storage/column_set_storage.h"

namespace qxdbsqlengine {

// Renders only values that are longer than half of the longest so far, so that a text of wide characters
// passes although it is not the longest. `appendText(row, text)` appends the text of a row.
template <class Values, class AppendText>
int MeasureTexts(Values& values, LargestColumnItemCallback& callback, AppendText appendText) {
    __int64 longest = 0;
    int widest = 0;
    std::string text;
    for (int row = 0; row < values.Count(); ++row) {
        const __int64 length = values.Length(row);
        if (2 * length <= longest)
            continue;
        longest = std::max(longest, length);
        text.clear();
        appendText(row, text);
        widest = std::max(widest, callback.GetItemWidth(text));
    }
    return widest;
}

}  // namespace qxdbsqlengine
