// The binding of a cursor's columns or of a statement's parameters.
#pragma once

#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/int64.h"
#include "platform/qxdb/buffer.h"
#include "platform/qxdb/decimal.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/timestamp.h"
#include "platform/qxdb/types.h"

namespace qxdb {

class BindValueImpl;

// Refers to a std::string that the caller keeps until the statement has run. The two numbers are capacity
// (-1: the string's own) and reserve.
template <class Char>
class BasicFixedString {
  public:
    BasicFixedString(std::basic_string<Char>& buffer, int maximum, int reserved)
        : text(&buffer), capacity(maximum), reserve(reserved) {}
    std::basic_string<Char>& Text() { return *text; }
    int Capacity() const { return capacity; }

  private:
    std::basic_string<Char>* text;
    int capacity;
    int reserve;
};

// Refers to a Decimal that the caller keeps until the statement has run; precision and scale -1: its own.
class QXSENG2_API FixedDecimal {
  public:
    FixedDecimal(Decimal& decimal, int digits, int fraction)
        : value(&decimal), precision(digits), scale(fraction) {}
    Decimal& Value() { return *value; }
    int Precision() const { return precision; }
    int Scale() const { return scale; }

  private:
    Decimal* value;
    int precision;
    int scale;
};

// Handle; a copy is another handle on the same binding. Used on the thread of the statement.
class QXSENG2_API BindValue {
  public:
    BindValue();
    explicit BindValue(std::shared_ptr<BindValueImpl> impl);
    ~BindValue();
    BindValue(const BindValue&);
    BindValue& operator=(const BindValue&);

    Schema GetSchema();
    // Character columns of this instance are Unicode; to be told before Fields are made.
    void setIsUnicodeInstance(bool isUnicode);
    // The next free ordinal for positional binding, from 1.
    unsigned int GetNextBind();
    // Binds caller's storage at an ordinal (from 1). The value must stay valid until the statement has run;
    // `indicator` may be null. Throws Errors for a type that the driver can't bind.
    void Bind(DataType::Direction direction, unsigned int ordinal, short& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, int& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, long& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, __int64& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, float& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, double& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, BufferBase& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, Timestamp& value, long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, BasicFixedString<char>& value,
              long* indicator);
    void Bind(DataType::Direction direction, unsigned int ordinal, FixedDecimal& value, long* indicator);

    BindValueImpl& GetImpl();

  private:
    std::shared_ptr<BindValueImpl> impl;
};

}  // namespace qxdb
