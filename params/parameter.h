// One named, typed and directed value that travels between a caller and a statement.
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

namespace qxdbsqlengine {

class ParameterBaseImpl;

// A value of a fixed bind type, made once; every native type can be read from it and written into it as far
// as a conversion exists. The parameter owns the value, and a statement binds straight to it (GetItemPtr), so
// the parameter must outlive the execution. No locking: it belongs to one thread at a time.
//
// A parameter is null, default (the server's default is asked for), or holds a value; a new one holds the
// empty value of its type. Storing any value ends null and default.
//
// Failures are QXException: "Get null value exception" or "Get default value exception" when a null or
// default parameter is read, "Wrong Type Exception" for a conversion that does not exist. A text that is no
// number fails with std::bad_cast ("Unable to perform lexical cast.") when it is read as one; a decimal or
// timestamp text that is none fails with a QXException that names the text.
class QXSENG2_API Parameter {
  public:
    using BindType = qxdb::Column::BindType;
    using Direction = qxdb::DataType::Direction;

    // `size` and `length` in bytes, used by BindBinary only: a binary parameter made with size 0 has no room
    // for texts. BindUnknown, BindLob, BindCursor and BindOtherCursor are held as texts and report BindString
    // afterwards. Throws QXException, "Type not supported exception", for a type above BindOtherString.
    Parameter(std::string name, BindType type, Direction direction, unsigned int size, unsigned int length);
    Parameter(BindType type, Direction direction, unsigned int size, unsigned int length);
    // Name, default value, type, direction, date-time format and value; null and default stay what they are.
    Parameter(const Parameter& other);
    // Takes over the value only (null and default as such), converted into this parameter's type; name, type
    // and direction stay. A null or default timestamp hands over its date-time format too.
    Parameter& operator=(const Parameter& other);

    virtual ~Parameter();
    virtual const std::string& GetName() const;
    virtual void SetName(const std::string& name);
    virtual const std::string& GetDefaultValue() const;
    virtual void SetDefaultValue(const std::string& text);
    virtual BindType GetType() const;
    virtual Direction GetDirection() const;
    virtual void SetDirection(Direction direction);
    virtual bool IsNull() const;
    virtual void SetNull();
    virtual bool IsDefault() const;
    virtual void SetDefault();

    // The text of the value, also of a null or default one: the value that lies underneath is not looked at
    // through them. Floating numbers have six significant digits, as a plain stream writes them.
    virtual std::string AsString() const;
    // Texts must be numbers to the last character. Wider numbers are cut to the width, floating ones toward
    // zero (and to the nearest limit beyond the range, 0 for what is not a number).
    virtual short AsShort() const;
    virtual int AsInt() const;
    virtual long AsLong() const;
    virtual float AsFloat() const;
    virtual double AsDouble() const;
    virtual qxdb::Decimal AsDecimal() const;
    // From texts, in the date-time format when the parameter has one, and from timestamps only.
    virtual qxdb::Timestamp AsTimestamp() const;
    virtual __int64 AsBigInt() const;
    // Of binary parameters only. Null and default are not tested; the reference lives as long as the
    // parameter.
    virtual const qxdb::DynBuffer& AsBinary() const;
    virtual qxdb::DynBuffer& AsBinary();

    // Into a number the leading part of the text that is one is stored, 0 when there is none, the nearest
    // limit beyond the range. Into a binary parameter that has room: decimal digits as the bytes of the
    // number, 0x and hexadecimal digits as those bytes, any other text as its characters, cut at the size.
    virtual void Set(const std::string& value);
    virtual void Set(const short& value);
    virtual void Set(const int& value);
    virtual void Set(const long& value);
    virtual void Set(const float& value);
    virtual void Set(const double& value);
    virtual void Set(const qxdb::DynBuffer& value);
    virtual void Set(const qxdb::Decimal& value);
    virtual void Set(const qxdb::Timestamp& value);
    virtual void Set(const __int64& value);

    // The format in which a text is read as a timestamp, and in which a timestamp parameter writes itself.
    // Empty for the default format.
    virtual void SetDateTimeFormat(const std::string& format);
    virtual const std::string& GetDateTimeFormat() const;
    // Address of the value itself: std::string, int, long, short, float, double, Decimal, __int64, DynBuffer
    // or Timestamp, by type.
    virtual void* GetItemPtr();
    // Of a decimal that is not null its digits behind the point, otherwise 0.
    virtual int GetScale() const;
    // Of binary parameters; 0 for all others, where the setters do nothing. In bytes.
    virtual unsigned int GetSize() const;
    virtual void SetSize(unsigned int size);
    virtual unsigned int GetLength() const;
    virtual void SetLength(unsigned int length);

  protected:
    // Makes the value of a type; see the constructor.
    void CreateImpl(BindType type, Direction direction, unsigned int size, unsigned int length);

  private:
    template <class T>
    void SetWhole(T value);
    template <class T>
    void SetNumber(T value);

    std::unique_ptr<ParameterBaseImpl> impl;
};

}  // namespace qxdbsqlengine
