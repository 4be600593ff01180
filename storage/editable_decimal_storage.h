// Column of exact decimal numbers that can be changed.
//
// Slot of 12 bytes (private, exact; cell_table.h has the rest):
//   0-1   scale, 16 bits. It is below 2^15 always, so the upper bit says that the number is negative.
//   2-3   number of digit bytes, unsigned 16-bit
//   4-11  up to 8 digit bytes, most significant first; for more, 4-7 the id of the first data cell
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxdb/decimal.h"
#include "storage/cell_table.h"
#include "storage/column_set_storage.h"

namespace qxdbsqlengine {

class QXSENG2_API EditableDecimalStorage : public EditableSetStorage {
  public:
    static constexpr std::size_t kSlotBytes = 12;
    static constexpr std::size_t kShortDigits = 8;

    // `columnPrecision`: digits behind the point that users see, 0 for those of the value without zeros at
    // the end; a negative one becomes 0.
    EditableDecimalStorage(CellAlloc& cellAlloc, int columnPrecision);
    ~EditableDecimalStorage() override;

    qxdb::Decimal AsDecimal(int row) override;
    const char* GetDataTimeFormat() override { return nullptr; }
    using ColumnSetStorage::AsString;
    // With the locale's point. A value that can't be rendered gives a text that says so.
    std::string AsString(int row, const std::locale& locale) override;
    // Throws std::bad_alloc, and std::length_error for more than 65535 digit bytes; nothing is appended then.
    void InsertDecimal(const qxdb::Decimal& value) override;
    void InsertEmpty() override;
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return DataTypeDecimal; }
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override;
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignRight; }
    // When memory is refused, the value is 0 afterwards.
    void SetDecimal(int row, const qxdb::Decimal& value) override;
    void SetEmpty(int row) override;
    void RemoveLast() override;
    void MoveDown(int end) override;
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override;
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    void ReadInto(int row, qxdb::Decimal& value);
    void FreeChain(const unsigned char* slot);
    void Write(unsigned char* slot, const qxdb::Decimal& value);

    CellAlloc& cells;
    CellTable slots;
    int precision;
    // Kept so that a read or a comparison allocates as little as possible.
    std::string scratch;
    qxdb::Decimal decimal1;
    qxdb::Decimal decimal2;
};

}  // namespace qxdbsqlengine
