#include "persistence/timestamp_reader.h"

#include <algorithm>
#include <utility>

namespace qxdbsqlengine {

TimestampReader::TimestampReader(DataStorage& store, int rs, const std::vector<int>& columns,
                                 const char* format)
    : storage(store),
      arrival(store.ArrivalOrder()),
      resultSet(rs),
      sorted(store.IsSorted(rs) && !store.IsEditable()) {
    for (int column : columns) {
        const bool isTimestamp = storage.GetDataType(resultSet, column) == DataTypeTimestamp;
        places.push_back(isTimestamp ? static_cast<int>(timestampColumns.size()) : -1);
        if (isTimestamp)
            timestampColumns.push_back(column);
    }
    current.resize(timestampColumns.size());
    scratch.SetFormat(format);
}

std::string_view TimestampReader::Text(int position) {
    current[static_cast<std::size_t>(places[static_cast<std::size_t>(position)])].AsTimestamp(scratch);
    text.clear();
    scratch.AppendTo(text);
    return text;
}

bool TimestampReader::Read(int row) {
    if (timestampColumns.empty())
        return true;
    const bool inSequence = row == previous + 1;
    previous = row;
    const bool inBlock = row >= first && row < first + count;
    if (inBlock || (sorted && inSequence && Fill(row))) {
        const auto from = block.begin() + static_cast<std::ptrdiff_t>(row - first) *
                                              static_cast<std::ptrdiff_t>(timestampColumns.size());
        std::copy_n(from, timestampColumns.size(), current.begin());
        return true;
    }
    for (std::size_t i = 0; i < timestampColumns.size(); ++i)
        if (!ReadAt(storage, row, timestampColumns[i], current[i]))
            return false;
    return true;
}

// A store that is not to be had answers with the zero timestamp, which thus needs a second look: the text of
// a cell is never empty.
bool TimestampReader::ReadAt(DataStorage& from, int row, int column, ResultsTimestamp& value) {
    value = ResultsTimestamp(from.GetTimestamp(resultSet, row, column));
    if (value != ResultsTimestamp() || from.IsNull(resultSet, row, column))
        return true;
    return !from.AsString(resultSet, row, column, std::locale::classic()).empty();
}

// Takes a block that begins with `row`; false when none could be taken.
bool TimestampReader::Fill(int row) {
    const int perBlock = std::max(kBlockRows / static_cast<int>(timestampColumns.size()), 1);
    const int rows = std::min(perBlock, storage.GetNumberOfRows(resultSet) - row);
    count = 0;
    if (rows <= 0)
        return false;
    std::vector<std::pair<int, int>> byPlace(static_cast<std::size_t>(rows));  // physical row, row of block
    for (int i = 0; i < rows; ++i)
        byPlace[static_cast<std::size_t>(i)] = {storage.GetRowTranslation(resultSet, row + i), i};
    std::sort(byPlace.begin(), byPlace.end());
    const std::size_t width = timestampColumns.size();
    block.resize(static_cast<std::size_t>(rows) * width);
    for (std::size_t i = 0; i < width; ++i)
        for (const auto& [physical, place] : byPlace)
            if (!ReadAt(arrival, physical, timestampColumns[i],
                        block[static_cast<std::size_t>(place) * width + i]))
                return false;
    first = row;
    count = rows;
    return true;
}

}  // namespace qxdbsqlengine
