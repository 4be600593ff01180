// Append-only column of exact decimal numbers.
//
// A value in the byte pool:
//   0     sign: 0 for non-negative, 1 for negative
//   1-2   scale, 16 bits
//   3-..  magnitude: the byte digits of BigInteger, most significant first, with their terminator (a 0 byte)
#pragma once

#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/qxdb/decimal.h"
#include "storage/column_set_storage.h"
#include "storage/var_length_storage.h"

namespace qxdbsqlengine {

class QXSENG2_API DecimalStorage : public ColumnSetStorage {
  public:
    // `columnPrecision`: digits behind the point that users see, 0 for those of the value without zeros at
    // the end; a negative one becomes 0.
    DecimalStorage(PageAlloc& alloc, int columnPrecision);
    ~DecimalStorage() override;

    qxdb::Decimal AsDecimal(int row) override;
    const char* GetDataTimeFormat() override { return nullptr; }
    using ColumnSetStorage::AsString;
    // With the locale's point. A value that can't be rendered gives a text that says so.
    std::string AsString(int row, const std::locale& locale) override;
    // Rounds to the column's precision if that is above 0. Throws what Decimal throws for a bad text; nothing
    // is appended then.
    void InsertString(const std::string& value) override;
    void InsertDecimal(const qxdb::Decimal& value) override;
    void InsertEmpty() override;
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return DataTypeDecimal; }
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override;
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignRight; }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override;
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    void ReadInto(int row, qxdb::Decimal& value);

    VarLengthStorage values;
    int precision;
    // Kept so that a comparison or an insertion allocates as little as possible.
    std::string scratch1;
    std::string scratch2;
    qxdb::Decimal decimal1;
    qxdb::Decimal decimal2;
    qxdb::Decimal inserted;
};

}  // namespace qxdbsqlengine
