// Column of byte strings that can be changed.
#pragma once

#include <string>

#include "platform/export.h"
#include "storage/column_set_storage.h"
#include "storage/editable_var_length_storage.h"

namespace qxdbsqlengine {

// Values come out as hexadecimal text only; there is no AsBinary, and no InsertString.
class QXSENG2_API EditableBinaryStorage : public EditableSetStorage {
  public:
    explicit EditableBinaryStorage(CellAlloc& cells) : values(cells) {}
    ~EditableBinaryStorage() override;

    std::string AsString(int row) override;
    const char* GetDataTimeFormat() override { return nullptr; }
    std::string AsString(int row, const std::locale& locale) override { return AsString(row); }
    void InsertBinary(const qxdb::DynBuffer& value) override;
    void InsertEmpty() override { values.Append(nullptr, 0); }
    // The shorter value is less; at equal lengths by unsigned bytes.
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return DataTypeBinary; }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignLeft; }
    void SetBinary(int row, const qxdb::DynBuffer& value) override;
    void SetEmpty(int row) override { values.Set(row, nullptr, 0); }
    void RemoveLast() override { values.RemoveLast(); }
    void MoveDown(int end) override { values.MoveDown(end); }
    void AppendString(int row, const CellFormat& format, std::string& out) override;
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    EditableVarLengthStorage values;
};

}  // namespace qxdbsqlengine
