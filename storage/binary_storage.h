// Append-only column of byte strings.
#pragma once

#include <string>

#include "platform/export.h"
#include "storage/column_set_storage.h"
#include "storage/var_length_storage.h"

namespace qxdbsqlengine {

// Values come out as hexadecimal text only; there is no AsBinary.
class QXSENG2_API BinaryStorage : public ColumnSetStorage {
  public:
    explicit BinaryStorage(PageAlloc& alloc) : values(alloc) {}
    ~BinaryStorage() override;

    std::string AsString(int row) override;
    const char* GetDataTimeFormat() override { return nullptr; }
    std::string AsString(int row, const std::locale& locale) override { return AsString(row); }
    // Reads hexadecimal text; the row is empty where that is not possible.
    void InsertString(const std::string& value) override;
    void InsertBinary(const qxdb::DynBuffer& value) override;
    void InsertEmpty() override { values.Append(nullptr, 0); }
    // The shorter value is less; at equal lengths by unsigned bytes.
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return DataTypeBinary; }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignLeft; }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    VarLengthStorage values;
};

}  // namespace qxdbsqlengine
