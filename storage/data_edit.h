// Changes to editable results through one handle.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/timestamp.h"

namespace qxdbsqlengine {

class EditableDataContainer;

// Made by DataStorage only, and valid as long as its handle. Result set, row and column numbers are 0-based,
// rows are those of the handle's view. Threads and failures are those of EditableDataContainer.
class QXSENG2_API DataEdit {
  public:
    void SetString(int rs, int row, int col, const std::string& value);
    void SetShort(int rs, int row, int col, const short& value);
    void SetInt(int rs, int row, int col, const int& value);
    void SetLong(int rs, int row, int col, const long& value);
    void SetInt64(int rs, int row, int col, const __int64& value);
    void SetFloat(int rs, int row, int col, const float& value);
    void SetDouble(int rs, int row, int col, const double& value);
    void SetDecimal(int rs, int row, int col, const qxdb::Decimal& value);
    void SetBinary(int rs, int row, int col, const qxdb::DynBuffer& value);
    void SetTimestamp(int rs, int row, int col, const qxdb::Timestamp& value);
    void SetLobData(int rs, int row, int col, const std::string& text, const std::string& fileName);
    void SetLobData(int rs, int row, int col, const std::string& text, const qxdb::DynBuffer& locatorData,
                    const std::string& fileName);
    void SetEmpty(int rs, int row, int col);
    void SetNull(int rs, int row, int col);
    void InsertRow(int rs, int row);
    void DeleteRow(int rs, int row);

  protected:
    DataEdit(EditableDataContainer* editable, int* handleIndexId);

  private:
    friend class DataStorage;

    EditableDataContainer* container;  // null for results that cannot be changed
    int* indexId;                      // the handle's view
};

}  // namespace qxdbsqlengine
