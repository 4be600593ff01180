// One column of a result set: the values of all rows in physical order, how they are handed out, rendered,
// compared and measured. A column knows nothing of views, sorting, null marks or locks.
#pragma once

#include <cstddef>
#include <locale>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/lob_locator.h"
#include "platform/qxdb/timestamp.h"
#include "storage/cell_format.h"
#include "storage/column_definition.h"
#include "storage/sort_key.h"

namespace qxdbsqlengine {

// Measures texts for a viewer. Called while the container's lock is held: do not call the store.
class QXSENG2_API LargestColumnItemCallback {
  public:
    virtual ~LargestColumnItemCallback();
    // The width of the text, in the viewer's unit.
    virtual int GetItemWidth(const std::string& text) = 0;
};

// Owned by its container, which serialises all use, reads included: reading may map pages, and some columns
// keep scratch values. Rows are physical and 0-based; a row beyond the end reads as an empty value and never
// fails.
//
// An operation that a column does not have throws BadTypeException; there is no conversion between types. The
// order of the virtual operations is fixed; new ones go to the end.
class QXSENG2_API ColumnSetStorage {
  public:
    ColumnSetStorage();
    ColumnSetStorage(const ColumnSetStorage&) = delete;
    ColumnSetStorage& operator=(const ColumnSetStorage&) = delete;
    virtual ~ColumnSetStorage();

    // The stored text; string-like columns and binary (as hexadecimal text) only.
    virtual std::string AsString(int row);
    virtual short AsShort(int row);
    virtual int AsInt(int row);
    virtual long AsLong(int row);
    virtual __int64 AsInt64(int row);
    virtual float AsFloat(int row);
    virtual double AsDouble(int row);
    virtual qxdb::Decimal AsDecimal(int row);
    virtual qxdb::DynBuffer AsBinary(int row);
    virtual qxdb::Timestamp AsTimestamp(int row);
    // The format text of a timestamp column that has one, else null. Valid as long as the column.
    virtual const char* GetDataTimeFormat();
    // The text that users see; every column has it.
    virtual std::string AsString(int row, const std::locale& locale) = 0;
    virtual std::string GetLobFileName(int row);

    // Appending, in row order. InsertString parses where the column is no text: a text that is no number is
    // 0.
    virtual void InsertString(const std::string& value);
    virtual void InsertShort(const short& value);
    virtual void InsertInt(const int& value);
    virtual void InsertLong(const long& value);
    virtual void InsertInt64(const __int64& value);
    virtual void InsertFloat(const float& value);
    virtual void InsertDouble(const double& value);
    virtual void InsertDecimal(const qxdb::Decimal& value);
    virtual void InsertBinary(const qxdb::DynBuffer& value);
    virtual void InsertTimestamp(const qxdb::Timestamp& value);
    // A preview text and the bytes that find the object on the server.
    virtual void InsertLobData(const std::string& text, const qxdb::DynBuffer& locatorData);
    virtual void InsertEmpty() = 0;

    // Negative, 0 or positive. `option` reaches the comparison of texts only (natural_compare.h).
    virtual int CompareItems(int row1, int row2, int option) = 0;
    virtual bool EqualsString(int row, const std::string& text);
    virtual EnumDataType GetDataType() = 0;
    virtual int GetPrecision();
    virtual void SetPrecision(int precision);
    virtual int GetNativeDataType();
    virtual void SetNativeDataType(int type);
    virtual std::string GetNativeDataTypeName();
    virtual void SetNativeDataTypeName(const std::string& name);
    // The greatest width of any row's text; 0 for an empty column. Renders as few texts as it can.
    virtual int GetLargestColumnSize(std::locale& locale, LargestColumnItemCallback& callback) = 0;
    virtual qxdb::LobLocator GetLob(int row);
    virtual bool GetUseLobLocators();
    virtual std::string GetColumnLabel();
    virtual void SetColumnLabel(const std::string& label);
    virtual AlignHint GetAlignHint() = 0;

    // Appends exactly what AsString(row, locale) returns, without a stream or an allocation of its own.
    virtual void AppendString(int row, const CellFormat& format, std::string& out) = 0;
    // The same text as a view: of the stored bytes where they lie side by side, else of `scratch`, which it
    // replaces. Valid until the next operation on anything of the same container.
    virtual std::string_view ViewString(int row, const CellFormat& format, std::string& scratch);
    // Puts the wanted part of the sort key of each row that the sink lists. Keys order as CompareItems with
    // option 0 does, made consistent where that is not (texts, NaN).
    virtual void PutSortKeys(SortKeySink& sink) = 0;
    // Appends at most `maxBytes` bytes of the row's sort key from `position` on and moves `position` behind
    // them; nothing behind the key's end.
    virtual void AppendSortKey(int row, SortKeyPosition& position, std::size_t maxBytes,
                               std::string& out) = 0;

  private:
    std::string columnLabel;
    int nativeDataType = -1;
    std::string nativeDataTypeName;
};

// A column whose values can be replaced, by row, and taken off its end.
class QXSENG2_API EditableSetStorage : public ColumnSetStorage {
  public:
    ~EditableSetStorage() override;

    // REQUIRES: the row exists.
    virtual void SetString(int row, const std::string& value);
    virtual void SetShort(int row, const short& value);
    virtual void SetInt(int row, const int& value);
    virtual void SetLong(int row, const long& value);
    virtual void SetInt64(int row, const __int64& value);
    virtual void SetFloat(int row, const float& value);
    virtual void SetDouble(int row, const double& value);
    virtual void SetDecimal(int row, const qxdb::Decimal& value);
    virtual void SetBinary(int row, const qxdb::DynBuffer& value);
    virtual void SetTimestamp(int row, const qxdb::Timestamp& value);
    virtual void SetLobData(int row, const std::string& text, const std::string& fileName);
    virtual void SetLobData(int row, const std::string& text, const qxdb::DynBuffer& locatorData,
                            const std::string& fileName);
    // The value of a row that InsertEmpty made.
    virtual void SetEmpty(int row) = 0;
    virtual void RemoveLast() = 0;

    // Moves what lies in cells from `end` on to lower ones, so that pages of cells become free
    // (CellAlloc::IsSparse). Nothing for columns without cells. Throws std::bad_alloc; no value has changed.
    virtual void MoveDown(int end);
};

}  // namespace qxdbsqlengine
