// Values of the current row, or of the parameters of a prepared statement.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/raw_stream.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/timestamp.h"
#include "platform/qxdb/types.h"

namespace qxdb {

class BindValue;
class Cursor;
class Statement;

// A sink for text. A field pushes its text here without handing out a string of its own.
class QXSENG2_API StringInsert {
  public:
    StringInsert();
    virtual ~StringInsert();
    // `text` is valid only during the call.
    virtual void Insert(const std::string& text) = 0;
};

// One value position. A driver derives its own class for each kind of value; here every read or write that a
// kind does not have throws Errors that name the field and the operation. Used on the thread of the
// statement. A value that does not fit the declared type of its column is never changed: the read throws
// Errors with the result set, row, column and value.
class QXSENG2_API Field {
  public:
    virtual ~Field();

    virtual std::string GetName() = 0;
    virtual Column::BindType GetType() = 0;
    virtual DataType::Direction GetDirection();
    virtual bool IsNull() = 0;
    virtual void SetNull();
    virtual RawStream* GetStream();
    virtual DynBuffer& GetBuffer();
    virtual Cursor& GetCursor();
    virtual void GetStringInto(StringInsert* sink);
    virtual std::string AsString();
    virtual short AsShort();
    virtual int AsInt();
    virtual long AsLong();
    virtual float AsFloat();
    virtual double AsDouble();
    virtual Decimal AsDecimal();
    virtual Timestamp AsTimestamp();
    virtual __int64 AsBigInt();
    virtual void SetBigInt(__int64 value);
    virtual void SetTimestamp(const Timestamp& value);
    virtual void SetDecimal(const Decimal& value);
    virtual void SetDouble(double value);
    virtual void SetFloat(float value);
    virtual void SetLong(long value);
    virtual void SetInt(int value);
    virtual void SetShort(short value);
    virtual void SetString(const std::string& value);

  protected:
    // Throws the Errors of an operation that this kind of field does not have.
    [[noreturn]] void Refuse(const char* operation);
};

// The fields of one row (made on a cursor's binding) or of a statement's parameters (made on a statement's
// binding). Made once for a result; the values change with each fetch.
class QXSENG2_API Fields {
  public:
    // bindAsStrings: every field is read as text. exclusion: positions left out. The last two arguments are
    // of no meaning to this library.
    Fields(BindValue& binding, bool bindAsStrings, const ExclusionIndex& exclusion, bool, Statement*);
    ~Fields();
    Fields(const Fields&) = delete;
    Fields& operator=(const Fields&) = delete;

    unsigned int GetFieldCount() const;
    // 0-based; both throw std::out_of_range.
    Field& operator[](unsigned int index);
    Field& GetField(unsigned int index);

  private:
    std::vector<std::unique_ptr<Field>> fields;
};

}  // namespace qxdb
