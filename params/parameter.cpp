#include "params/parameter.h"

#include <utility>

#include "params/number_conversion.h"
#include "params/parameter_impl.h"

namespace qxdbsqlengine {

using qxdb::Column;
using qxdb::Decimal;
using qxdb::DynBuffer;
using qxdb::Timestamp;

Parameter::Parameter(std::string name, BindType type, Direction direction, unsigned int size,
                     unsigned int length) {
    CreateImpl(type, direction, size, length);
    impl->SetName(std::move(name));
}

Parameter::Parameter(BindType type, Direction direction, unsigned int size, unsigned int length) {
    CreateImpl(type, direction, size, length);
}

Parameter::Parameter(const Parameter& other) {
    CreateImpl(other.GetType(), other.GetDirection(), other.GetSize(), other.GetLength());
    *this = other;
    impl->SetName(other.GetName());
    impl->SetDefaultValue(other.GetDefaultValue());
    SetDateTimeFormat(other.GetDateTimeFormat());
}

Parameter::~Parameter() = default;

Parameter& Parameter::operator=(const Parameter& other) {
    if (this == &other)
        return *this;
    if (other.IsNull() || other.IsDefault()) {
        if (other.IsNull())
            SetNull();
        else
            SetDefault();
        if (other.GetType() == Column::BindTimestamp)
            SetDateTimeFormat(other.GetDateTimeFormat());
        return *this;
    }
    switch (other.GetType()) {
        case Column::BindInt:
            Set(other.AsInt());
            break;
        case Column::BindLong:
            Set(other.AsLong());
            break;
        case Column::BindShort:
            Set(other.AsShort());
            break;
        case Column::BindFloat:
            Set(other.AsFloat());
            break;
        case Column::BindDouble:
            Set(other.AsDouble());
            break;
        case Column::BindDecimal:
            Set(other.AsDecimal());
            break;
        case Column::BindInt64:
            Set(other.AsBigInt());
            break;
        case Column::BindBinary:
            Set(other.AsBinary());
            break;
        case Column::BindTimestamp:
            Set(other.AsTimestamp());
            break;
        default:
            Set(other.AsString());
            break;
    }
    return *this;
}

void Parameter::CreateImpl(BindType type, Direction direction, unsigned int size, unsigned int length) {
    switch (type) {
        case Column::BindUnknown:
        case Column::BindString:
        case Column::BindLob:
        case Column::BindCursor:
        case Column::BindOtherCursor:
            impl = std::make_unique<ParameterImpl<std::string>>(Column::BindString, direction);
            break;
        case Column::BindOtherString:
            impl = std::make_unique<ParameterImpl<std::string>>(type, direction);
            break;
        case Column::BindInt:
            impl = std::make_unique<ParameterImpl<int>>(type, direction);
            break;
        case Column::BindLong:
            impl = std::make_unique<ParameterImpl<long>>(type, direction);
            break;
        case Column::BindShort:
            impl = std::make_unique<ParameterImpl<short>>(type, direction);
            break;
        case Column::BindFloat:
            impl = std::make_unique<ParameterImpl<float>>(type, direction);
            break;
        case Column::BindDouble:
            impl = std::make_unique<ParameterImpl<double>>(type, direction);
            break;
        case Column::BindDecimal:
            impl = std::make_unique<ParameterImpl<Decimal>>(type, direction);
            break;
        case Column::BindInt64:
            impl = std::make_unique<ParameterImpl<__int64>>(type, direction);
            break;
        case Column::BindBinary:
            impl = std::make_unique<ParameterImpl<DynBuffer>>(type, direction, size, length);
            break;
        case Column::BindTimestamp:
            impl = std::make_unique<ParameterImpl<Timestamp>>(type, direction);
            break;
        default:
            ThrowUnsupportedType();
    }
}

const std::string& Parameter::GetName() const {
    return impl->GetName();
}

void Parameter::SetName(const std::string& name) {
    impl->SetName(name);
}

const std::string& Parameter::GetDefaultValue() const {
    return impl->GetDefaultValue();
}

void Parameter::SetDefaultValue(const std::string& text) {
    impl->SetDefaultValue(text);
}

Parameter::BindType Parameter::GetType() const {
    return impl->GetType();
}

Parameter::Direction Parameter::GetDirection() const {
    return impl->GetDirection();
}

void Parameter::SetDirection(Direction direction) {
    impl->SetDirection(direction);
}

bool Parameter::IsNull() const {
    return impl->IsNull();
}

void Parameter::SetNull() {
    impl->SetNull();
}

bool Parameter::IsDefault() const {
    return impl->IsDefault();
}

void Parameter::SetDefault() {
    impl->SetDefault();
}

std::string Parameter::AsString() const {
    return impl->AsString();
}

short Parameter::AsShort() const {
    return impl->AsShort();
}

int Parameter::AsInt() const {
    return impl->AsInt();
}

long Parameter::AsLong() const {
    return impl->AsLong();
}

float Parameter::AsFloat() const {
    return impl->AsFloat();
}

double Parameter::AsDouble() const {
    return impl->AsDouble();
}

Decimal Parameter::AsDecimal() const {
    return impl->AsDecimal();
}

Timestamp Parameter::AsTimestamp() const {
    return impl->AsTimestamp();
}

__int64 Parameter::AsBigInt() const {
    return impl->AsBigInt();
}

const DynBuffer& Parameter::AsBinary() const {
    return static_cast<const ParameterBaseImpl&>(*impl).AsBinary();
}

DynBuffer& Parameter::AsBinary() {
    return impl->AsBinary();
}

void Parameter::Set(const std::string& value) {
    switch (impl->GetType()) {
        case Column::BindString:
        case Column::BindOtherString:
        case Column::BindBinary:
            return impl->SetString(value);
        case Column::BindInt:
            return impl->SetInt(LeadingNumber<int>(value));
        case Column::BindLong:
            return impl->SetLong(LeadingNumber<long>(value));
        case Column::BindShort:
            return impl->SetShort(LeadingNumber<short>(value));
        case Column::BindFloat:
            return impl->SetFloat(LeadingNumber<float>(value));
        case Column::BindDouble:
            return impl->SetDouble(LeadingNumber<double>(value));
        case Column::BindDecimal:
            return impl->SetDecimal(Decimal(value));
        case Column::BindInt64:
            return impl->SetBigInt(LeadingNumber<__int64>(value));
        case Column::BindTimestamp:
            return impl->SetTimestamp(Timestamp(value));
        default:
            ThrowBadType();
    }
}

template <class T>
void Parameter::SetNumber(T value) {
    switch (impl->GetType()) {
        case Column::BindString:
        case Column::BindOtherString:
            return impl->SetString(StreamText(value));
        case Column::BindInt:
            return impl->SetInt(ConvertNumber<int>(value));
        case Column::BindLong:
            return impl->SetLong(ConvertNumber<long>(value));
        case Column::BindShort:
            return impl->SetShort(ConvertNumber<short>(value));
        case Column::BindFloat:
            return impl->SetFloat(ConvertNumber<float>(value));
        case Column::BindDouble:
            return impl->SetDouble(ConvertNumber<double>(value));
        case Column::BindInt64:
            return impl->SetBigInt(ConvertNumber<__int64>(value));
        default:
            ThrowBadType();
    }
}

template <class T>
void Parameter::SetWhole(T value) {
    switch (impl->GetType()) {
        case Column::BindBinary:
            return impl->SetString(StreamText(value));
        case Column::BindDecimal:
            return impl->SetDecimal(Decimal(value, 0));
        default:
            return SetNumber(value);
    }
}

void Parameter::Set(const short& value) {
    SetWhole(value);
}

void Parameter::Set(const int& value) {
    SetWhole(value);
}

void Parameter::Set(const long& value) {
    SetWhole(value);
}

void Parameter::Set(const __int64& value) {
    SetWhole(value);
}

void Parameter::Set(const float& value) {
    if (impl->GetType() == Column::BindDecimal)
        impl->SetDecimal(Decimal(static_cast<double>(value)));
    else
        SetNumber(value);
}

void Parameter::Set(const double& value) {
    if (impl->GetType() == Column::BindDecimal)
        impl->SetDecimal(Decimal(value));
    else
        SetNumber(value);
}

void Parameter::Set(const DynBuffer& value) {
    if (impl->GetType() != Column::BindBinary)
        ThrowBadType();
    impl->SetBinary(value);
}

void Parameter::Set(const Decimal& value) {
    switch (impl->GetType()) {
        case Column::BindString:
        case Column::BindOtherString:
            return impl->SetString(value.AsString(false, -1));
        case Column::BindInt:
            return impl->SetInt(ConvertDecimal<int>(value));
        case Column::BindLong:
            return impl->SetLong(ConvertDecimal<long>(value));
        case Column::BindShort:
            return impl->SetShort(ConvertDecimal<short>(value));
        case Column::BindFloat:
            return impl->SetFloat(ConvertDecimal<float>(value));
        case Column::BindDouble:
            return impl->SetDouble(ConvertDecimal<double>(value));
        case Column::BindDecimal:
            return impl->SetDecimal(value);
        case Column::BindInt64:
            return impl->SetBigInt(ConvertDecimal<__int64>(value));
        default:
            ThrowBadType();
    }
}

void Parameter::Set(const Timestamp& value) {
    switch (impl->GetType()) {
        case Column::BindString:
        case Column::BindOtherString:
            return impl->SetString(value.AsString());
        case Column::BindTimestamp:
            return impl->SetTimestamp(value);
        default:
            ThrowBadType();
    }
}

void Parameter::SetDateTimeFormat(const std::string& format) {
    impl->SetDateTimeFormat(format);
}

const std::string& Parameter::GetDateTimeFormat() const {
    return impl->GetDateTimeFormat();
}

void* Parameter::GetItemPtr() {
    return impl->GetItemPtr();
}

int Parameter::GetScale() const {
    return impl->GetScale();
}

unsigned int Parameter::GetSize() const {
    return impl->GetSize();
}

void Parameter::SetSize(unsigned int size) {
    impl->SetSize(size);
}

unsigned int Parameter::GetLength() const {
    return impl->GetLength();
}

void Parameter::SetLength(unsigned int length) {
    impl->SetLength(length);
}

}  // namespace qxdbsqlengine
