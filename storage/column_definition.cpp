#include "storage/column_definition.h"

namespace qxdbsqlengine {

ColumnDefinition::ColumnDefinition() = default;

ColumnDefinition::ColumnDefinition(const ColumnDefinition& other)
    : dataType(other.dataType),
      precision(other.precision),
      columnLabel(other.columnLabel),
      timestampFormat(other.timestampFormat),
      lobLocator(other.lobLocator ? new qxdb::LobLocator(other.lobLocator->Clone()) : nullptr),
      useLobLocators(other.useLobLocators),
      useSpecificLobLocatorImpl(other.useSpecificLobLocatorImpl),
      nativeDataType(other.nativeDataType),
      nativeDataTypeName(other.nativeDataTypeName),
      fixedLengthString(other.fixedLengthString) {}

ColumnDefinition::ColumnDefinition(ColumnDefinition&& other) noexcept = default;

ColumnDefinition& ColumnDefinition::operator=(const ColumnDefinition& other) {
    if (this != &other)
        *this = ColumnDefinition(other);
    return *this;
}

ColumnDefinition& ColumnDefinition::operator=(ColumnDefinition&& other) noexcept = default;

ColumnDefinition::~ColumnDefinition() = default;

void ColumnDefinition::Reset() {
    *this = ColumnDefinition();
}

ResultsTimestamp::ResultsTimestamp(const qxdb::Timestamp& source)
    : year(source.GetYear()),
      month(static_cast<short>(source.GetMonth())),
      day(static_cast<short>(source.GetDay())),
      hour(static_cast<short>(source.GetHour())),
      minute(static_cast<unsigned char>(source.GetMinute())),
      second(static_cast<unsigned char>(source.GetSeconds())),
      fraction(source.GetFraction()) {}

void ResultsTimestamp::AsTimestamp(qxdb::Timestamp& target) const {
    target.SetDate(year, month, day);
    target.SetTime(hour, minute, second);
    target.SetFraction(fraction);
}

}  // namespace qxdbsqlengine
