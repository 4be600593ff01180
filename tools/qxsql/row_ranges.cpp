#include "tools/qxsql/row_ranges.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "tools/qxsql/words.h"

namespace qxsql {

namespace {

RowRange ParseRange(const std::string& piece) {
    const std::string::size_type dash = piece.find('-');
    RowRange range;
    range.first = ParseNumber(piece.substr(0, dash), "--rows");
    if (dash == std::string::npos) {
        range.last = range.first;
    } else if (dash + 1 < piece.size()) {
        range.last = ParseNumber(piece.substr(dash + 1), "--rows");
        if (range.last < range.first)
            throw std::invalid_argument("--rows: \"" + piece + "\" ends before it begins");
    }
    return range;
}

}  // namespace

std::vector<RowRange> ParseRows(const std::string& text) {
    std::vector<RowRange> ranges;
    for (const std::string& piece : SplitAtCommas(text))
        ranges.push_back(ParseRange(piece));
    return ranges;
}

std::vector<int> RowsOf(const std::vector<RowRange>& ranges, int count) {
    long long total = 0;
    for (const RowRange& range : ranges) {
        const int last = range.last < 0 ? count - 1 : std::min(range.last, count - 1);
        total += std::max(0, last - range.first + 1);
    }
    if (total > std::numeric_limits<int>::max())
        throw std::invalid_argument("--rows: " + std::to_string(total) + " rows are too many");
    std::vector<int> rows;
    rows.reserve(static_cast<std::size_t>(total));
    for (const RowRange& range : ranges) {
        const int last = range.last < 0 ? count - 1 : std::min(range.last, count - 1);
        for (int row = range.first; row <= last; ++row)
            rows.push_back(row);
    }
    return rows;
}

}  // namespace qxsql
