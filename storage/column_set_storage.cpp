#include "storage/column_set_storage.h"

#include "storage/store_exceptions.h"

namespace qxdbsqlengine {

LargestColumnItemCallback::~LargestColumnItemCallback() = default;

ColumnSetStorage::ColumnSetStorage() = default;
ColumnSetStorage::~ColumnSetStorage() = default;

std::string ColumnSetStorage::AsString(int) {
    throw BadTypeException();
}
short ColumnSetStorage::AsShort(int) {
    throw BadTypeException();
}
int ColumnSetStorage::AsInt(int) {
    throw BadTypeException();
}
long ColumnSetStorage::AsLong(int) {
    throw BadTypeException();
}
__int64 ColumnSetStorage::AsInt64(int) {
    throw BadTypeException();
}
float ColumnSetStorage::AsFloat(int) {
    throw BadTypeException();
}
double ColumnSetStorage::AsDouble(int) {
    throw BadTypeException();
}
qxdb::Decimal ColumnSetStorage::AsDecimal(int) {
    throw BadTypeException();
}
qxdb::DynBuffer ColumnSetStorage::AsBinary(int) {
    throw BadTypeException();
}
qxdb::Timestamp ColumnSetStorage::AsTimestamp(int) {
    throw BadTypeException();
}
const char* ColumnSetStorage::GetDataTimeFormat() {
    throw BadTypeException();
}
std::string ColumnSetStorage::GetLobFileName(int) {
    throw BadTypeException();
}

void ColumnSetStorage::InsertString(const std::string&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertShort(const short&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertInt(const int&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertLong(const long&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertInt64(const __int64&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertFloat(const float&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertDouble(const double&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertDecimal(const qxdb::Decimal&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertBinary(const qxdb::DynBuffer&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertTimestamp(const qxdb::Timestamp&) {
    throw BadTypeException();
}
void ColumnSetStorage::InsertLobData(const std::string&, const qxdb::DynBuffer&) {
    throw BadTypeException();
}

bool ColumnSetStorage::EqualsString(int, const std::string&) {
    throw BadTypeException();
}
int ColumnSetStorage::GetPrecision() {
    return 0;
}
void ColumnSetStorage::SetPrecision(int) {}
int ColumnSetStorage::GetNativeDataType() {
    return nativeDataType;
}
void ColumnSetStorage::SetNativeDataType(int type) {
    nativeDataType = type;
}
std::string ColumnSetStorage::GetNativeDataTypeName() {
    return nativeDataTypeName;
}
void ColumnSetStorage::SetNativeDataTypeName(const std::string& name) {
    nativeDataTypeName = name;
}
qxdb::LobLocator ColumnSetStorage::GetLob(int) {
    throw BadTypeException();
}
bool ColumnSetStorage::GetUseLobLocators() {
    return false;
}
std::string ColumnSetStorage::GetColumnLabel() {
    return columnLabel;
}
void ColumnSetStorage::SetColumnLabel(const std::string& label) {
    columnLabel = label;
}

std::string_view ColumnSetStorage::ViewString(int row, const CellFormat& format, std::string& scratch) {
    scratch.clear();
    AppendString(row, format, scratch);
    return scratch;
}

EditableSetStorage::~EditableSetStorage() = default;

void EditableSetStorage::MoveDown(int) {}

void EditableSetStorage::SetString(int, const std::string&) {
    throw BadTypeException();
}
void EditableSetStorage::SetShort(int, const short&) {
    throw BadTypeException();
}
void EditableSetStorage::SetInt(int, const int&) {
    throw BadTypeException();
}
void EditableSetStorage::SetLong(int, const long&) {
    throw BadTypeException();
}
void EditableSetStorage::SetInt64(int, const __int64&) {
    throw BadTypeException();
}
void EditableSetStorage::SetFloat(int, const float&) {
    throw BadTypeException();
}
void EditableSetStorage::SetDouble(int, const double&) {
    throw BadTypeException();
}
void EditableSetStorage::SetDecimal(int, const qxdb::Decimal&) {
    throw BadTypeException();
}
void EditableSetStorage::SetBinary(int, const qxdb::DynBuffer&) {
    throw BadTypeException();
}
void EditableSetStorage::SetTimestamp(int, const qxdb::Timestamp&) {
    throw BadTypeException();
}
void EditableSetStorage::SetLobData(int, const std::string&, const std::string&) {
    throw BadTypeException();
}
void EditableSetStorage::SetLobData(int, const std::string&, const qxdb::DynBuffer&, const std::string&) {
    throw BadTypeException();
}

}  // namespace qxdbsqlengine
