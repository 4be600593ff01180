#include "platform/qxdb/field.h"

#include <stdexcept>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

StringInsert::StringInsert() = default;
StringInsert::~StringInsert() = default;

Field::~Field() = default;

void Field::Refuse(const char* operation) {
    ThrowText("Field \"" + GetName() + "\" has no " + operation);
}

DataType::Direction Field::GetDirection() {
    return DataType::DirectionIn;
}
void Field::SetNull() {
    Refuse("SetNull");
}
RawStream* Field::GetStream() {
    Refuse("GetStream");
}
DynBuffer& Field::GetBuffer() {
    Refuse("GetBuffer");
}
Cursor& Field::GetCursor() {
    Refuse("GetCursor");
}

void Field::GetStringInto(StringInsert* sink) {
    sink->Insert(AsString());
}

std::string Field::AsString() {
    Refuse("AsString");
}
short Field::AsShort() {
    Refuse("AsShort");
}
int Field::AsInt() {
    Refuse("AsInt");
}
long Field::AsLong() {
    Refuse("AsLong");
}
float Field::AsFloat() {
    Refuse("AsFloat");
}
double Field::AsDouble() {
    Refuse("AsDouble");
}
Decimal Field::AsDecimal() {
    Refuse("AsDecimal");
}
Timestamp Field::AsTimestamp() {
    Refuse("AsTimestamp");
}
__int64 Field::AsBigInt() {
    Refuse("AsBigInt");
}
void Field::SetBigInt(__int64) {
    Refuse("SetBigInt");
}
void Field::SetTimestamp(const Timestamp&) {
    Refuse("SetTimestamp");
}
void Field::SetDecimal(const Decimal&) {
    Refuse("SetDecimal");
}
void Field::SetDouble(double) {
    Refuse("SetDouble");
}
void Field::SetFloat(float) {
    Refuse("SetFloat");
}
void Field::SetLong(long) {
    Refuse("SetLong");
}
void Field::SetInt(int) {
    Refuse("SetInt");
}
void Field::SetShort(short) {
    Refuse("SetShort");
}
void Field::SetString(const std::string&) {
    Refuse("SetString");
}

Fields::Fields(BindValue& binding, bool bindAsStrings, const ExclusionIndex& exclusion, bool, Statement*)
    : fields(binding.GetImpl().MakeFields(bindAsStrings, exclusion)) {}

Fields::~Fields() = default;

unsigned int Fields::GetFieldCount() const {
    return static_cast<unsigned int>(fields.size());
}

Field& Fields::operator[](unsigned int index) {
    return GetField(index);
}

Field& Fields::GetField(unsigned int index) {
    if (index >= fields.size()) {
        throw std::out_of_range("Fields: no field " + std::to_string(index) + " among " +
                                std::to_string(fields.size()));
    }
    return *fields[index];
}

}  // namespace qxdb
