#include "storage/row_iterator.h"

#include <stdexcept>

#include "platform/os/user_locale.h"
#include "storage/data_storage.h"

namespace qxdbsqlengine {

RowIterator::RowIterator(DataStorage* handle, int resultSetNumber, int rowNumber)
    : storage(handle), indexId(&handle->indexId), resultSet(resultSetNumber), row(rowNumber) {}

std::string RowIterator::GetString(int col) const {
    return GetImpl()->GetString(*indexId, resultSet, row, col);
}

short RowIterator::GetShort(int col) const {
    return GetImpl()->GetShort(*indexId, resultSet, row, col);
}

int RowIterator::GetInt(int col) const {
    return GetImpl()->GetInt(*indexId, resultSet, row, col);
}

long RowIterator::GetLong(int col) const {
    return GetImpl()->GetLong(*indexId, resultSet, row, col);
}

__int64 RowIterator::GetInt64(int col) const {
    return GetImpl()->GetInt64(*indexId, resultSet, row, col);
}

float RowIterator::GetFloat(int col) const {
    return GetImpl()->GetFloat(*indexId, resultSet, row, col);
}

double RowIterator::GetDouble(int col) const {
    return GetImpl()->GetDouble(*indexId, resultSet, row, col);
}

qxdb::Decimal RowIterator::GetDecimal(int col) const {
    return GetImpl()->GetDecimal(*indexId, resultSet, row, col);
}

qxdb::DynBuffer RowIterator::GetBinary(int col) const {
    return GetImpl()->GetBinary(*indexId, resultSet, row, col);
}

qxdb::Timestamp RowIterator::GetTimestamp(int col) const {
    return GetImpl()->GetTimestamp(*indexId, resultSet, row, col);
}

bool RowIterator::IsNull(int col) const {
    return GetImpl()->IsNull(*indexId, resultSet, row, col);
}

std::string RowIterator::AsPlainString(int col) const {
    return GetImpl()->AsString(*indexId, resultSet, row, col, std::locale::classic());
}

RowIterator& RowIterator::operator++() {
    ++row;
    return *this;
}

RowIterator RowIterator::operator++(int) {
    RowIterator before(*this);
    ++row;
    return before;
}

RowIterator& RowIterator::operator--() {
    --row;
    return *this;
}

RowIterator RowIterator::operator--(int) {
    RowIterator before(*this);
    --row;
    return before;
}

RowIterator& RowIterator::operator+=(int distance) {
    row += distance;
    return *this;
}

RowIterator& RowIterator::operator-=(int distance) {
    row -= distance;
    return *this;
}

bool RowIterator::operator==(const RowIterator& other) const {
    return row == other.row && resultSet == other.resultSet && storage == other.storage;
}

bool RowIterator::operator!=(const RowIterator& other) const {
    return row != other.row;
}

int RowIterator::operator-(const RowIterator& other) const {
    return row - other.row;
}

DataContainer* RowIterator::GetImpl() const {
    return storage->container;
}

FormatIterator::FormatIterator(DataStorage* handle, int resultSetNumber, int rowNumber)
    : RowIterator(handle, resultSetNumber, rowNumber) {}

FormatIterator::FormatIterator(const RowIterator& other) : RowIterator(other) {}

FormatIterator& FormatIterator::operator=(const RowIterator& other) {
    RowIterator::operator=(other);
    return *this;
}

std::string FormatIterator::AsString(int col, bool formatted) const {
    return GetImpl()->AsString(*indexId, resultSet, row, col,
                               formatted ? GetLocale() : std::locale::classic());
}

std::locale& FormatIterator::GetLocale() {
    static std::locale userLocale = [] {
        try {
            return std::locale(qxos::UserLocaleName());
        } catch (const std::runtime_error&) {
            // A name from the environment says nothing about what is installed.
            return std::locale::classic();
        }
    }();
    return userLocale;
}

}  // namespace qxdbsqlengine
