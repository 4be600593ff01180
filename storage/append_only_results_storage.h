// The container of query results.
#pragma once

#include "storage/results_storage.h"

namespace qxdbsqlengine {

// Rows can only be added; data lives in memory pages and, beyond the first 640 KiB or so, in a cache file
// that goes with the container. A view hides and orders rows without touching the data, at 4 bytes a row.
//
// Threads: those of ResultsStorage.
class QXSENG2_API AppendOnlyResultsStorage : public ResultsStorage<DataContainer, ResultSetStorage> {
  public:
    AppendOnlyResultsStorage();
    ~AppendOnlyResultsStorage() override;

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
    // Always empty.
    std::string GetLobFileName(int index, int rs, int row, int col) override;
    // The same as HideRow: the data stays.
    void DeleteRow(int index, int rs, int row) override;

  protected:
    std::unique_ptr<ColumnSetStorage> MakeColumn(const ColumnDefinition& definition) override;

  private:
    void InsertNewRow(int rs);
};

}  // namespace qxdbsqlengine
