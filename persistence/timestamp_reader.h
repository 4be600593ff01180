// The timestamps of exported rows as values, for formats that write them in a format of their own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/qxdb/timestamp.h"
#include "storage/column_definition.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

// Reads the timestamp columns of one row after the other. The rows of a sorted view lie all over the cache
// file, so there rows that are asked for in sequence are read in blocks, in the order in which they lie; not
// those of editable results, which have no cache file.
//
// One thread; the store must outlive it. It shows a sorted view as it was when a block was taken: make a new
// reader for each export.
class TimestampReader {
  public:
    // `columns`: the columns that are written, by position. `format`: that of the texts.
    TimestampReader(DataStorage& store, int rs, const std::vector<int>& columns, const char* format);
    TimestampReader(const TimestampReader&) = delete;
    TimestampReader& operator=(const TimestampReader&) = delete;

    // Reads the values of a row of the view. False when the store was not to be had in time.
    bool Read(int row);
    // The text of the value at a position that holds a timestamp column; valid until the next call.
    std::string_view Text(int position);

  private:
    static constexpr int kBlockRows = 32 * 1024;

    bool ReadAt(DataStorage& from, int row, int column, ResultsTimestamp& value);
    bool Fill(int row);

    DataStorage& storage;
    DataStorage arrival;  // its row numbers are physical rows
    const int resultSet;
    const bool sorted;
    std::vector<int> timestampColumns;
    std::vector<int> places;  // by position: the index in timestampColumns, -1 for other columns
    std::vector<ResultsTimestamp> current;
    std::vector<ResultsTimestamp> block;  // row by row
    int previous = -1;                    // the row read last
    int first = 0;                        // the rows of the block
    int count = 0;
    qxdb::Timestamp scratch;  // has the format of the texts
    std::string text;
};

}  // namespace qxdbsqlengine
