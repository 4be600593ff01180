// Columns of texts that can be changed.
#pragma once

#include <string>

#include "platform/export.h"
#include "storage/column_set_storage.h"
#include "storage/editable_var_length_storage.h"

namespace qxdbsqlengine {

class QXSENG2_API EditableStringStorage : public EditableSetStorage {
  public:
    explicit EditableStringStorage(CellAlloc& cells) : values(cells) {}
    ~EditableStringStorage() override;

    std::string AsString(int row) override { return values.Read(row); }
    const char* GetDataTimeFormat() override { return nullptr; }
    // The stored text; the locale is not used.
    std::string AsString(int row, const std::locale& locale) override { return values.Read(row); }
    void InsertString(const std::string& value) override { values.Append(value.data(), value.size()); }
    void InsertEmpty() override { values.Append(nullptr, 0); }
    // The natural comparison by the value of digit runs, whatever the caller's option.
    int CompareItems(int row1, int row2, int option) override;
    bool EqualsString(int row, const std::string& text) override { return values.Equals(row, text); }
    EnumDataType GetDataType() override { return DataTypeString; }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override;
    AlignHint GetAlignHint() override { return AlignLeft; }
    void SetString(int row, const std::string& value) override {
        values.Set(row, value.data(), value.size());
    }
    void SetEmpty(int row) override { values.Set(row, nullptr, 0); }
    void RemoveLast() override { values.RemoveLast(); }
    void MoveDown(int end) override { values.MoveDown(end); }
    void AppendString(int row, const CellFormat& format, std::string& out) override {
        values.ReadAppend(row, out);
    }
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return values.View(row, scratch);
    }
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    EditableVarLengthStorage values;
};

// Values of named (object) types, held as their rendered text.
class QXSENG2_API EditableNamedTypeStorage : public EditableStringStorage {
  public:
    explicit EditableNamedTypeStorage(CellAlloc& cells) : EditableStringStorage(cells) {}
    ~EditableNamedTypeStorage() override;

    EnumDataType GetDataType() override { return DataTypeNamedType; }
};

}  // namespace qxdbsqlengine
