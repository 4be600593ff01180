#include "drivers/odbc/row_condition.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/sql_scan.h"
#include "drivers/odbc/value_text.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::DataType;

constexpr const char* nullText = "[NULL]";

bool IsNumber(const ValueType& type) {
    switch (type.kind) {
        case ValueKind::Bit:
        case ValueKind::Short:
        case ValueKind::Int:
        case ValueKind::Int64:
        case ValueKind::UnsignedInt64:
        case ValueKind::Decimal:
            return true;
        default:
            return false;
    }
}

[[noreturn]] void ThrowBadValue(const FindingColumn& column, const std::string& text) {
    ThrowRefusal("The row can't be found: '" + text + "' is no value of column " + column.name, "22018");
}

ParameterValue ReadCell(const FindingColumn& column, const std::string& text) {
    if (IsNumber(column.type)) {
        qxdb::Decimal number;
        if (!qxdb::Decimal::TryParse(text, number)) {
            ThrowBadValue(column, text);
        }
        return number;
    }
    if (column.type.kind == ValueKind::Binary) {
        qxdb::DynBuffer bytes;
        if (!qxdb::BufferBase::ParseHex(text, bytes)) {
            ThrowBadValue(column, text);
        }
        return bytes;
    }
    if (column.type.bindType == qxdb::Column::BindTimestamp) {
        qxdb::Timestamp time;
        time.SetFormat(column.timeFormat);
        if (!time.Parse(text)) {
            ThrowBadValue(column, text);
        }
        return time;
    }
    return text;
}

std::string LiteralOf(const ParameterValue& value, const FindingColumn& column, const ServerTraits& traits) {
    if (const auto* const time = std::get_if<qxdb::Timestamp>(&value)) {
        return QuoteLiteral(TimeText(*time, column.type.part), traits);
    }
    const std::string literal = QuoteLiteral(TextOf(value), traits);
    return std::holds_alternative<qxdb::DynBuffer>(value) ? "decode(" + literal + ", 'hex')" : literal;
}

std::string WithoutTrailingBlanks(const std::string& text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

bool IsNamed(const FindingColumn& column, std::string_view lowerCase) {
    const std::string& name = column.native.typeName;
    return std::equal(name.begin(), name.end(), lowerCase.begin(), lowerCase.end(),
                      [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a + 32 == b); });
}

// True when a time is shown by the clock of the session, which shows one time twice when it is set back.
bool IsZoned(const FindingColumn& column, Family family) {
    return (family == Family::PostgreSQL && IsNamed(column, "timestamptz")) ||
           (family == Family::MySQL && IsNamed(column, "timestamp"));
}

// Bits that the server compares as a number.
bool IsBits(const FindingColumn& column, Family family) {
    return family == Family::MySQL && column.type.kind == ValueKind::Binary && IsNamed(column, "bit");
}

std::string NumberOf(const qxdb::DynBuffer& bytes) {
    unsigned long long number = 0;
    for (unsigned int i = 0; i < bytes.GetLength(); ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes.GetData()[i]);
    }
    return std::to_string(number);
}

// Builds the comparisons of one condition.
class Comparisons {
  public:
    Comparisons(const LobPlace& owner, const ServerTraits& server, Condition& target)
        : place(owner), traits(server), condition(target) {}

    void Add(const FindingColumn& column, const std::string& text) {
        condition.sql += condition.sql.empty() ? " WHERE " : " AND ";
        const bool isNull = text == nullText;
        condition.hasNull = condition.hasNull || isNull;
        if (isNull && column.type.kind == ValueKind::Text) {
            // A text may read like that too.
            condition.sql += "(" + column.name + " IS NULL OR (";
            AddEqual(column, text);
            condition.sql += "))";
        } else if (isNull) {
            condition.sql += column.name + " IS NULL";
        } else {
            AddEqual(column, text);
        }
    }

  private:
    bool OnPostgres() const { return traits.family == Family::PostgreSQL; }

    // Numbers stand in the text, since a server that compares a number with a text may do it by doubles.
    void AddEqual(const FindingColumn& column, const std::string& text) {
        const ParameterValue value = ReadCell(column, text);
        if (IsNumber(column.type) && !(OnPostgres() && column.type.kind == ValueKind::Bit)) {
            condition.sql += column.name + " = " + TextOf(value);
        } else if (column.type.kind == ValueKind::Text) {
            AddEqualText(column, text);
        } else if (IsBits(column, traits.family)) {
            condition.sql += column.name + " = " + NumberOf(std::get<qxdb::DynBuffer>(value));
        } else if (IsZoned(column, traits.family)) {
            // As it stands there a text would be one of two times.
            condition.sql += "CAST(" + column.name + " AS " + (OnPostgres() ? "timestamp" : "DATETIME(6)") +
                             ") = " + LiteralOf(value, column, traits);
        } else if (OnPostgres()) {
            // Its cursors take no parameters.
            condition.sql += column.name + " = " + LiteralOf(value, column, traits);
        } else {
            condition.sql += column.name + " = ";
            AddParameter(value, DescriptionOf(std::string(), DataType::DirectionIn, column.native, traits));
        }
    }

    // As the key compares, which finds the row fast, and letter for letter, since a key that does not tell
    // "a" from "A" may have got the one where the other was. Blanks at the end are left to the key.
    void AddEqualText(const FindingColumn& column, const std::string& text) {
        const std::string exact = WithoutTrailingBlanks(text);
        if (OnPostgres()) {
            if (place.hasKey) {
                condition.sql += column.name + " = " + QuoteLiteral(text, traits) + " AND ";
            }
            // Not all types can be compared, and some are equal when they are of one size.
            condition.sql += "rtrim(format('%s', " + column.name +
                             "), ' ') COLLATE \"C\" = " + QuoteLiteral(exact, traits);
            return;
        }
        condition.sql += column.name + " = ";
        AddParameter(text, DescriptionOf(std::string(), DataType::DirectionIn, column.native, traits));
        if (traits.family == Family::MySQL && IsCharacters(column.native)) {
            condition.sql += " AND CONVERT(TRIM(TRAILING ' ' FROM CONVERT(" + column.name +
                             " USING utf8mb4)) USING binary) = ";
            AddBytes(exact);
        }
    }

    static bool IsCharacters(const NativeType& native) {
        switch (native.sqlType) {
            case SQL_CHAR:
            case SQL_VARCHAR:
            case SQL_LONGVARCHAR:
            case SQL_WCHAR:
            case SQL_WVARCHAR:
            case SQL_WLONGVARCHAR:
                return true;
            default:
                return false;
        }
    }

    void AddBytes(const std::string& bytes) {
        ParameterDescription description;
        description.type.kind = ValueKind::Binary;
        description.type.bindType = qxdb::Column::BindBinary;
        AddParameter(ValueFromBytes(bytes), description);
    }
    void AddParameter(const ParameterValue& value, const ParameterDescription& description) {
        condition.sql += "?";
        condition.descriptions.push_back(description);
        condition.values.push_back(value);
    }

    const LobPlace& place;
    const ServerTraits& traits;
    Condition& condition;
};

// Writes and reads a time that has something in every place.
bool KeepsWholeTime(const ValueType& type, const std::string& format) {
    constexpr int nanoseconds[] = {0,         100000000, 120000000, 123000000, 123400000,
                                   123450000, 123456000, 123456700, 123456780, 123456789};
    qxdb::Timestamp time;
    if (type.part != TimePart::TimeOfDay) {
        time.SetDate(1711, 12, 13);
    }
    if (type.part != TimePart::Date) {
        time.SetTime(14, 15, 16);
        time.SetFraction(nanoseconds[type.scale]);
    }
    time.SetFormat(format);
    qxdb::Timestamp read;
    read.SetFormat(format);
    return read.Parse(time.AsString()) && TimeText(read, type.part) == TimeText(time, type.part);
}

}  // namespace

Condition MakeCondition(const LobPlace& place, const std::list<std::string>* rowValues,
                        const ServerTraits& traits) {
    Condition condition;
    Comparisons comparisons(place, traits, condition);
    for (const FindingColumn& column : place.columns) {
        if (!rowValues || column.position >= rowValues->size()) {
            ThrowRefusal("The row of the large object can't be found without the values of its columns",
                         "HY000");
        }
        comparisons.Add(column, *std::next(rowValues->begin(), static_cast<std::ptrdiff_t>(column.position)));
    }
    return condition;
}

bool CanFind(const ValueType& type, const std::string& timeFormat) {
    switch (type.kind) {
        case ValueKind::Float:
        case ValueKind::Double:
        case ValueKind::CharacterLob:
        case ValueKind::BinaryLob:
            return false;
        default:
            return type.bindType != qxdb::Column::BindTimestamp || KeepsWholeTime(type, timeFormat);
    }
}

Execution::Execution(const std::shared_ptr<Session>& session, const std::string& sql,
                     const Condition& condition)
    : core(std::make_shared<StatementCore>(session)),
      binding(std::make_shared<ParameterBinding>(condition.descriptions)) {
    core->SetSql(std::make_shared<const std::string>(sql));
    for (std::size_t i = 0; i < condition.values.size(); ++i) {
        binding->Slot(i).value = condition.values[i];
    }
    core->Call("SQLPrepare", [&] { return PrepareText(core->Raw(), sql); });
}

void Execution::BindCondition(unsigned int first) {
    std::vector<ParameterBuffers::Use> uses;
    for (std::size_t i = 0; i < binding->Count(); ++i) {
        uses.push_back({&binding->Slot(i), false});
    }
    buffers = std::make_unique<ParameterBuffers>(core, uses, first);
}

SQLRETURN Execution::Execute() {
    return core->Call("SQLExecute", [&] { return SQLExecute(core->Raw()); });
}

bool Execution::Fetch() {
    return core->Call("SQLFetch", [&] { return SQLFetch(core->Raw()); }) != SQL_NO_DATA;
}

__int64 QueryRow(const std::shared_ptr<Session>& session, const std::string& sql,
                 const Condition& condition) {
    Execution query(session, sql, condition);
    query.BindCondition(0);
    query.Execute();
    if (!query.Fetch()) {
        ThrowRefusal("The row of the large object is not there any more", "02000");
    }
    return ReadCatalogNumber(query.Core().Raw(), 1, 0);
}

__int64 CountRows(const LobPlace& place, const std::shared_ptr<Session>& session,
                  const Condition& condition) {
    return QueryRow(session, "SELECT COUNT(*) FROM " + place.source + condition.sql, condition);
}

void ThrowRowGone(const LobPlace& place) {
    ThrowRefusal("The row of the large object is not in " + place.table + " any more", "02000");
}

void ThrowRowNotAlone(const LobPlace& place, __int64 others) {
    ThrowRefusal("The row of the large object can't be told from " + std::to_string(others) +
                     " other(s) in " + place.table,
                 "02000");
}

}  // namespace qxdrivers::odbc
