// Column of large objects that can be changed.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/qxdb/lob_locator.h"
#include "storage/column_set_storage.h"
#include "storage/editable_var_length_storage.h"

namespace qxdbsqlengine {

// Holds for each row a preview text, the name of a file with the value (empty when there is none) and, where
// the column was made to keep it, the data by which the row's object is found on the server.
class QXSENG2_API EditableLobStorage : public EditableSetStorage {
  public:
    // `streamSize`: bytes of an object that its preview was read from. The locator is copied.
    // `keepLocatorData`: each row has locator data of its own, as long as the column locator's.
    EditableLobStorage(CellAlloc& cells, int streamSize, const qxdb::LobLocator& columnLocator,
                       bool useLocators, bool keepLocatorData);
    ~EditableLobStorage() override;

    std::string AsString(int row) override { return previews.Read(row); }
    const char* GetDataTimeFormat() override { return nullptr; }
    std::string AsString(int row, const std::locale& locale) override { return previews.Read(row); }
    std::string GetLobFileName(int row) override { return fileNames.Read(row); }
    // The file name is empty.
    void InsertLobData(const std::string& text, const qxdb::DynBuffer& data) override;
    void InsertEmpty() override;
    // Always 0: a sort leaves this column alone.
    int CompareItems(int row1, int row2, int option) override { return 0; }
    EnumDataType GetDataType() override { return DataTypeLob; }
    // The stream size.
    int GetPrecision() override { return precision; }
    void SetPrecision(int newPrecision) override { precision = newPrecision; }
    int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) override { return 0; }
    // A clone of the column's locator with the row's data, where the column keeps it.
    qxdb::LobLocator GetLob(int row) override;
    bool GetUseLobLocators() override { return useLobLocators; }
    AlignHint GetAlignHint() override { return AlignLeft; }
    // The row's locator data stays.
    void SetLobData(int row, const std::string& text, const std::string& fileName) override;
    void SetLobData(int row, const std::string& text, const qxdb::DynBuffer& data,
                    const std::string& fileName) override;
    // Locator data of zeros.
    void SetEmpty(int row) override;
    void RemoveLast() override;
    void MoveDown(int end) override;
    void AppendString(int row, const CellFormat& format, std::string& out) override {
        previews.ReadAppend(row, out);
    }
    std::string_view ViewString(int row, const CellFormat& format, std::string& scratch) override {
        return previews.View(row, scratch);
    }
    void PutSortKeys(SortKeySink& sink) override;
    void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes, std::string& out) override;

  private:
    void Append(const std::string& text, const qxdb::DynBuffer& data);

    qxdb::LobLocator locator;
    int precision;
    bool useLobLocators;
    EditableVarLengthStorage previews;
    EditableVarLengthStorage locatorData;  // no values while locatorDataLength is 0
    EditableVarLengthStorage fileNames;
    unsigned int locatorDataLength;
};

}  // namespace qxdbsqlengine
