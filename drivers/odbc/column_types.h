// What the description of a column or parameter says about its values.
#pragma once

#include <string>

#include "drivers/odbc/odbc_api.h"
#include "drivers/odbc/server_traits.h"
#include "platform/qxdb/schema.h"

namespace qxdrivers::odbc {

// How a column or parameter is described by the driver.
struct NativeType {
    std::string typeName;
    SQLSMALLINT sqlType = SQL_UNKNOWN_TYPE;
    SQLULEN size = 0;        // characters, digits or bytes, by type; 0 unknown
    SQLSMALLINT digits = 0;  // behind the point, or of a second
    bool isUnsigned = false;
};

// In which form a value arrives.
enum class ValueKind {
    Bit,
    Short,
    Int,
    Int64,
    UnsignedInt64,
    Float,
    Double,
    Decimal,  // as text
    Text,
    Timestamp,  // as a structure, or as text where the traits ask for that
    TimeOfDay,  // as text
    Binary,
    CharacterLob,
    BinaryLob
};

enum class TimePart { None, Date, DateTime, TimeOfDay };

struct ValueType {
    ValueKind kind = ValueKind::Text;
    qxdb::Column::BindType bindType = qxdb::Column::BindString;
    int scale = 0;  // digits behind the point, or of a second
    TimePart part = TimePart::None;
    bool lowerCase = false;  // text that the driver hands out in capitals, though its server does not
};

// Declared lengths above this are large objects: characters or bytes.
constexpr SQLULEN longestPlainValue = 1000000;

// The type of a column. The table is in odbc_driver.h.
ValueType TypeOf(const NativeType& native, const ServerTraits& traits);

// The format of a timestamp column with that many digits behind the second.
std::string TimestampFormatOf(TimePart part, int digits);

// Fills the fields of a record that follow from the type.
void DescribeType(const NativeType& native, const ValueType& type, qxdb::ColumnRecord& record);

}  // namespace qxdrivers::odbc
