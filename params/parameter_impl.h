// What lies behind a Parameter: one class for each native type. Only for the sources of this folder.
#pragma once

#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "params/parameter.h"

namespace qxdbsqlengine {

// "Wrong Type Exception", "Get null value exception", "Get default value exception" and "Type not supported
// exception", each a class of its own that callers catch by its base QXException.
[[noreturn]] void ThrowBadType();
[[noreturn]] void ThrowNullValue();
[[noreturn]] void ThrowDefaultValue();
[[noreturn]] void ThrowUnsupportedType();

// A number out of a text, up to the last character; blanks around it are allowed. Throws std::bad_cast
// ("Unable to perform lexical cast.") for anything else. For short, int, long, __int64, float and double.
template <class T>
T LexicalCast(const std::string& text);

// The number at the start of a text: 0 when there is none, the nearest limit beyond the range.
template <class T>
T LeadingNumber(const std::string& text);

// As a stream writes it that knows no country's habits.
template <class T>
std::string StreamText(const T& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

// The state that all types share and the conversions that go by type. Everything that belongs to one type
// refuses here with "Wrong Type Exception"; the class of that type overrides its own slice.
class ParameterBaseImpl {
  public:
    using BindType = Parameter::BindType;
    using Direction = Parameter::Direction;

    ParameterBaseImpl(BindType type, Direction direction);
    ParameterBaseImpl(const ParameterBaseImpl&) = delete;
    ParameterBaseImpl& operator=(const ParameterBaseImpl&) = delete;

    virtual ~ParameterBaseImpl();
    virtual const std::string& GetName() const;
    virtual void SetName(const std::string& newName);
    virtual const std::string& GetDefaultValue() const;
    virtual void SetDefaultValue(const std::string& text);
    virtual BindType GetType() const;
    virtual void SetType(BindType newType);
    virtual void SetDirection(Direction newDirection);
    virtual Direction GetDirection() const;
    virtual bool IsNull() const;
    virtual void SetNull();
    virtual bool IsDefault() const;
    virtual void SetDefault();
    virtual std::string AsString() const;
    virtual short AsShort() const;
    virtual int AsInt() const;
    virtual long AsLong() const;
    virtual float AsFloat() const;
    virtual double AsDouble() const;
    virtual qxdb::Decimal AsDecimal() const;
    virtual qxdb::Timestamp AsTimestamp() const;
    virtual __int64 AsBigInt() const;
    virtual const qxdb::DynBuffer& AsBinary() const;
    virtual qxdb::DynBuffer& AsBinary();
    virtual void SetBinary(const qxdb::DynBuffer& value);
    virtual void SetBigInt(const __int64& value);
    virtual void SetTimestamp(const qxdb::Timestamp& value);
    virtual void SetDecimal(const qxdb::Decimal& value);
    virtual void SetDouble(const double& value);
    virtual void SetFloat(const float& value);
    virtual void SetLong(const long& value);
    virtual void SetInt(const int& value);
    virtual void SetShort(const short& value);
    virtual void SetString(const std::string& value);
    virtual void SetDateTimeFormat(const std::string& format);
    virtual const std::string& GetDateTimeFormat() const;
    virtual void* GetItemPtr();
    virtual int GetScale() const;
    virtual unsigned int GetSize() const;
    virtual void SetSize(unsigned int size);
    virtual unsigned int GetLength() const;
    virtual void SetLength(unsigned int length);
    // Each throws for a null and then for a default value before it looks at the type.
    virtual void Get(qxdb::DynBuffer& value) const;
    virtual void Get(__int64& value) const;
    virtual void Get(qxdb::Timestamp& value) const;
    virtual void Get(qxdb::Decimal& value) const;
    virtual void Get(double& value) const;
    virtual void Get(float& value) const;
    virtual void Get(long& value) const;
    virtual void Get(int& value) const;
    virtual void Get(short& value) const;
    virtual void Get(std::string& value) const;

  protected:
    void CheckValue() const;
    void MarkAsValue();

    std::string name;
    std::string defaultValue;
    BindType type;
    Direction direction;
    long nullIndicator = 0;  // as drivers use them: -1 is null, 0 a value
    long defaultIndicator = 0;
    std::string dateTimeFormat;

  private:
    template <class T>
    T Read() const;
    template <class T>
    T AsNumber() const;
};

// The value of one type.
template <class T>
class ParameterImpl : public ParameterBaseImpl {
  public:
    using ParameterBaseImpl::Get;
    using ParameterBaseImpl::ParameterBaseImpl;

    std::string AsString() const override;
    void Get(T& value) const override {
        CheckValue();
        value = item;
    }
    void* GetItemPtr() override { return &item; }
    int GetScale() const override {
        if constexpr (std::is_same_v<T, qxdb::Decimal>)
            return IsNull() ? 0 : item.GetScale();
        else
            return 0;
    }

    void SetBigInt(const __int64& value) override { Store(value); }
    void SetDecimal(const qxdb::Decimal& value) override { Store(value); }
    void SetDouble(const double& value) override { Store(value); }
    void SetFloat(const float& value) override { Store(value); }
    void SetLong(const long& value) override { Store(value); }
    void SetInt(const int& value) override { Store(value); }
    void SetShort(const short& value) override { Store(value); }
    void SetString(const std::string& value) override { Store(value); }

  private:
    // A setter stores its own type and refuses every other; the conversions have been made before.
    void Store(const T& value) {
        item = value;
        MarkAsValue();
    }
    template <class Other>
    void Store(const Other&) {
        ThrowBadType();
    }

    T item{};
};

template <class T>
std::string ParameterImpl<T>::AsString() const {
    return StreamText(item);
}

template <>
inline std::string ParameterImpl<std::string>::AsString() const {
    return item;
}

// Bytes. The size decides whether texts have room here.
template <>
class ParameterImpl<qxdb::DynBuffer> : public ParameterBaseImpl {
  public:
    using ParameterBaseImpl::Get;

    ParameterImpl(BindType type, Direction direction, unsigned int size, unsigned int length);

    std::string AsString() const override;
    const qxdb::DynBuffer& AsBinary() const override { return item; }
    qxdb::DynBuffer& AsBinary() override { return item; }
    void SetBinary(const qxdb::DynBuffer& value) override;
    void SetString(const std::string& value) override;
    void* GetItemPtr() override { return &item; }
    unsigned int GetSize() const override { return item.GetSize(); }
    void SetSize(unsigned int size) override { item.SetSize(size); }
    unsigned int GetLength() const override { return item.GetLength(); }
    void SetLength(unsigned int length) override { item.SetLength(length); }
    void Get(qxdb::DynBuffer& value) const override;

  private:
    qxdb::DynBuffer item;
};

// A timestamp. A date-time format of the parameter governs its text whatever format a stored value brings
// along.
template <>
class ParameterImpl<qxdb::Timestamp> : public ParameterBaseImpl {
  public:
    using ParameterBaseImpl::Get;
    using ParameterBaseImpl::ParameterBaseImpl;

    std::string AsString() const override { return item.AsString(); }
    void SetTimestamp(const qxdb::Timestamp& value) override;
    void SetDateTimeFormat(const std::string& format) override;
    void* GetItemPtr() override { return &item; }
    void Get(qxdb::Timestamp& value) const override;

  private:
    qxdb::Timestamp item;
};

}  // namespace qxdbsqlengine
