// Reading the rows of a sorted view one after the other, fast.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/export.h"
#include "storage/cell_format.h"
#include "storage/cell_sink.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

// Hands out rows of a view as DataStorage::VisitRow does. The rows of a sorted view lie all over the cache
// file, and a row read at its place costs a mapping for nearly every cell. So rows that are asked for in
// sequence are taken in blocks: the rows of a block are read in the order in which they lie, kept as text,
// and handed out in the order of the view. Rows of an unsorted view, rows asked for out of sequence, and
// those of editable results, which have no cache file, are read where they are.
//
// One thread; the storage and the format must outlive it. A block holds at most BlockCells cells and
// BlockBytes of text; larger values make it shorter. It shows the view as it was when the block was taken:
// make a new reader after a sort.
class QXSENG2_API RowReader {
  public:
    static constexpr std::size_t BlockCells = 512 * 1024;
    static constexpr std::size_t BlockBytes = 16 * 1024 * 1024;

    // `wanted`: column numbers from 0, all valid.
    RowReader(DataStorage& from, int rs, std::vector<int> wanted, const CellFormat& textFormat);
    ~RowReader();
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    // `row` of the view, from 0. False when a lock was not to be had in time; the sink may then have got some
    // cells of the row. `sink` must not change the store.
    bool Visit(int row, CellSink& sink);

  private:
    struct Cell {
        std::uint32_t offset;
        std::uint32_t length;
        bool isNull;
    };
    struct Place {
        int physical;
        int position;  // in the block
    };
    class Collector;

    enum class Taken { All, TooLarge, Busy };

    bool Fill(int row);
    Taken FillRows(int row, int rows);
    Taken Collect(const std::vector<Place>& places, std::size_t firstColumn, std::size_t columnCount);
    void Replay(int row, CellSink& sink) const;

    DataStorage& storage;
    DataStorage arrival;  // all rows in the order in which they arrived: its row numbers are physical rows
    const int resultSet;
    const std::vector<int> columns;
    const CellFormat& format;
    int previous = -1;  // the row visited last
    int first = 0;      // the rows of the block
    int count = 0;
    int blockRows;  // what fitted so far
    std::vector<Cell> cells;
    std::string text;
};

}  // namespace qxdbsqlengine
