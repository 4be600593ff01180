#include "drivers/odbc/procedure.h"

#include <algorithm>
#include <cctype>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/sql_scan.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::DataType;

// Columns of the catalog's results, from 1.
enum ColumnNumber : SQLUSMALLINT {
    ColumnCatalog = 1,
    ColumnSchema = 2,
    ColumnProcedure = 3,
    ColumnName = 4,
    ColumnType = 5,
    ColumnDataType = 6,
    ColumnTypeName = 7,
    ColumnSize = 8,
    ColumnDigits = 10,
    ColumnOrdinal = 18,
    ProcedureType = 8  // of the list of procedures
};

struct NameParts {
    std::string catalog;
    std::string schema;
    std::string procedure;
};

NameParts PartsOf(Session& session, const std::string& name) {
    std::vector<std::string> parts = SplitName(name, session.Traits().family);
    NameParts result;
    if (parts.empty()) {
        return result;
    }
    result.procedure = parts.back();
    parts.pop_back();
    const bool isMySql = session.Traits().family == Family::MySQL;
    if (!parts.empty()) {
        (isMySql ? result.catalog : result.schema) = parts.back();
        parts.pop_back();
    } else if (isMySql) {
        result.catalog = session.CurrentDatabase();
    }
    if (!parts.empty()) {
        result.catalog = parts.back();
    }
    return result;
}

// One row of the catalog.
struct CatalogRow {
    std::string owner;  // catalog and schema
    std::string procedure;
    SQLSMALLINT columnType = SQL_PARAM_TYPE_UNKNOWN;
    __int64 ordinal = 0;
    ProcedureParameter parameter;
};

CatalogRow ReadRow(SQLHSTMT statement) {
    CatalogRow row;
    const std::string catalog = ReadCatalogText(statement, ColumnCatalog).value_or("");
    row.owner = catalog + '\n' + ReadCatalogText(statement, ColumnSchema).value_or("");
    row.procedure = ReadCatalogText(statement, ColumnProcedure).value_or("");
    row.parameter.name = ReadCatalogText(statement, ColumnName).value_or("");
    row.columnType =
        static_cast<SQLSMALLINT>(ReadCatalogNumber(statement, ColumnType, SQL_PARAM_TYPE_UNKNOWN));
    NativeType& native = row.parameter.native;
    native.sqlType = static_cast<SQLSMALLINT>(ReadCatalogNumber(statement, ColumnDataType, SQL_UNKNOWN_TYPE));
    native.typeName = ReadCatalogText(statement, ColumnTypeName).value_or("");
    native.size = static_cast<SQLULEN>(std::max<__int64>(ReadCatalogNumber(statement, ColumnSize, 0), 0));
    native.isUnsigned = native.typeName.find("unsigned") != std::string::npos;
    native.digits = static_cast<SQLSMALLINT>(ReadCatalogNumber(statement, ColumnDigits, 0));
    row.ordinal = ReadCatalogNumber(statement, ColumnOrdinal, 0);
    return row;
}

// The name is a pattern to the catalog, and "_" matches any character there. Case counts for nothing where
// the catalog has looked it over already: calls out of scripts come in capitals.
bool IsNamed(const std::string& found, const std::string& wanted, Family family) {
    if (family != Family::MySQL && family != Family::SQLServer) {
        return found == wanted;
    }
    return found.size() == wanted.size() &&
           std::equal(found.begin(), found.end(), wanted.begin(), [](unsigned char a, unsigned char b) {
               return (a >= 0x80 && b >= 0x80) || std::tolower(a) == std::tolower(b);
           });
}

std::vector<CatalogRow> ReadCatalog(Session& session, const NameParts& name) {
    const StatementHandle statement(session.Raw());
    CatalogName catalog(name.catalog);
    CatalogName schema(name.schema);
    CatalogName procedure(name.procedure);
    const SQLRETURN code =
        SQLProcedureColumnsW(statement.Raw(), catalog.Text(), catalog.Length(), schema.Text(),
                             schema.Length(), procedure.Text(), procedure.Length(), nullptr, 0);
    if (!SQL_SUCCEEDED(code)) {
        throw ReadErrors({SQL_HANDLE_STMT, statement.Raw()}, "SQLProcedureColumns",
                         {session.Traits().family, nullptr});
    }
    std::vector<CatalogRow> rows;
    while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
        CatalogRow row = ReadRow(statement.Raw());
        if (IsNamed(row.procedure, name.procedure, session.Traits().family)) {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

// What MySQL's driver leaves out of the catalog: signs and the digits of a second. `type` is as declared,
// such as "int(10) unsigned" or "datetime(3)".
void TakeDeclaredType(const std::string& type, NativeType& native) {
    native.isUnsigned = type.find("unsigned") != std::string::npos;
    if (native.sqlType == SQL_TYPE_TIMESTAMP || native.sqlType == SQL_TYPE_TIME) {
        const std::size_t open = type.find('(');
        native.digits =
            open == std::string::npos ? SQLSMALLINT{0} : static_cast<SQLSMALLINT>(type[open + 1] - '0');
    }
}

// Servers that don't tell leave the parameters as the driver told them.
void TakeDeclaredTypes(Session& session, const NameParts& name, std::vector<CatalogRow>& rows) {
    if (session.Traits().family != Family::MySQL || rows.empty()) {
        return;
    }
    const StatementHandle statement(session.Raw());
    const std::string sql =
        "SELECT ORDINAL_POSITION, COALESCE(PARAMETER_NAME, ''), DTD_IDENTIFIER FROM "
        "INFORMATION_SCHEMA.PARAMETERS "
        "WHERE SPECIFIC_SCHEMA = " +
        QuoteLiteral(name.catalog, session.Traits()) +
        " AND SPECIFIC_NAME = " + QuoteLiteral(name.procedure, session.Traits());
    if (!SQL_SUCCEEDED(ExecuteText(statement.Raw(), sql))) {
        return;
    }
    while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
        const __int64 ordinal = ReadCatalogNumber(statement.Raw(), 1, -1);
        const std::string parameter = ReadCatalogText(statement.Raw(), 2).value_or("");
        const std::string type = ReadCatalogText(statement.Raw(), 3).value_or("");
        for (CatalogRow& row : rows) {
            if (row.ordinal == ordinal && row.parameter.name == parameter) {
                TakeDeclaredType(type, row.parameter.native);
            }
        }
    }
}

bool AddParameter(const CatalogRow& row, ProcedureInfo& info) {
    ProcedureParameter parameter = row.parameter;
    switch (row.columnType) {
        case SQL_PARAM_OUTPUT:
            parameter.direction = DataType::DirectionOut;
            break;
        case SQL_PARAM_INPUT_OUTPUT:
            parameter.direction = DataType::DirectionInOut;
            break;
        case SQL_RETURN_VALUE:
            parameter.direction = DataType::DirectionOut;
            parameter.isReturnValue = true;
            parameter.name = parameter.name.empty() ? "RETURN_VALUE" : parameter.name;
            info.parameters.insert(info.parameters.begin(), parameter);
            return true;
        case SQL_RESULT_COL:
            info.returnsRows = true;
            return false;
        default:
            break;
    }
    info.parameters.push_back(parameter);
    return true;
}

// The catalog gives the parameters of all procedures of the name in one list; each starts at the first
// ordinal again.
std::vector<ProcedureInfo> Group(const std::vector<CatalogRow>& rows) {
    std::vector<ProcedureInfo> procedures;
    const CatalogRow* previous = nullptr;
    for (const CatalogRow& row : rows) {
        const bool isResult = row.columnType == SQL_RESULT_COL;
        if (!previous || previous->owner != row.owner || (!isResult && row.ordinal <= previous->ordinal)) {
            procedures.emplace_back();
            procedures.back().found = true;
        }
        AddParameter(row, procedures.back());
        if (!isResult || !previous) {
            previous = &row;
        }
    }
    return procedures;
}

// The caller may count the return value among the parameters, or not: what fits without it comes first.
ProcedureInfo Select(const std::vector<ProcedureInfo>& procedures, unsigned int parameterCount) {
    for (const bool countsReturnValue : {false, true}) {
        const auto fits = [&](const ProcedureInfo& candidate) {
            const auto count = static_cast<unsigned int>(candidate.parameters.size());
            const bool returns = count > 0 && candidate.parameters.front().isReturnValue;
            return count == parameterCount + (returns && !countsReturnValue ? 1 : 0);
        };
        const auto match = std::find_if(procedures.begin(), procedures.end(), fits);
        if (match != procedures.end()) {
            return *match;
        }
    }
    return procedures.front();
}

bool ReturnsValue(const ProcedureInfo& info) {
    return !info.parameters.empty() && info.parameters.front().isReturnValue;
}

// Of a procedure without parameters the catalog of columns knows nothing. Found is the one of the kind that
// is wanted, or else the first.
bool IsListed(Session& session, const NameParts& name, bool wantsFunction, bool& isFunction) {
    const StatementHandle statement(session.Raw());
    CatalogName catalog(name.catalog);
    CatalogName schema(name.schema);
    CatalogName procedure(name.procedure);
    const SQLRETURN code = SQLProceduresW(statement.Raw(), catalog.Text(), catalog.Length(), schema.Text(),
                                          schema.Length(), procedure.Text(), procedure.Length());
    if (!SQL_SUCCEEDED(code)) {
        return false;
    }
    bool isListed = false;
    while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
        const std::string found = ReadCatalogText(statement.Raw(), ColumnProcedure).value_or("");
        if (!IsNamed(found, name.procedure, session.Traits().family)) {
            continue;
        }
        const bool isOne =
            ReadCatalogNumber(statement.Raw(), ProcedureType, SQL_PT_UNKNOWN) == SQL_PT_FUNCTION;
        if (!isListed || isOne == wantsFunction) {
            isFunction = isOne;
        }
        isListed = true;
    }
    return isListed;
}

// PostgreSQL's driver calls all of them functions; servers before 11 have nothing else.
bool IsPostgresProcedure(Session& session, const NameParts& name) {
    const ServerTraits& traits = session.Traits();
    if (traits.version < 11) {
        return false;
    }
    std::string sql =
        "SELECT 1 FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace "
        "WHERE p.prokind = 'p' AND p.proname = " +
        QuoteLiteral(name.procedure, traits);
    if (!name.schema.empty()) {
        sql += " AND n.nspname = " + QuoteLiteral(name.schema, traits);
    }
    const StatementHandle statement(session.Raw());
    return SQL_SUCCEEDED(ExecuteText(statement.Raw(), sql)) && SQL_SUCCEEDED(SQLFetch(statement.Raw()));
}

ProcedureInfo Describe(Session& session, const NameParts& parts, bool wantsFunction,
                       unsigned int parameterCount) {
    std::vector<CatalogRow> rows = ReadCatalog(session, parts);
    TakeDeclaredTypes(session, parts, rows);
    std::vector<ProcedureInfo> procedures = Group(rows);
    bool isFunction = false;
    const bool isListed = IsListed(session, parts, wantsFunction, isFunction);
    if (isListed && session.Traits().family == Family::MySQL) {
        procedures.erase(
            std::remove_if(procedures.begin(), procedures.end(),
                           [&](const ProcedureInfo& one) { return ReturnsValue(one) != isFunction; }),
            procedures.end());
    }
    ProcedureInfo info;
    if (!procedures.empty()) {
        info = Select(procedures, parameterCount);
    }
    info.found = info.found || isListed;
    info.isFunction = isListed ? isFunction : ReturnsValue(info);
    if (session.Traits().family == Family::PostgreSQL) {
        info.isFunction = info.found && !IsPostgresProcedure(session, parts);
    }
    return info;
}

// MySQL databases of that name in other letters.
std::vector<std::string> DatabasesInOtherCase(Session& session, const std::string& name) {
    const StatementHandle statement(session.Raw());
    const std::string literal = QuoteLiteral(name, session.Traits());
    const std::string sql =
        "SELECT SCHEMA_NAME FROM INFORMATION_SCHEMA.SCHEMATA WHERE LOWER(SCHEMA_NAME) = LOWER(" + literal +
        ") AND BINARY SCHEMA_NAME <> " + literal;
    std::vector<std::string> found;
    if (SQL_SUCCEEDED(ExecuteText(statement.Raw(), sql))) {
        while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
            found.push_back(ReadCatalogText(statement.Raw(), 1).value_or(""));
        }
    }
    return found;
}

}  // namespace

ProcedureInfo FindProcedure(Session& session, const std::string& name, bool wantsFunction,
                            unsigned int parameterCount) {
    NameParts parts = PartsOf(session, name);
    if (parts.procedure.empty()) {
        return ProcedureInfo();
    }
    ProcedureInfo info = Describe(session, parts, wantsFunction, parameterCount);
    const ServerTraits& traits = session.Traits();
    if (info.found || traits.family != Family::MySQL || SplitName(name, traits.family).size() < 2) {
        return info;
    }
    // Which of several is meant nobody can tell: the server refuses the name as it stands.
    const std::vector<std::string> databases = DatabasesInOtherCase(session, parts.catalog);
    if (databases.size() == 1) {
        parts.catalog = databases.front();
        info = Describe(session, parts, wantsFunction, parameterCount);
        info.callName = QuoteName(parts.catalog, traits) + "." + QuoteName(parts.procedure, traits);
    }
    return info;
}

}  // namespace qxdrivers::odbc
