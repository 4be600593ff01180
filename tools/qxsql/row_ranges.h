// Which rows of a result are wanted: --rows.
#pragma once

#include <string>
#include <vector>

namespace qxsql {

// Rows from 0, both ends included; `last` below 0 is the last row of the result.
struct RowRange {
    int first = 0;
    int last = -1;
};

// "5", "0-9", "100-", and several of them with commas. Throws std::invalid_argument that names the faulty
// piece.
std::vector<RowRange> ParseRows(const std::string& text);

// The rows of a result of `count` rows in the order of the ranges; those that it does not have are left out.
// Throws std::invalid_argument when there are more than an int can count.
std::vector<int> RowsOf(const std::vector<RowRange>& ranges, int count);

}  // namespace qxsql
