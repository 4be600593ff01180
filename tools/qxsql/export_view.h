// The results of a run as an export needs them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "storage/data_container.h"
#include "storage/data_storage.h"

namespace qxsql {

// What is done to a value so that the format can hold it.
enum class ValueForm {
    AsItIs,
    HexLiteral,       // bytes as X'00FF'
    ByteaLiteral,     // bytes as '\x00FF'
    ZeroXLiteral,     // bytes as 0x00FF, none as ''
    BackslashEscape,  // each \ doubled
    XmlText,          // ? for control characters, which XML has no place for
    CdataText,        // the same, and what would end a CDATA section is divided over two
};

// What an export takes, and how. A list of columns or rows that stays empty is all of them.
struct ExportChoice {
    std::vector<int> resultSets;
    std::vector<int> columns;            // those that a result does not have are left out
    std::vector<std::vector<int>> rows;  // for each result set, of the view, all valid
    bool allRows = true;                 // without `rows`
    std::function<std::string(const std::string& label)> label;  // null: labels as they are
    std::function<ValueForm(qxdbsqlengine::DataStorage& store, int resultSet, int column)>
        form;  // may be null
    bool hideNativeTypes = false;
    bool* lostCharacters = nullptr;  // becomes true when XmlText or CdataText has written a ?
};

// Shows chosen result sets, columns and rows of a store as a store of its own, numbered from 0: formats of
// this library go by those numbers, and some write wrong names when columns are left out. Reads only:
// whatever would change it throws std::logic_error. Rows must no longer arrive. One thread.
class ExportView final : public qxdbsqlengine::DataContainer {
  public:
    // Rows are those of the handle's view. A handle on the container shows them in that order.
    static qxdbsqlengine::DataStorage Of(const qxdbsqlengine::DataStorage& results, ExportChoice chosen);

    int GetNumberOfResultSets() override;
    int GetNumberOfRows(int index, int rs) override;
    int GetNumberOfColumns(int rs) override;
    qxdbsqlengine::ResultSetType GetResultSetType(int rs) override;
    qxdbsqlengine::EnumDataType GetDataType(int rs, int col) override;
    int GetPrecision(int rs, int col) override;
    void SetPrecision(int rs, int col, int precision) override;
    int GetNativeDataType(int rs, int col) override;
    void SetNativeDataType(int rs, int col, int type) override;
    std::string GetNativeDataTypeName(int rs, int col) override;
    void SetNativeDataTypeName(int rs, int col, const std::string& name) override;
    std::string GetColumnLabel(int rs, int col) override;
    int FindColumnLabel(int rs, const std::string& label) override;
    qxdbsqlengine::AlignHint GetAlignHint(int rs, int col) override;

    std::string GetString(int index, int rs, int row, int col) override;
    short GetShort(int index, int rs, int row, int col) override;
    int GetInt(int index, int rs, int row, int col) override;
    long GetLong(int index, int rs, int row, int col) override;
    __int64 GetInt64(int index, int rs, int row, int col) override;
    float GetFloat(int index, int rs, int row, int col) override;
    double GetDouble(int index, int rs, int row, int col) override;
    qxdb::Decimal GetDecimal(int index, int rs, int row, int col) override;
    qxdb::DynBuffer GetBinary(int index, int rs, int row, int col) override;
    qxdb::Timestamp GetTimestamp(int index, int rs, int row, int col) override;
    const char* GetDataTimeFormat(int index, int rs, int col) override;
    bool IsNull(int index, int rs, int row, int col) override;
    std::string AsString(int index, int rs, int row, int col, const std::locale& locale) override;
    std::string GetLobFileName(int index, int rs, int row, int col) override;

    int AddResultSet(const std::vector<qxdbsqlengine::ColumnDefinition>& columns,
                     qxdbsqlengine::ResultSetType type) override;
    void InsertString(int rs, int col, const std::string& value) override;
    void InsertShort(int rs, int col, const short& value) override;
    void InsertInt(int rs, int col, const int& value) override;
    void InsertLong(int rs, int col, const long& value) override;
    void InsertInt64(int rs, int col, const __int64& value) override;
    void InsertFloat(int rs, int col, const float& value) override;
    void InsertDouble(int rs, int col, const double& value) override;
    void InsertDecimal(int rs, int col, const qxdb::Decimal& value) override;
    void InsertBinary(int rs, int col, const qxdb::DynBuffer& value) override;
    void InsertTimestamp(int rs, int col, const qxdb::Timestamp& value) override;
    void InsertLobData(int rs, int col, const std::string& text, const qxdb::DynBuffer& locatorData) override;
    void InsertEmpty(int rs, int col) override;
    void InsertNull(int rs, int col) override;
    void HideRow(int index, int rs, int row) override;

    int CompareItems(int index, int rs, int col, int row1, int row2) override;
    void Sort(int index, int rs, const std::vector<qxdbsqlengine::DataSort>& keys,
              std::deque<int>* rowsToTrack, int option) override;
    void ReSort(int index, int rs) override;
    void FlipSort(int index, int rs, int col, std::deque<int>* rowsToTrack, int option) override;
    bool IsSorted(int index, int rs) override;
    int GetLargestColumnSize(int rs, int col, std::locale& locale,
                             qxdbsqlengine::LargestColumnItemCallback& callback) override;
    qxdbsqlengine::LobExtract GetLob(int index, int rs, int row, int col) override;
    bool GetUseLobLocators(int rs, int col) override;
    qxdbsqlengine::NamedTypeExtract GetNamedType(int index, int rs, int row, int col) override;
    void TrackRearrangedRows(int fromIndex, int rs, int toIndex, std::deque<int>& rows) override;
    int FindString(int index, int rs, int col, const std::string& text, int startRow) override;
    qxdbsqlengine::RowLock GetRowLock(int rs) override;

    int CreateNewIndex() override;
    int CreateNewIndexAsCopyOfIndex(int index) override;
    bool DestroyIndex(int index) override;

    std::string GetTagName(int rs) override;
    void SetTagName(int rs, std::string name) override;
    std::string GetTableName(int rs) override;
    void SetTableName(int rs, std::string name) override;
    void LockAll() override;
    void WriteLockAll() override;
    void UnlockAll() override;
    void DeleteColumn(int index, int rs, int col) override;
    void DeleteRow(int index, int rs, int row) override;
    int GetRowTranslation(int index, int rs, int row) override;
    bool VisitRow(int index, int rs, int row, const int* columns, int count,
                  const qxdbsqlengine::CellFormat& format, qxdbsqlengine::CellSink& sink) override;
    bool BeginReads() override;
    void EndReads() override;

  private:
    // One result set: the numbers of its columns in the store, and what is done to their values.
    struct Chosen {
        int number;
        std::vector<int> columns;
        std::vector<ValueForm> forms;
        bool formed;  // any of the forms does something
    };
    // A view on the store, with the chosen rows, or with all in the order in which they arrived.
    struct View {
        qxdbsqlengine::DataStorage store;
        bool chosenRows;
    };
    class Former;

    ExportView(const qxdbsqlengine::DataStorage& results, ExportChoice chosen);

    const Chosen& Set(int rs) const { return sets.at(static_cast<std::size_t>(rs)); }
    int Number(int rs) const { return Set(rs).number; }
    int Column(int rs, int col) const { return Set(rs).columns.at(static_cast<std::size_t>(col)); }
    int Row(const View& view, int rs, int row) const;
    View& At(int index) { return *views.at(static_cast<std::size_t>(index)); }
    int Open(std::unique_ptr<View> view);
    // Reads a cell by a member of DataStorage.
    template <class Value>
    Value Read(Value (qxdbsqlengine::DataStorage::*reader)(int, int, int), int index, int rs, int row,
               int col);

    qxdbsqlengine::DataStorage source;
    ExportChoice choice;
    std::vector<Chosen> sets;
    std::vector<std::unique_ptr<View>> views;  // by their numbers; null when closed
    std::vector<int> numbers;                  // of the columns asked for, kept for its memory
};

}  // namespace qxsql
