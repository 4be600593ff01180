#include "drivers/odbc/column_types.h"

#include <algorithm>
#include <iterator>

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;

// Types that makers of drivers added.
enum MakerType : SQLSMALLINT {
    SqlServerVariant = -150,
    SqlServerUserType = -151,
    SqlServerXml = -152,
    SqlServerTime = -154,
    SqlServerTimestampOffset = -155,
    Db2Graphic = -95,
    Db2VarGraphic = -96,
    Db2LongVarGraphic = -97,
    Db2Blob = -98,
    Db2Clob = -99,
    Db2DbClob = -350,
    Db2DecimalFloat = -360,
    Db2Xml = -370
};

// PostgreSQL's driver gives numbers without a declared precision at least this many digits.
constexpr SQLULEN undeclaredPrecision = 28;

ValueType Plain(ValueKind kind, Column::BindType bindType) {
    ValueType type;
    type.kind = kind;
    type.bindType = bindType;
    return type;
}

ValueType Timed(TimePart part, SQLSMALLINT digits) {
    ValueType type = Plain(part == TimePart::TimeOfDay ? ValueKind::TimeOfDay : ValueKind::Timestamp,
                           Column::BindTimestamp);
    type.part = part;
    type.scale = part == TimePart::Date ? 0 : std::clamp<int>(digits, 0, 9);
    return type;
}

ValueType Characters(const NativeType& native, bool isLong, const ServerTraits& traits) {
    // A length of 0 is that of a type without a limit; PostgreSQL's driver makes one up.
    const bool isUnlimited =
        traits.unlimitedAsLob && traits.family == Family::PostgreSQL && native.typeName == "text";
    return native.size > longestPlainValue || isUnlimited || (isLong && native.size == 0)
               ? Plain(ValueKind::CharacterLob, Column::BindLob)
               : Plain(ValueKind::Text, Column::BindString);
}

ValueType Bytes(const NativeType& native, const ServerTraits& traits) {
    const bool isBytea = traits.family == Family::PostgreSQL && native.typeName == "bytea";
    const bool isLong = native.size > longestPlainValue || native.size == 0;
    return (isBytea ? traits.unlimitedAsLob : isLong) ? Plain(ValueKind::BinaryLob, Column::BindLob)
                                                      : Plain(ValueKind::Binary, Column::BindBinary);
}

ValueType Exact(const NativeType& native, const ServerTraits& traits) {
    ValueType type = Plain(ValueKind::Decimal, Column::BindDecimal);
    const bool undeclared = traits.family == Family::PostgreSQL && native.size >= undeclaredPrecision;
    // Without a scale of its own a column takes every number as it is; a scale would round.
    const bool known = !undeclared && native.digits > 0 && native.digits <= static_cast<int>(native.size);
    type.scale = known ? native.digits : 0;
    return type;
}

ValueType Floating(const NativeType& native, const ServerTraits& traits) {
    if (traits.family == Family::PostgreSQL && native.typeName == "money") {
        return ValueType();  // text of the server's locale: "$1,234.56"
    }
    return native.sqlType == SQL_REAL ? Plain(ValueKind::Float, Column::BindFloat)
                                      : Plain(ValueKind::Double, Column::BindDouble);
}

ValueType Whole(const NativeType& native) {
    switch (native.sqlType) {
        case SQL_TINYINT:
            return Plain(ValueKind::Short, Column::BindShort);
        case SQL_SMALLINT:
            return native.isUnsigned ? Plain(ValueKind::Int, Column::BindInt)
                                     : Plain(ValueKind::Short, Column::BindShort);
        case SQL_INTEGER:
            return native.isUnsigned ? Plain(ValueKind::Int64, Column::BindInt64)
                                     : Plain(ValueKind::Int, Column::BindInt);
        default:
            return native.isUnsigned ? Plain(ValueKind::UnsignedInt64, Column::BindDecimal)
                                     : Plain(ValueKind::Int64, Column::BindInt64);
    }
}

}  // namespace

ValueType TypeOf(const NativeType& native, const ServerTraits& traits) {
    switch (native.sqlType) {
        case SQL_BIT:
            return Plain(ValueKind::Bit, Column::BindShort);
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
        case SQL_BIGINT:
            return Whole(native);
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE:
            return Floating(native, traits);
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            return Exact(native, traits);
        case Db2DecimalFloat:
            return Plain(ValueKind::Decimal, Column::BindDecimal);
        case SQL_DATE:
        case SQL_TYPE_DATE:
            return Timed(TimePart::Date, 0);
        case SQL_TIMESTAMP:
        case SQL_TYPE_TIMESTAMP:
            return Timed(TimePart::DateTime, native.digits);
        case SQL_TIME:
        case SQL_TYPE_TIME:
        case SqlServerTime:
            // MySQL's TIME is a span from -838:59:59 to 838:59:59.
            return traits.family == Family::MySQL ? ValueType() : Timed(TimePart::TimeOfDay, native.digits);
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY:
        case SqlServerUserType:
            return Bytes(native, traits);
        case Db2Blob:
            return Plain(ValueKind::BinaryLob, Column::BindLob);
        case Db2Clob:
        case Db2DbClob:
        case Db2Xml:
            return Plain(ValueKind::CharacterLob, Column::BindLob);
        case SQL_GUID: {
            ValueType type;
            type.lowerCase = traits.family == Family::PostgreSQL;
            return type;
        }
        case SQL_LONGVARCHAR:
        case SQL_WLONGVARCHAR:
        case SqlServerXml:
        case Db2LongVarGraphic:
            return Characters(native, traits.family != Family::PostgreSQL, traits);
        case SQL_VARCHAR:
        case SQL_WVARCHAR:
            return Characters(native, traits.family == Family::SQLServer, traits);
        default:
            return ValueType();  // what has no form of its own comes as text
    }
}

std::string TimestampFormatOf(TimePart part, int digits) {
    std::string format = part == TimePart::TimeOfDay ? "HH:mm:ss" : "yyyy-MM-dd";
    if (part == TimePart::DateTime) {
        format += " HH:mm:ss";
    }
    if (digits > 0) {
        format += '.';
        format.append(digits <= 3 ? 3 : digits <= 6 ? 6 : 9, 'f');
    }
    return format;
}

void DescribeType(const NativeType& native, const ValueType& type, qxdb::ColumnRecord& record) {
    record.type = type.bindType;
    record.nativeType = native.sqlType;
    record.nativeTypeName = native.typeName;
    record.scale = type.scale;
    record.lobFlags = type.kind == ValueKind::BinaryLob ? 1 : 0;
    if (type.bindType == Column::BindTimestamp) {
        record.dateTimeFormat = TimestampFormatOf(type.part, type.scale);
    }
}

}  // namespace qxdrivers::odbc
