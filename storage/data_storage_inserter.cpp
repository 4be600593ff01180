#include "storage/data_storage_inserter.h"

#include "storage/data_storage.h"

namespace qxdbsqlengine {

namespace {

// A single huge text must not keep its memory for the rest of the result set.
constexpr std::size_t MaxKeptCell = 1024 * 1024;

}  // namespace

DataStorageInserter::DataStorageInserter(qxdb::Field* source, DataStorage* target, int resultSetId,
                                         int columnIndex)
    : field(source), storage(target), resultSet(resultSetId), column(columnIndex) {}

DataStorageInserter::~DataStorageInserter() = default;

void DataStorageInserter::InsertNull() {
    storage->InsertNull(resultSet, column);
}

StringDataStorageInserter::~StringDataStorageInserter() = default;

void StringDataStorageInserter::Insert() {
    if (field->IsNull()) {
        InsertNull();
        return;
    }
    // A field may deliver its text in pieces, and a column takes one value for each row: so gather first.
    cell.clear();
    gathering = true;
    try {
        field->GetStringInto(this);
    } catch (...) {
        gathering = false;
        throw;
    }
    gathering = false;
    InsertValue(cell);
    if (cell.capacity() > MaxKeptCell)
        std::string().swap(cell);
}

void StringDataStorageInserter::Insert(const std::string& text) {
    if (gathering)
        cell += text;
    else
        InsertValue(text);
}

void StringDataStorageInserter::InsertValue(const std::string& value) {
    storage->InsertString(resultSet, column, value);
}

ShortDataStorageInserter::~ShortDataStorageInserter() = default;

void ShortDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertShort(resultSet, column, field->AsShort());
}

void ShortDataStorageInserter::InsertValue(const short& value) {
    storage->InsertShort(resultSet, column, value);
}

IntDataStorageInserter::~IntDataStorageInserter() = default;

void IntDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertInt(resultSet, column, field->AsInt());
}

void IntDataStorageInserter::InsertValue(const int& value) {
    storage->InsertInt(resultSet, column, value);
}

LongDataStorageInserter::~LongDataStorageInserter() = default;

void LongDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertLong(resultSet, column, field->AsLong());
}

void LongDataStorageInserter::InsertValue(const long& value) {
    storage->InsertLong(resultSet, column, value);
}

Int64DataStorageInserter::~Int64DataStorageInserter() = default;

void Int64DataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertInt64(resultSet, column, field->AsBigInt());
}

void Int64DataStorageInserter::InsertValue(const __int64& value) {
    storage->InsertInt64(resultSet, column, value);
}

FloatDataStorageInserter::~FloatDataStorageInserter() = default;

void FloatDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertFloat(resultSet, column, field->AsFloat());
}

void FloatDataStorageInserter::InsertValue(const float& value) {
    storage->InsertFloat(resultSet, column, value);
}

DoubleDataStorageInserter::~DoubleDataStorageInserter() = default;

void DoubleDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertDouble(resultSet, column, field->AsDouble());
}

void DoubleDataStorageInserter::InsertValue(const double& value) {
    storage->InsertDouble(resultSet, column, value);
}

DecimalDataStorageInserter::~DecimalDataStorageInserter() = default;

void DecimalDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertDecimal(resultSet, column, field->AsDecimal());
}

void DecimalDataStorageInserter::InsertValue(const qxdb::Decimal& value) {
    storage->InsertDecimal(resultSet, column, value);
}

BinaryDataStorageInserter::~BinaryDataStorageInserter() = default;

void BinaryDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertBinary(resultSet, column, field->GetBuffer());
}

void BinaryDataStorageInserter::InsertValue(const qxdb::DynBuffer& value) {
    storage->InsertBinary(resultSet, column, value);
}

TimestampDataStorageInserter::~TimestampDataStorageInserter() = default;

void TimestampDataStorageInserter::Insert() {
    if (field->IsNull())
        InsertNull();
    else
        storage->InsertTimestamp(resultSet, column, field->AsTimestamp());
}

void TimestampDataStorageInserter::InsertValue(const qxdb::Timestamp& value) {
    storage->InsertTimestamp(resultSet, column, value);
}

}  // namespace qxdbsqlengine
