#include "storage/row_reader.h"

#include <algorithm>

namespace qxdbsqlengine {

namespace {

// Columns that are read in one go through a block: their pages must stay mapped together, and a column can
// have several arrays.
constexpr std::size_t ColumnsAtOnce = 16;

// A block of fewer rows gains nothing.
constexpr int FewestRows = 64;

}  // namespace

// Appends the cells of one row to the block.
class RowReader::Collector final : public CellSink {
  public:
    Collector(RowReader& target, std::size_t firstColumn) : reader(target), offset(firstColumn) {}

    void OnCell(int position, bool isNull, std::string_view value) override {
        Cell& cell = reader.cells[row * reader.columns.size() + offset + static_cast<std::size_t>(position)];
        cell.offset = static_cast<std::uint32_t>(reader.text.size());
        cell.isNull = isNull;
        cell.length = 0;
        if (value.size() > BlockBytes - std::min(reader.text.size(), BlockBytes)) {
            isFull = true;
            return;
        }
        cell.length = static_cast<std::uint32_t>(value.size());
        reader.text.append(value);
    }

    std::size_t row = 0;
    bool isFull = false;

  private:
    RowReader& reader;
    const std::size_t offset;
};

RowReader::RowReader(DataStorage& from, int rs, std::vector<int> wanted, const CellFormat& textFormat)
    : storage(from),
      arrival(from.ArrivalOrder()),
      resultSet(rs),
      columns(std::move(wanted)),
      format(textFormat),
      blockRows(static_cast<int>(BlockCells / std::max<std::size_t>(columns.size(), 1))) {}

RowReader::~RowReader() = default;

bool RowReader::Visit(int row, CellSink& sink) {
    const bool inSequence = row == previous + 1;
    previous = row;
    if (row >= first && row < first + count) {
        Replay(row, sink);
        return true;
    }
    if (inSequence && blockRows >= FewestRows && !storage.IsEditable() && storage.IsSorted(resultSet) &&
        Fill(row)) {
        Replay(row, sink);
        return true;
    }
    return storage.VisitRow(resultSet, row, columns.data(), static_cast<int>(columns.size()), format, sink);
}

// Takes a block that begins with `row`; false when none could be taken.
bool RowReader::Fill(int row) {
    while (blockRows >= FewestRows) {
        const int rows = std::min(blockRows, storage.GetNumberOfRows(resultSet) - row);
        if (rows <= 0)
            return false;
        count = 0;
        const Taken taken = FillRows(row, rows);
        if (taken == Taken::Busy)
            return false;
        if (taken == Taken::All) {
            first = row;
            count = rows;
            return true;
        }
        blockRows = rows / 2;
    }
    return false;
}

RowReader::Taken RowReader::FillRows(int row, int rows) {
    std::vector<Place> places(static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i)
        places[static_cast<std::size_t>(i)] = {storage.GetRowTranslation(resultSet, row + i), i};
    std::sort(places.begin(), places.end(),
              [](const Place& left, const Place& right) { return left.physical < right.physical; });
    cells.resize(static_cast<std::size_t>(rows) * columns.size());
    text.clear();
    for (std::size_t column = 0; column < columns.size(); column += ColumnsAtOnce) {
        const Taken taken = Collect(places, column, std::min(ColumnsAtOnce, columns.size() - column));
        if (taken != Taken::All)
            return taken;
    }
    return Taken::All;
}

RowReader::Taken RowReader::Collect(const std::vector<Place>& places, std::size_t firstColumn,
                                    std::size_t columnCount) {
    Collector collector(*this, firstColumn);
    for (const Place& place : places) {
        collector.row = static_cast<std::size_t>(place.position);
        if (!arrival.VisitRow(resultSet, place.physical, columns.data() + firstColumn,
                              static_cast<int>(columnCount), format, collector))
            return Taken::Busy;
        if (collector.isFull)
            return Taken::TooLarge;
    }
    return Taken::All;
}

void RowReader::Replay(int row, CellSink& sink) const {
    const Cell* cell = cells.data() + static_cast<std::size_t>(row - first) * columns.size();
    for (std::size_t position = 0; position < columns.size(); ++position, ++cell) {
        sink.OnCell(static_cast<int>(position), cell->isNull,
                    std::string_view(text.data() + cell->offset, cell->length));
    }
}

}  // namespace qxdbsqlengine
