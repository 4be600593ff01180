#include "storage/data_edit.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "platform/qxutils/read_write_lock.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {
namespace {

// An editable container that writes down what it is told and holds nothing.
class NotingContainer : public EditableDataContainer {
  public:
    explicit NotingContainer(std::vector<std::string>& target) : notes(target) {}

    int GetNumberOfResultSets() override { return 0; }
    int GetNumberOfRows(int, int) override { return 0; }
    int GetNumberOfColumns(int) override { return 0; }
    ResultSetType GetResultSetType(int) override { return ResultSetNormal; }
    EnumDataType GetDataType(int, int) override { return DataTypeString; }
    int GetPrecision(int, int) override { return 0; }
    void SetPrecision(int, int, int) override {}
    int GetNativeDataType(int, int) override { return 0; }
    void SetNativeDataType(int, int, int) override {}
    std::string GetNativeDataTypeName(int, int) override { return {}; }
    void SetNativeDataTypeName(int, int, const std::string&) override {}
    std::string GetColumnLabel(int, int) override { return {}; }
    int FindColumnLabel(int, const std::string&) override { return -1; }
    AlignHint GetAlignHint(int, int) override { return AlignLeft; }
    std::string GetString(int, int, int, int) override { return {}; }
    short GetShort(int, int, int, int) override { return {}; }
    int GetInt(int, int, int, int) override { return {}; }
    long GetLong(int, int, int, int) override { return {}; }
    __int64 GetInt64(int, int, int, int) override { return {}; }
    float GetFloat(int, int, int, int) override { return {}; }
    double GetDouble(int, int, int, int) override { return {}; }
    qxdb::Decimal GetDecimal(int, int, int, int) override { return {}; }
    qxdb::DynBuffer GetBinary(int, int, int, int) override { return {}; }
    qxdb::Timestamp GetTimestamp(int, int, int, int) override { return {}; }
    const char* GetDataTimeFormat(int, int, int) override { return nullptr; }
    bool IsNull(int, int, int, int) override { return false; }
    std::string AsString(int, int, int, int, const std::locale&) override { return {}; }
    std::string GetLobFileName(int, int, int, int) override { return {}; }
    int AddResultSet(const std::vector<ColumnDefinition>&, ResultSetType) override { return -1; }
    void InsertString(int, int, const std::string&) override {}
    void InsertShort(int, int, const short&) override {}
    void InsertInt(int, int, const int&) override {}
    void InsertLong(int, int, const long&) override {}
    void InsertInt64(int, int, const __int64&) override {}
    void InsertFloat(int, int, const float&) override {}
    void InsertDouble(int, int, const double&) override {}
    void InsertDecimal(int, int, const qxdb::Decimal&) override {}
    void InsertBinary(int, int, const qxdb::DynBuffer&) override {}
    void InsertTimestamp(int, int, const qxdb::Timestamp&) override {}
    void InsertLobData(int, int, const std::string&, const qxdb::DynBuffer&) override {}
    void InsertEmpty(int, int) override {}
    void InsertNull(int, int) override {}
    void HideRow(int, int, int) override {}
    int CompareItems(int, int, int, int, int) override { return 0; }
    void Sort(int, int, const std::vector<DataSort>&, std::deque<int>*, int) override {}
    void ReSort(int, int) override {}
    void FlipSort(int, int, int, std::deque<int>*, int) override {}
    bool IsSorted(int, int) override { return false; }
    int GetLargestColumnSize(int, int, std::locale&, LargestColumnItemCallback&) override { return 0; }
    LobExtract GetLob(int, int, int, int) override { return LobExtract(qxdb::LobLocator(), {}, {}); }
    bool GetUseLobLocators(int, int) override { return false; }
    NamedTypeExtract GetNamedType(int, int, int, int) override {
        std::string text;
        return NamedTypeExtract(text);
    }
    void TrackRearrangedRows(int, int, int, std::deque<int>&) override {}
    int FindString(int, int, int, const std::string&, int) override { return 0; }
    RowLock GetRowLock(int) override { return RowLock(lock); }
    std::string GetTagName(int) override { return {}; }
    void SetTagName(int, std::string) override {}
    std::string GetTableName(int) override { return {}; }
    void SetTableName(int, std::string) override {}
    void LockAll() override {}
    void WriteLockAll() override {}
    void UnlockAll() override {}
    void DeleteColumn(int, int, int) override {}
    void DeleteRow(int index, int rs, int row) override { Note("DeleteRow", {index, rs, row}, ""); }
    int GetRowTranslation(int, int, int) override { return 0; }
    bool VisitRow(int, int, int, const int*, int, const CellFormat&, CellSink&) override { return false; }
    bool BeginReads() override { return false; }
    void EndReads() override {}
    void SetString(int index, int rs, int row, int col, const std::string& value) override {
        Note("SetString", {index, rs, row, col}, value);
    }
    void SetShort(int index, int rs, int row, int col, const short& value) override {
        Note("SetShort", {index, rs, row, col}, std::to_string(value));
    }
    void SetInt(int index, int rs, int row, int col, const int& value) override {
        Note("SetInt", {index, rs, row, col}, std::to_string(value));
    }
    void SetLong(int index, int rs, int row, int col, const long& value) override {
        Note("SetLong", {index, rs, row, col}, std::to_string(value));
    }
    void SetInt64(int index, int rs, int row, int col, const __int64& value) override {
        Note("SetInt64", {index, rs, row, col}, std::to_string(value));
    }
    void SetFloat(int index, int rs, int row, int col, const float& value) override {
        Note("SetFloat", {index, rs, row, col}, std::to_string(value));
    }
    void SetDouble(int index, int rs, int row, int col, const double& value) override {
        Note("SetDouble", {index, rs, row, col}, std::to_string(value));
    }
    void SetDecimal(int index, int rs, int row, int col, const qxdb::Decimal& value) override {
        Note("SetDecimal", {index, rs, row, col}, value.AsString(false, -1));
    }
    void SetBinary(int index, int rs, int row, int col, const qxdb::DynBuffer& value) override {
        Note("SetBinary", {index, rs, row, col}, std::to_string(value.GetLength()) + " bytes");
    }
    void SetTimestamp(int index, int rs, int row, int col, const qxdb::Timestamp& value) override {
        Note("SetTimestamp", {index, rs, row, col}, value.AsString());
    }
    void SetLobData(int index, int rs, int row, int col, const std::string& text,
                    const std::string& fileName) override {
        Note("SetLobData", {index, rs, row, col}, text + " " + fileName);
    }
    void SetLobData(int index, int rs, int row, int col, const std::string& text,
                    const qxdb::DynBuffer& locatorData, const std::string& fileName) override {
        Note("SetLobData", {index, rs, row, col},
             text + " " + std::to_string(locatorData.GetLength()) + " " + fileName);
    }
    void SetEmpty(int index, int rs, int row, int col) override {
        Note("SetEmpty", {index, rs, row, col}, "");
    }
    void SetNull(int index, int rs, int row, int col) override { Note("SetNull", {index, rs, row, col}, ""); }
    void InsertRow(int index, int rs, int row) override { Note("InsertRow", {index, rs, row}, ""); }

  private:
    void Note(const std::string& name, std::initializer_list<int> numbers, const std::string& value) {
        std::string note = name;
        for (const int number : numbers)
            note += " " + std::to_string(number);
        notes.push_back(value.empty() ? note : note + " " + value);
    }

    std::vector<std::string>& notes;
    qxutils::RecursiveReadWriteLock lock;
};

TEST(DataEditTest, ForwardsWithTheViewOfItsHandle) {
    std::vector<std::string> notes;
    DataStorage first(new NotingContainer(notes));
    DataStorage store(first);  // view 1
    DataEdit& edit = store.Edit();
    edit.SetString(2, 3, 4, "text");
    edit.SetShort(2, 3, 4, 5);
    edit.SetInt(2, 3, 4, 6);
    edit.SetLong(2, 3, 4, 7);
    edit.SetInt64(2, 3, 4, 8);
    edit.SetFloat(2, 3, 4, 1.5F);
    edit.SetDouble(2, 3, 4, 2.5);
    edit.SetDecimal(2, 3, 4, qxdb::Decimal("3.50"));
    edit.SetBinary(2, 3, 4, qxdb::DynBuffer(6, 6));
    edit.SetTimestamp(2, 3, 4, qxdb::Timestamp("2024-01-02 03:04:05.000"));
    edit.SetLobData(2, 3, 4, "preview", "file");
    edit.SetLobData(2, 3, 4, "preview", qxdb::DynBuffer(9, 9), "file");
    edit.SetEmpty(2, 3, 4);
    edit.SetNull(2, 3, 4);
    edit.InsertRow(2, 3);
    edit.DeleteRow(2, 3);
    EXPECT_EQ((std::vector<std::string>{
                  "SetString 1 2 3 4 text", "SetShort 1 2 3 4 5", "SetInt 1 2 3 4 6", "SetLong 1 2 3 4 7",
                  "SetInt64 1 2 3 4 8", "SetFloat 1 2 3 4 1.500000", "SetDouble 1 2 3 4 2.500000",
                  "SetDecimal 1 2 3 4 3.50", "SetBinary 1 2 3 4 6 bytes",
                  "SetTimestamp 1 2 3 4 2024-01-02 03:04:05.000", "SetLobData 1 2 3 4 preview file",
                  "SetLobData 1 2 3 4 preview 9 file", "SetEmpty 1 2 3 4", "SetNull 1 2 3 4",
                  "InsertRow 1 2 3", "DeleteRow 1 2 3"}),
              notes);
}

TEST(DataEditTest, FollowsItsHandleToAnotherContainer) {
    std::vector<std::string> notes;
    std::vector<std::string> otherNotes;
    DataStorage store(new NotingContainer(notes));
    DataStorage other(new NotingContainer(otherNotes));
    store = other;
    store.Edit().SetNull(0, 0, 0);
    EXPECT_TRUE(notes.empty());
    EXPECT_EQ((std::vector<std::string>{"SetNull 1 0 0 0"}), otherNotes);
}

}  // namespace
}  // namespace qxdbsqlengine
