// Append-only column of large objects.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxdb/lob_locator.h"
#include "storage/column_set_storage.h"
#include "storage/var_length_storage.h"

namespace qxdbsqlengine {

// Holds a preview text for each row and one locator for the whole column; what finds the object of a single
// row is not kept.
class QXSENG2_API LobStorage : public ColumnSetStorage {
  public:
    // `streamSize`: bytes of an object that its preview was read from. The locator is copied.
    LobStorage(PageAlloc& alloc, int streamSize, const qxdb::LobLocator& columnLocator, bool useLocators);
    ~LobStorage() override;

    std::string AsString(int row) override { return previews.Read(row); }
    const char* GetDataTimeFormat() override { return nullptr; }
    std::string AsString(int row, const std::locale& locale) override { return previews.Read(row); }
    // Always empty.
    std::string GetLobFileName(int row) override;
    void InsertLobData(const std::string& text, const qxdb::DynBuffer& locatorData) override;
    void InsertEmpty() override { previews.Append(nullptr, 0); }
    // The previews, by unsigned bytes.
    int CompareItems(int row1, int row2, int option) override;
    EnumDataType GetDataType() override { return DataTypeLob; }
    // The stream size.
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override { precision = newPrecision; }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override { return 0; }
    // A clone of the column's locator, the same for all rows.
    qxdb::LobLocator GetLob(int row) override { return locator.Clone(); }
    bool GetUseLobLocators() override { return useLobLocators; }
    AlignHint GetAlignHint() override { return AlignLeft; }
    void AppendString(int row, const CellFormat& format, std::string& out) override {
        previews.ReadAppend(row, out);
    }
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return previews.View(row, scratch);
    }
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    qxdb::LobLocator locator;
    int precision;
    bool useLobLocators;
    VarLengthStorage previews;
};

}  // namespace qxdbsqlengine
