#include "drivers/odbc/lob_locator.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/connection.h"
#include "drivers/odbc/key_columns.h"
#include "drivers/odbc/long_reader.h"
#include "drivers/odbc/parameter_buffers.h"
#include "drivers/odbc/sql_scan.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::DataType;

constexpr const char* nullText = "[NULL]";
constexpr std::size_t pieceBytes = 64 * 1024;

// A column by which the row is found.
struct FindingColumn {
    std::size_t position;  // in the row
    std::string name;      // in the table, quoted
    NativeType native;
    ValueType type;
    std::string timeFormat;
};

// What all locators of a column have in common. Never changed once it is made.
struct LobPlace {
    std::string table;   // as the caller may see it
    std::string source;  // as it stands in SQL
    std::string column;  // quoted
    ValueType type;
    std::vector<FindingColumn> columns;
    bool hasKey = false;
};

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

// Floating numbers are no good to find a row by, and large objects are what is looked for.
bool CanFind(const ValueType& type) {
    return type.kind != ValueKind::Float && type.kind != ValueKind::Double &&
           type.kind != ValueKind::CharacterLob && type.kind != ValueKind::BinaryLob;
}

// A condition and the values of its parameters.
struct Condition {
    std::string sql;
    std::vector<ParameterDescription> descriptions;
    std::vector<ParameterValue> values;
};

[[noreturn]] void ThrowBadValue(const FindingColumn& column, const std::string& text) {
    ThrowRefusal("The row can't be found: '" + text + "' is no value of column " + column.name, "22018");
}

// Numbers stand in the text, since a server that compares a number with a text may do it by doubles.
void AddComparison(const FindingColumn& column, const std::string& text, const ServerTraits& traits,
                   Condition& condition) {
    condition.sql += condition.sql.empty() ? " WHERE " : " AND ";
    condition.sql += column.name;
    if (text == nullText) {
        condition.sql += " IS NULL";
        return;
    }
    if (IsNumber(column.type)) {
        qxdb::Decimal number;
        if (!qxdb::Decimal::TryParse(text, number)) {
            ThrowBadValue(column, text);
        }
        condition.sql += " = " + number.AsString(false, -1);
        return;
    }
    condition.sql += " = ?";
    condition.descriptions.push_back(
        DescriptionOf(std::string(), DataType::DirectionIn, column.native, traits));
    if (column.type.kind == ValueKind::Binary) {
        qxdb::DynBuffer bytes;
        if (!qxdb::BufferBase::ParseHex(text, bytes)) {
            ThrowBadValue(column, text);
        }
        condition.values.emplace_back(std::move(bytes));
    } else if (column.type.bindType == qxdb::Column::BindTimestamp) {
        qxdb::Timestamp time;
        time.SetFormat(column.timeFormat);
        if (!time.Parse(text)) {
            ThrowBadValue(column, text);
        }
        condition.values.emplace_back(time);
    } else {
        condition.values.emplace_back(text);
    }
}

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

// A statement whose last parameters are those of a condition.
class Execution {
  public:
    Execution(const std::shared_ptr<Session>& session, const std::string& sql, const Condition& condition)
        : core(std::make_shared<StatementCore>(session)),
          binding(std::make_shared<ParameterBinding>(condition.descriptions)) {
        core->SetSql(std::make_shared<const std::string>(sql));
        for (std::size_t i = 0; i < condition.values.size(); ++i) {
            binding->Slot(i).value = condition.values[i];
        }
        WideText wide = ToWide(sql);
        core->Call("SQLPrepare", [&] {
            return SQLPrepareW(core->Raw(), wide.data(), static_cast<SQLINTEGER>(wide.size()));
        });
    }

    // `first`: how many parameters stand in front of the condition.
    void BindCondition(unsigned int first) {
        std::vector<ParameterBuffers::Use> uses;
        for (std::size_t i = 0; i < binding->Count(); ++i) {
            uses.push_back({&binding->Slot(i), false});
        }
        buffers = std::make_unique<ParameterBuffers>(core, uses, first);
    }
    SQLRETURN Execute() {
        return core->Call("SQLExecute", [&] { return SQLExecute(core->Raw()); });
    }
    StatementCore& Core() { return *core; }

  private:
    const std::shared_ptr<StatementCore> core;
    const std::shared_ptr<ParameterBinding> binding;
    std::unique_ptr<ParameterBuffers> buffers;
};

LongReader::Form FormOf(const ValueType& type, const ServerTraits& traits) {
    return type.kind == ValueKind::BinaryLob ? LongReader::Form::Bytes
           : traits.narrowText               ? LongReader::Form::Narrow
                                             : LongReader::Form::Wide;
}

[[noreturn]] void ThrowFile(const std::string& fileName, const char* what) {
    ThrowRefusal("\"" + fileName + "\" can't be " + what + ": " + std::strerror(errno), "58030");
}

class OdbcLobLocator final : public qxdb::LobLocatorImp {
  public:
    explicit OdbcLobLocator(std::shared_ptr<const LobPlace> where) : place(std::move(where)) {}

    std::unique_ptr<qxdb::LobLocatorImp> Clone() const override {
        return std::make_unique<OdbcLobLocator>(*this);
    }
    // The cells of the row are what finds it.
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return !place->columns.empty(); }
    bool IsReadOnly() const override { return !place->hasKey; }
    bool EditAsClob() const override { return place->type.kind == ValueKind::CharacterLob; }
    std::string TableName() const override { return place->table; }
    void SetAsXMLType() override {}

    void Import(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override;
    void Export(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override;

  private:
    Condition FindRow(const std::shared_ptr<Session>& session, const std::list<std::string>* rowValues) const;
    void SendFile(std::ifstream& file, StatementCore& core) const;

    std::shared_ptr<const LobPlace> place;
};

// The condition that finds the row, which there must be once.
Condition OdbcLobLocator::FindRow(const std::shared_ptr<Session>& session,
                                  const std::list<std::string>* rowValues) const {
    Condition condition = MakeCondition(*place, rowValues, session->Traits());
    if (condition.sql.empty()) {
        ThrowRefusal("The table " + place->table + " has no column in the result to find the row by",
                     "HY000");
    }
    Execution counting(session, "SELECT COUNT(*) FROM " + place->source + condition.sql, condition);
    counting.BindCondition(0);
    counting.Execute();
    if (!SQL_SUCCEEDED(SQLFetch(counting.Core().Raw()))) {
        throw ReadErrors({SQL_HANDLE_STMT, counting.Core().Raw()}, "SQLFetch", counting.Core().Context());
    }
    const __int64 rows = ReadCatalogNumber(counting.Core().Raw(), 1, 0);
    if (rows != 1) {
        ThrowRefusal(rows == 0 ? "The row of the large object is not in " + place->table + " any more"
                               : "The row of the large object can't be told from " +
                                     std::to_string(rows - 1) + " other(s) in " + place->table,
                     "02000");
    }
    return condition;
}

void OdbcLobLocator::Export(const std::string& fileName, qxdb::Connection& connection,
                            std::list<std::string>* rowValues) {
    const std::shared_ptr<Session> session = SessionOf(connection);
    const Condition condition = FindRow(session, rowValues);
    Execution reading(session, "SELECT " + place->column + " FROM " + place->source + condition.sql,
                      condition);
    reading.BindCondition(0);
    reading.Execute();
    StatementCore& core = reading.Core();
    core.Call("SQLFetch", [&] { return SQLFetch(core.Raw()); });
    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!file) {
        ThrowFile(fileName, "written");
    }
    LongReader reader;
    reader.Open(core, 1, FormOf(place->type, session->Traits()));
    std::vector<char> piece(pieceBytes);
    while (const std::size_t count = reader.Read(piece.data(), piece.size())) {
        file.write(piece.data(), static_cast<std::streamsize>(count));
        if (!file) {
            ThrowFile(fileName, "written");
        }
    }
    file.close();
    if (!file) {
        ThrowFile(fileName, "written");
    }
}

void OdbcLobLocator::Import(const std::string& fileName, qxdb::Connection& connection,
                            std::list<std::string>* rowValues) {
    if (IsReadOnly()) {
        ThrowRefusal("The large object is read-only: " + place->table + " has no key in the result", "25006");
    }
    std::ifstream file(fileName, std::ios::binary);
    if (!file) {
        ThrowFile(fileName, "read");
    }
    const std::shared_ptr<Session> session = SessionOf(connection);
    const Condition condition = FindRow(session, rowValues);
    Execution writing(session, "UPDATE " + place->source + " SET " + place->column + " = ?" + condition.sql,
                      condition);
    StatementCore& core = writing.Core();
    const LongReader::Form form = FormOf(place->type, session->Traits());
    const bool isText = form != LongReader::Form::Bytes;
    const bool isWide = form == LongReader::Form::Wide;
    SQLLEN indicator = SQL_DATA_AT_EXEC;
    core.Call("SQLBindParameter", [&] {
        return SQLBindParameter(core.Raw(), 1, SQL_PARAM_INPUT,
                                isWide   ? SQL_C_WCHAR
                                : isText ? SQL_C_CHAR
                                         : SQL_C_BINARY,
                                isWide   ? SQL_WLONGVARCHAR
                                : isText ? SQL_LONGVARCHAR
                                         : SQL_LONGVARBINARY,
                                SQLULEN{longestPlainValue}, 0, &indicator, 0, &indicator);
    });
    writing.BindCondition(1);
    if (writing.Execute() == SQL_NEED_DATA) {
        SendFile(file, core);
    }
}

// Hands the file over piece by piece. A character that a piece cuts in two goes with the next one.
void OdbcLobLocator::SendFile(std::ifstream& file, StatementCore& core) const {
    const bool isWide = FormOf(place->type, core.Traits()) == LongReader::Form::Wide;
    SQLPOINTER which = nullptr;
    core.Call("SQLParamData", [&] { return SQLParamData(core.Raw(), &which); });
    std::vector<char> piece(pieceBytes);
    std::string cut;
    bool isFirst = true;
    for (;;) {
        std::copy(cut.begin(), cut.end(), piece.begin());
        file.read(piece.data() + cut.size(), static_cast<std::streamsize>(piece.size() - cut.size()));
        const std::size_t count = cut.size() + static_cast<std::size_t>(file.gcount());
        cut.clear();
        if (file.bad()) {
            ThrowRefusal("The file can't be read to its end", "58030");
        }
        if (count == 0 && !isFirst) {
            break;
        }
        isFirst = false;
        if (isWide) {
            const std::size_t whole = file.eof() ? count : WholeCharacters({piece.data(), count});
            cut.assign(piece.data() + whole, count - whole);
            WideText wide = ToWide({piece.data(), whole});
            wide.push_back(0);  // so that there is an address
            core.Call("SQLPutData", [&] {
                return SQLPutData(core.Raw(), wide.data(),
                                  static_cast<SQLLEN>((wide.size() - 1) * sizeof(SQLWCHAR)));
            });
        } else {
            core.Call("SQLPutData",
                      [&] { return SQLPutData(core.Raw(), piece.data(), static_cast<SQLLEN>(count)); });
        }
    }
    core.Call("SQLParamData", [&] { return SQLParamData(core.Raw(), &which); });
}

// --- Making ---

TableName BaseTableOf(const ResultSet& result, SQLUSMALLINT ordinal) {
    TableName name;
    name.catalog = ReadColumnText(result.Core().Raw(), ordinal, SQL_DESC_CATALOG_NAME);
    name.schema = ReadColumnText(result.Core().Raw(), ordinal, SQL_DESC_SCHEMA_NAME);
    name.table = ReadColumnText(result.Core().Raw(), ordinal, SQL_DESC_BASE_TABLE_NAME);
    return name;
}

std::string BaseColumnOf(const ResultSet& result, std::size_t column) {
    const std::string name =
        ReadColumnText(result.Core().Raw(), static_cast<SQLUSMALLINT>(column + 1), SQL_DESC_BASE_COLUMN_NAME);
    return name.empty() ? result.Columns()[column].record->name : name;
}

std::string SourceOf(const TableName& name, const ServerTraits& traits) {
    std::string source;
    for (const std::string& part : {name.catalog, name.schema, name.table}) {
        if (!part.empty()) {
            source += (source.empty() ? "" : ".") + QuoteName(part, traits);
        }
    }
    return source;
}

// The columns of the result that are of the table, by their names in it.
std::vector<std::pair<std::string, FindingColumn>> ColumnsOf(const ResultSet& result, const TableName& table,
                                                             bool tableIsBase) {
    std::vector<std::pair<std::string, FindingColumn>> columns;
    for (std::size_t i = 0; i < result.Columns().size(); ++i) {
        const ResultColumn& column = result.Columns()[i];
        const bool isOther =
            tableIsBase && BaseTableOf(result, static_cast<SQLUSMALLINT>(i + 1)).table != table.table;
        if (!isOther && CanFind(column.type)) {
            const std::string name = BaseColumnOf(result, i);
            columns.emplace_back(
                name, FindingColumn{i, QuoteName(name, result.Core().Traits()), column.native, column.type,
                                    column.record->dateTimeFormat});
        }
    }
    return columns;
}

// The columns of the first key that the result has in full.
bool TakeKey(const std::vector<std::vector<std::string>>& keys,
             const std::vector<std::pair<std::string, FindingColumn>>& columns, LobPlace& place) {
    for (const std::vector<std::string>& key : keys) {
        place.columns.clear();
        for (const std::string& wanted : key) {
            const auto found = std::find_if(columns.begin(), columns.end(),
                                            [&](const auto& column) { return column.first == wanted; });
            if (found != columns.end()) {
                place.columns.push_back(found->second);
            }
        }
        if (place.columns.size() == key.size()) {
            return true;
        }
    }
    return false;
}

}  // namespace

qxdb::LobLocator MakeLobLocator(const std::shared_ptr<ResultSet>& result, unsigned int column,
                                const std::string& tableName) {
    if (!result || column >= result->Columns().size() || !result->Columns()[column].IsLob()) {
        return qxdb::LobLocator();
    }
    const ServerTraits& traits = result->Core().Traits();
    TableName table = BaseTableOf(*result, static_cast<SQLUSMALLINT>(column + 1));
    const bool tableIsBase = !table.table.empty();
    auto place = std::make_shared<LobPlace>();
    if (tableIsBase) {
        place->source = SourceOf(table, traits);
        place->table = table.table;
    } else {
        const std::vector<std::string> parts = SplitName(tableName, traits.family);
        if (parts.empty()) {
            return qxdb::LobLocator();
        }
        table.table = parts.back();
        if (parts.size() > 1) {
            (traits.family == Family::MySQL ? table.catalog : table.schema) = parts[parts.size() - 2];
        }
        place->source = tableName;
        place->table = tableName;
    }
    place->column = QuoteName(BaseColumnOf(*result, column), traits);
    place->type = result->Columns()[column].type;
    const auto columns = ColumnsOf(*result, table, tableIsBase);
    place->hasKey = TakeKey(FindKeys(result->Core().GetSession(), table), columns, *place);
    if (!place->hasKey) {
        place->columns.clear();
        for (const auto& entry : columns) {
            place->columns.push_back(entry.second);
        }
    }
    return qxdb::LobLocator(new OdbcLobLocator(std::move(place)));
}

}  // namespace qxdrivers::odbc
