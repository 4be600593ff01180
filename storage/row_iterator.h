// Cursors over the rows of one result set.
#pragma once

#include <locale>
#include <string>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/timestamp.h"

namespace qxdbsqlengine {

class DataContainer;
class DataStorage;

// A row of a result set as one handle shows it. Owns nothing and is valid only as long as the handle. Holds
// no lock: between two calls rows may be added. Columns are 0-based. Reads are those of DataContainer.
class QXSENG2_API RowIterator {
  public:
    RowIterator(DataStorage* handle, int resultSetNumber, int rowNumber);

    std::string GetString(int col) const;
    short GetShort(int col) const;
    int GetInt(int col) const;
    long GetLong(int col) const;
    __int64 GetInt64(int col) const;
    float GetFloat(int col) const;
    double GetDouble(int col) const;
    qxdb::Decimal GetDecimal(int col) const;
    qxdb::DynBuffer GetBinary(int col) const;
    qxdb::Timestamp GetTimestamp(int col) const;
    bool IsNull(int col) const;
    // The text in the classic locale; "[NULL]" for a null.
    std::string AsPlainString(int col) const;

    RowIterator& operator++();
    RowIterator operator++(int);
    RowIterator& operator--();
    RowIterator operator--(int);
    RowIterator& operator+=(int distance);
    RowIterator& operator-=(int distance);

    // Equal: the same row of the same result set of the same handle.
    bool operator==(const RowIterator& other) const;
    // Compares the rows alone: a loop to an end iterator needs no more.
    bool operator!=(const RowIterator& other) const;
    int operator-(const RowIterator& other) const;

    int GetRow() const { return row; }

  protected:
    DataContainer* GetImpl() const;

    DataStorage* storage;
    int* indexId;
    int resultSet;
    int row;
};

// Renders cells in the user's language or plainly.
class QXSENG2_API FormatIterator : public RowIterator {
  public:
    FormatIterator(DataStorage* handle, int resultSetNumber, int rowNumber);
    explicit FormatIterator(const RowIterator& other);
    FormatIterator(const FormatIterator& other) = default;
    FormatIterator& operator=(const FormatIterator& other) = default;
    FormatIterator& operator=(const RowIterator& other);

    // `formatted`: in the locale of GetLocale, else in the classic one. "[NULL]" for a null.
    std::string AsString(int col, bool formatted) const;

    // The user's default locale, made on the first call on any thread. Where the system does not know the
    // user's locale by its name, the classic one serves.
    static std::locale& GetLocale();
};

}  // namespace qxdbsqlengine
