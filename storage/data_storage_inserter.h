// Inserters: each moves one field of the current row into one column of a results store.
//
// The row loop makes one inserter for each field of a cursor when a result set begins and calls all of them
// for every row, in column order. The type of a column is decided once, when the inserter is chosen, so the
// loop itself has no type switch.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/cursor.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/field.h"
#include "platform/qxdb/timestamp.h"
#include "platform/qxdb/types.h"
#include "storage/column_definition.h"

namespace qxdbsqlengine {

class DataStorage;
class Request;
class SQLRequest;

// Engine thread only; the caller of Insert holds the row lock of the result set. Nothing is owned: field,
// store and whatever else a constructor is given must outlive the inserter. Rows and columns are counted from
// 0.
//
// Insert adds exactly one cell. It throws what the field or the store throws; then no cell was added, and the
// columns behind it have none in this row either: they read as empty values.
class QXSENG2_API DataStorageInserter {
  public:
    DataStorageInserter(qxdb::Field* field, DataStorage* storage, int resultSet, int column);
    virtual ~DataStorageInserter();
    DataStorageInserter(const DataStorageInserter&) = delete;
    DataStorageInserter& operator=(const DataStorageInserter&) = delete;

    virtual void Insert() = 0;

  protected:
    void InsertNull();

    qxdb::Field* field;
    DataStorage* storage;
    int resultSet;
    int column;
};

// Text. The field pushes its text through the StringInsert side. Within one Insert() all pieces make one
// cell, as do none at all; a piece that comes from outside is a cell by itself.
class QXSENG2_API StringDataStorageInserter : public DataStorageInserter, public qxdb::StringInsert {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~StringDataStorageInserter() override;

    void Insert() override;
    void Insert(const std::string& text) override;

  protected:
    void InsertValue(const std::string& value);

  private:
    std::string cell;  // kept from row to row, so that usual rows allocate nothing
    bool gathering = false;
};

class QXSENG2_API ShortDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~ShortDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const short& value);
};

class QXSENG2_API IntDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~IntDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const int& value);
};

class QXSENG2_API LongDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~LongDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const long& value);
};

class QXSENG2_API Int64DataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~Int64DataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const __int64& value);
};

class QXSENG2_API FloatDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~FloatDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const float& value);
};

class QXSENG2_API DoubleDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~DoubleDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const double& value);
};

class QXSENG2_API DecimalDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~DecimalDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const qxdb::Decimal& value);
};

class QXSENG2_API BinaryDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~BinaryDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const qxdb::DynBuffer& value);
};

class QXSENG2_API TimestampDataStorageInserter : public DataStorageInserter {
  public:
    using DataStorageInserter::DataStorageInserter;
    ~TimestampDataStorageInserter() override;
    void Insert() override;

  protected:
    void InsertValue(const qxdb::Timestamp& value);
};

// A large object: stores the beginning of its value as a preview text, and the bytes that find the object
// again when the request works with locators. Never reads beyond the request's limit (its preview size with
// locators, else its stream size; in bytes, or in characters where the server delivers two bytes for each).
//
// Throws CancelledException when the request is cancelled while the object is read.
class QXSENG2_API LobDataStorageInserter : public DataStorageInserter {
  public:
    // `fieldIndex`: position of the field in the cursor, from 0. `tableName`: where the object lives, may be
    // empty. `locatorLength`: the bytes of locator data that a row takes, 0 when not known in advance.
    LobDataStorageInserter(qxdb::Field* field, DataStorage* storage, int resultSet, int column,
                           qxdb::Cursor& cursor, int fieldIndex, const std::string& tableName,
                           unsigned int locatorLength, SQLRequest& request);
    ~LobDataStorageInserter() override;
    void Insert() override;

  private:
    // How the bytes of this column are to be read; the same for all its rows.
    struct ColumnTraits {
        bool isBinary = false;
        bool isWide = false;
        bool isDoubleWidth = false;
        bool isSybase = false;
        bool blanksForZeros = false;
        bool triesUtf8 = false;
    };
    struct Preview;

    const ColumnTraits& GetTraits();
    ColumnTraits DescribeColumn();
    void ReadPreview(Preview& preview);
    void AddBlock(Preview& preview, unsigned char* block, unsigned int count, bool isFirst) const;
    void FetchLocatorData();

    qxdb::Cursor* cursor;
    int fieldIndex;
    std::string tableName;
    SQLRequest* request;
    ColumnTraits traits;
    bool traitsKnown = false;
    qxdb::DynBuffer locatorData;  // kept from row to row
};

// An inserter with conversions supplied by the request: the value handler is asked for the cell of a field
// that is not null, the null handler for one that is; a handler's result may be null or a value in both
// cases. Where a handler is null the base class does what it always does.
template <class Value, class Base>
class HandlerDataStorageInserter;

template <class T, class Base>
class HandlerDataStorageInserter<TypeWithNull<T>, Base> : public Base {
  public:
    using ValueHandler = TypeWithNull<T> (Request::*)(qxdb::Field&, qxdb::Fields&);
    using NullHandler = TypeWithNull<T> (Request::*)(qxdb::Fields&);

    // `row`: all fields, given to the handlers, which are called on `owner`.
    HandlerDataStorageInserter(qxdb::Field* source, DataStorage* target, int resultSetId, int columnIndex,
                               qxdb::Fields& row, Request* owner, ValueHandler onValue, NullHandler onNull)
        : Base(source, target, resultSetId, columnIndex),
          fields(&row),
          request(owner),
          valueHandler(onValue),
          nullHandler(onNull) {}

    void Insert() override {
        if (this->field->IsNull()) {
            if (nullHandler == nullptr)
                Base::Insert();
            else
                Store((request->*nullHandler)(*fields));
        } else if (valueHandler == nullptr) {
            Base::Insert();
        } else {
            Store((request->*valueHandler)(*this->field, *fields));
        }
    }
    using Base::Insert;

  private:
    void Store(const TypeWithNull<T>& value) {
        if (value.IsNull())
            this->InsertNull();
        else
            this->InsertValue(value.GetValue());
    }

    qxdb::Fields* fields;
    Request* request;
    ValueHandler valueHandler;
    NullHandler nullHandler;
};

}  // namespace qxdbsqlengine
