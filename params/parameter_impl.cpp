#include "params/parameter_impl.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <limits>
#include <locale>
#include <type_traits>
#include <typeinfo>

#include "params/number_conversion.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"

namespace qxdbsqlengine {

namespace {

constexpr int kWrongType = 116;
constexpr int kTypeNotSupported = 122;
constexpr int kNullValue = 131;
constexpr int kDefaultValue = 132;

class BadTypeException : public qxutils::QXException {
  public:
    BadTypeException() : QXException(ResourceLoader::LoadString(kWrongType)) {}
};

class NullValueException : public qxutils::QXException {
  public:
    NullValueException() : QXException(ResourceLoader::LoadString(kNullValue)) {}
};

class DefaultValueException : public qxutils::QXException {
  public:
    DefaultValueException() : QXException(ResourceLoader::LoadString(kDefaultValue)) {}
};

class BadLexicalCast : public std::bad_cast {
  public:
    const char* what() const noexcept override { return "Unable to perform lexical cast."; }
};

// -1 and -2, in whatever width a driver has written them.
bool IsSet(long indicator) {
    return static_cast<unsigned int>(indicator) > 0xFFFFFFFDU;
}

bool AllAre(const std::string& text, std::size_t from, const char* characters) {
    return text.find_first_not_of(characters, from) == std::string::npos;
}

bool HasHexPrefix(const std::string& text) {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

}  // namespace

void ThrowBadType() {
    throw BadTypeException();
}

void ThrowNullValue() {
    throw NullValueException();
}

void ThrowDefaultValue() {
    throw DefaultValueException();
}

void ThrowUnsupportedType() {
    throw qxutils::QXException(ResourceLoader::LoadString(kTypeNotSupported));
}

template <class T>
T LexicalCast(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T value{};
    if (!(stream >> value))
        throw BadLexicalCast();
    if (!stream.eof())
        stream >> std::ws;
    if (!stream.eof())
        throw BadLexicalCast();
    return value;
}

template <class T>
T LeadingNumber(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T value{};
    stream >> value;
    return value;
}

template short LeadingNumber<short>(const std::string&);
template int LeadingNumber<int>(const std::string&);
template long LeadingNumber<long>(const std::string&);
template __int64 LeadingNumber<__int64>(const std::string&);
template float LeadingNumber<float>(const std::string&);
template double LeadingNumber<double>(const std::string&);

ParameterBaseImpl::ParameterBaseImpl(BindType newType, Direction newDirection)
    : type(newType), direction(newDirection) {}
ParameterBaseImpl::~ParameterBaseImpl() = default;

const std::string& ParameterBaseImpl::GetName() const {
    return name;
}

void ParameterBaseImpl::SetName(const std::string& newName) {
    name = newName;
}

const std::string& ParameterBaseImpl::GetDefaultValue() const {
    return defaultValue;
}

void ParameterBaseImpl::SetDefaultValue(const std::string& text) {
    defaultValue = text;
}

Parameter::BindType ParameterBaseImpl::GetType() const {
    return type;
}

void ParameterBaseImpl::SetType(BindType newType) {
    type = newType;
}

void ParameterBaseImpl::SetDirection(Direction newDirection) {
    direction = newDirection;
}

Parameter::Direction ParameterBaseImpl::GetDirection() const {
    return direction;
}

bool ParameterBaseImpl::IsNull() const {
    return IsSet(nullIndicator);
}

void ParameterBaseImpl::SetNull() {
    nullIndicator = -1;
    defaultIndicator = 0;
}

bool ParameterBaseImpl::IsDefault() const {
    return IsSet(defaultIndicator);
}

void ParameterBaseImpl::SetDefault() {
    nullIndicator = 0;
    defaultIndicator = -1;
}

void ParameterBaseImpl::MarkAsValue() {
    nullIndicator = 0;
    defaultIndicator = 0;
}

void ParameterBaseImpl::CheckValue() const {
    if (IsNull())
        ThrowNullValue();
    if (IsDefault())
        ThrowDefaultValue();
}

template <class T>
T ParameterBaseImpl::Read() const {
    T value{};
    Get(value);
    return value;
}

template <class T>
T ParameterBaseImpl::AsNumber() const {
    switch (GetType()) {
        case qxdb::Column::BindString:
        case qxdb::Column::BindOtherString:
            return LexicalCast<T>(Read<std::string>());
        case qxdb::Column::BindInt:
            return ConvertNumber<T>(Read<int>());
        case qxdb::Column::BindLong:
            return ConvertNumber<T>(Read<long>());
        case qxdb::Column::BindShort:
            return ConvertNumber<T>(Read<short>());
        case qxdb::Column::BindFloat:
            return ConvertNumber<T>(Read<float>());
        case qxdb::Column::BindDouble:
            return ConvertNumber<T>(Read<double>());
        case qxdb::Column::BindDecimal:
            return ConvertDecimal<T>(Read<qxdb::Decimal>());
        case qxdb::Column::BindInt64:
            return ConvertNumber<T>(Read<__int64>());
        default:
            ThrowBadType();
    }
}

std::string ParameterBaseImpl::AsString() const {
    ThrowBadType();
}

short ParameterBaseImpl::AsShort() const {
    return AsNumber<short>();
}

int ParameterBaseImpl::AsInt() const {
    return AsNumber<int>();
}

long ParameterBaseImpl::AsLong() const {
    return AsNumber<long>();
}

float ParameterBaseImpl::AsFloat() const {
    return AsNumber<float>();
}

double ParameterBaseImpl::AsDouble() const {
    return AsNumber<double>();
}

__int64 ParameterBaseImpl::AsBigInt() const {
    return AsNumber<__int64>();
}

qxdb::Decimal ParameterBaseImpl::AsDecimal() const {
    switch (GetType()) {
        case qxdb::Column::BindString:
        case qxdb::Column::BindOtherString:
            return qxdb::Decimal(Read<std::string>());
        case qxdb::Column::BindInt:
            return qxdb::Decimal(Read<int>(), 0);
        case qxdb::Column::BindLong:
            return qxdb::Decimal(Read<long>(), 0);
        case qxdb::Column::BindShort:
            return qxdb::Decimal(Read<short>(), 0);
        case qxdb::Column::BindFloat:
            return qxdb::Decimal(static_cast<double>(Read<float>()));
        case qxdb::Column::BindDouble:
            return qxdb::Decimal(Read<double>());
        case qxdb::Column::BindDecimal:
            return Read<qxdb::Decimal>();
        case qxdb::Column::BindInt64:
            return qxdb::Decimal(Read<__int64>(), 0);
        default:
            ThrowBadType();
    }
}

qxdb::Timestamp ParameterBaseImpl::AsTimestamp() const {
    switch (GetType()) {
        case qxdb::Column::BindString:
        case qxdb::Column::BindOtherString: {
            const auto text = Read<std::string>();
            return dateTimeFormat.empty() ? qxdb::Timestamp(text) : qxdb::Timestamp(text, dateTimeFormat);
        }
        case qxdb::Column::BindTimestamp:
            return Read<qxdb::Timestamp>();
        default:
            ThrowBadType();
    }
}

const qxdb::DynBuffer& ParameterBaseImpl::AsBinary() const {
    ThrowBadType();
}

qxdb::DynBuffer& ParameterBaseImpl::AsBinary() {
    ThrowBadType();
}

void ParameterBaseImpl::SetBinary(const qxdb::DynBuffer& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetBigInt(const __int64& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetTimestamp(const qxdb::Timestamp& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetDecimal(const qxdb::Decimal& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetDouble(const double& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetFloat(const float& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetLong(const long& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetInt(const int& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetShort(const short& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetString(const std::string& value) {
    ThrowBadType();
}

void ParameterBaseImpl::SetDateTimeFormat(const std::string& format) {
    dateTimeFormat = format;
}

const std::string& ParameterBaseImpl::GetDateTimeFormat() const {
    return dateTimeFormat;
}

void* ParameterBaseImpl::GetItemPtr() {
    return nullptr;
}

int ParameterBaseImpl::GetScale() const {
    return 0;
}

unsigned int ParameterBaseImpl::GetSize() const {
    return 0;
}

void ParameterBaseImpl::SetSize(unsigned int size) {}

unsigned int ParameterBaseImpl::GetLength() const {
    return 0;
}

void ParameterBaseImpl::SetLength(unsigned int length) {}

void ParameterBaseImpl::Get(qxdb::DynBuffer& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(__int64& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(qxdb::Timestamp& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(qxdb::Decimal& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(double& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(float& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(long& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(int& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(short& value) const {
    CheckValue();
    ThrowBadType();
}

void ParameterBaseImpl::Get(std::string& value) const {
    CheckValue();
    ThrowBadType();
}

ParameterImpl<qxdb::DynBuffer>::ParameterImpl(BindType newType, Direction newDirection, unsigned int size,
                                              unsigned int length)
    : ParameterBaseImpl(newType, newDirection) {
    if (size != 0)
        item = qxdb::DynBuffer(size, length);
}

std::string ParameterImpl<qxdb::DynBuffer>::AsString() const {
    std::string text;
    if (item.GetSize() != 0)
        qxdb::BufferBase::AppendHex(text, item.GetData(), item.GetLength());
    return text;
}

void ParameterImpl<qxdb::DynBuffer>::SetBinary(const qxdb::DynBuffer& value) {
    item = value;
    MarkAsValue();
}

void ParameterImpl<qxdb::DynBuffer>::SetString(const std::string& value) {
    if (item.GetSize() == 0)
        return;  // no room: the value, and whether it is null or default, stay as they are
    if (value.empty()) {
        item.SetLength(0);
    } else if (AllAre(value, 0, "0123456789")) {
        const std::string digits =
            qxdb::BigInteger(value, 10).AsString(16, qxdb::BigInteger::NumberTerminated);
        qxdb::BufferBase::ParseHex(digits, item);
    } else if (HasHexPrefix(value) && AllAre(value, 2, "0123456789ABCDEFabcdef")) {
        qxdb::BufferBase::ParseHex(std::string_view(value).substr(2), item);
    } else {
        const std::size_t count = std::min<std::size_t>(value.size(), item.GetSize());
        item.Assign(reinterpret_cast<const unsigned char*>(value.data()), static_cast<unsigned int>(count));
    }
    MarkAsValue();
}

void ParameterImpl<qxdb::DynBuffer>::Get(qxdb::DynBuffer& value) const {
    CheckValue();
    value = item;
}

void ParameterImpl<qxdb::Timestamp>::SetTimestamp(const qxdb::Timestamp& value) {
    item = value;
    if (!dateTimeFormat.empty())
        item.SetFormat(dateTimeFormat);
    MarkAsValue();
}

void ParameterImpl<qxdb::Timestamp>::SetDateTimeFormat(const std::string& format) {
    dateTimeFormat = format;
    if (!format.empty())
        item.SetFormat(format);
}

void ParameterImpl<qxdb::Timestamp>::Get(qxdb::Timestamp& value) const {
    CheckValue();
    value = item;
}

}  // namespace qxdbsqlengine
