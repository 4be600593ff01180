#include "drivers/odbc/row_condition.h"

#include <iterator>
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

// Numbers stand in the text, since a server that compares a number with a text may do it by doubles.
void AddComparison(const FindingColumn& column, const std::string& text, const ServerTraits& traits,
                   Condition& condition) {
    condition.sql += condition.sql.empty() ? " WHERE " : " AND ";
    condition.sql += column.name;
    if (text == nullText) {
        condition.sql += " IS NULL";
        condition.hasNull = true;
        return;
    }
    const ParameterValue value = ReadCell(column, text);
    const bool isPostgres = traits.family == Family::PostgreSQL;
    if (IsNumber(column.type) && !(isPostgres && column.type.kind == ValueKind::Bit)) {
        condition.sql += " = " + TextOf(value);
    } else if (isPostgres) {
        // Its cursors take no parameters.
        condition.sql += " = " + LiteralOf(value, column, traits);
    } else {
        condition.sql += " = ?";
        condition.descriptions.push_back(
            DescriptionOf(std::string(), DataType::DirectionIn, column.native, traits));
        condition.values.push_back(value);
    }
}

}  // namespace

Condition MakeCondition(const LobPlace& place, const std::list<std::string>* rowValues,
                        const ServerTraits& traits) {
    Condition condition;
    for (const FindingColumn& column : place.columns) {
        if (!rowValues || column.position >= rowValues->size()) {
            ThrowRefusal("The row of the large object can't be found without the values of its columns",
                         "HY000");
        }
        AddComparison(column, *std::next(rowValues->begin(), static_cast<std::ptrdiff_t>(column.position)),
                      traits, condition);
    }
    return condition;
}

bool CanFind(const ValueType& type) {
    return type.kind != ValueKind::Float && type.kind != ValueKind::Double &&
           type.kind != ValueKind::CharacterLob && type.kind != ValueKind::BinaryLob;
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
