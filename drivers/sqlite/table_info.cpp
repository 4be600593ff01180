#include "drivers/sqlite/table_info.h"

#include <sqlite3.h>

#include <algorithm>

#include "drivers/sqlite/query.h"
#include "platform/qxsplt/errors.h"

namespace qxdrivers::sqlite {

namespace {

// Kinds of columns, as table_xinfo numbers them.
constexpr __int64 ordinaryColumn = 0;
constexpr __int64 hiddenColumn = 1;

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& known) {
        return sqlite3_stricmp(known.c_str(), name.c_str()) == 0;
    });
}

bool IsTable(Database& database, const TableName& name) {
    Query found(database,
                "SELECT 1 FROM " + QuoteName(name.schema) +
                    ".sqlite_schema WHERE type = 'table' AND rootpage > 0 AND name = ? COLLATE NOCASE");
    return found.Add(name.table).Step();
}

// Also gives the primary key, in the order of its declaration.
std::vector<std::string> TakeColumns(Database& database, const TableName& name, TableInfo& info) {
    std::vector<std::pair<__int64, std::string>> primary;
    Query columns(database, "SELECT name, pk, hidden FROM pragma_table_xinfo(?, ?) ORDER BY cid");
    columns.Add(name.table).Add(name.schema);
    while (columns.Step()) {
        const __int64 kind = columns.Number(2);
        if (kind == ordinaryColumn) {
            info.columns.push_back(columns.Text(0));
        } else if (kind != hiddenColumn) {
            info.generated.push_back(columns.Text(0));
        }
        if (columns.Number(1) > 0) {
            primary.emplace_back(columns.Number(1), columns.Text(0));
        }
    }
    std::sort(primary.begin(), primary.end());
    std::vector<std::string> key;
    for (const auto& column : primary) {
        key.push_back(column.second);
    }
    return key;
}

// The row number has three names, each of which a column may take away.
void TakeRowNumber(Database& database, const TableName& name, TableInfo& info) {
    for (const char* const candidate : {"rowid", "_rowid_", "oid"}) {
        if (Contains(info.columns, candidate) || Contains(info.generated, candidate)) {
            continue;
        }
        const std::string sql = std::string("SELECT ") + candidate + " FROM " + name.Quoted();
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(database.Handle(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            return;  // WITHOUT ROWID
        }
        const char* const origin = sqlite3_column_origin_name(statement, 0);
        const std::string known = origin ? origin : "";
        sqlite3_finalize(statement);
        info.rowNumber = candidate;
        if (Contains(info.columns, known)) {
            // "rowid" of a table with a column of that name, which is another one, is no alias.
            info.rowNumberColumn = sqlite3_stricmp(known.c_str(), "rowid") == 0 ? std::string() : known;
        }
        if (!info.rowNumberColumn.empty()) {
            info.keys.push_back({info.rowNumberColumn});
        } else if (!Contains(info.columns, "rowid") && !Contains(info.generated, "rowid")) {
            info.keys.push_back({"rowid"});
        }
        return;
    }
}

void TakeUniqueIndexes(Database& database, const TableName& name, TableInfo& info) {
    // An index of an expression has a column without a name. One of some rows only finds no others.
    Query columns(database,
                  "SELECT l.seq, i.name FROM pragma_index_list(?1, ?2) l, pragma_index_info(l.name, ?2) i "
                  "WHERE l.\"unique\" AND NOT l.partial AND l.origin <> 'pk' ORDER BY l.seq, i.seqno");
    columns.Add(name.table).Add(name.schema);
    __int64 last = -1;
    std::vector<std::vector<std::string>> found;
    std::vector<bool> hasExpression;
    while (columns.Step()) {
        if (columns.Number(0) != last) {
            last = columns.Number(0);
            found.emplace_back();
            hasExpression.push_back(false);
        }
        hasExpression.back() = hasExpression.back() || columns.IsNull(1);
        found.back().push_back(columns.Text(1));
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!hasExpression[i]) {
            info.keys.push_back(std::move(found[i]));
        }
    }
}

bool HasRow(Database& database, const std::string& sql, const TableName& name) {
    return Query(database, sql).Add(name.table).Step();
}

}  // namespace

ColumnOrigin OriginOf(sqlite3_stmt* statement, int column) {
    const char* const schema = sqlite3_column_database_name(statement, column);
    const char* const table = sqlite3_column_table_name(statement, column);
    const char* const name = sqlite3_column_origin_name(statement, column);
    if (!schema || !table || !name) {
        return ColumnOrigin();
    }
    return {{schema, table}, name};
}

std::string TableName::Quoted() const {
    return QuoteName(schema) + "." + QuoteName(table);
}

bool TableInfo::IsKeyColumn(const std::string& column) const {
    return std::any_of(keys.begin(), keys.end(),
                       [&](const std::vector<std::string>& key) { return Contains(key, column); });
}

std::optional<TableInfo> FindTable(Database& database, const TableName& name) {
    if (name.table.empty() || !IsTable(database, name)) {
        return std::nullopt;
    }
    TableInfo info;
    std::vector<std::string> primary = TakeColumns(database, name, info);
    TakeRowNumber(database, name, info);
    if (!primary.empty()) {
        info.keys.push_back(std::move(primary));
    }
    TakeUniqueIndexes(database, name, info);
    return info;
}

bool IsColumnWatched(Database& database, const TableName& name, const std::string& column) {
    // Columns of expressions have no name. A CHECK is only known by its word, so a column of that name
    // counts.
    const std::string schema = QuoteName(name.schema);
    Query indexed(database,
                  "SELECT 1 FROM pragma_index_list(?1, ?2) l, pragma_index_xinfo(l.name, ?2) i "
                  "WHERE i.cid = -2 OR i.name = ?3 COLLATE NOCASE OR l.partial");
    indexed.Add(name.table).Add(name.schema).Add(column);
    Query referencing(database,
                      "SELECT 1 FROM pragma_foreign_key_list(?, ?) WHERE \"from\" = ? COLLATE NOCASE");
    referencing.Add(name.table).Add(name.schema).Add(column);
    return indexed.Step() || referencing.Step() ||
           HasRow(database,
                  "SELECT 1 FROM " + schema +
                      ".sqlite_schema WHERE tbl_name = ?1 COLLATE NOCASE AND (type = 'trigger' OR type = "
                      "'table' AND sql LIKE '%check%')",
                  name) ||
           HasRow(database,
                  "SELECT 1 FROM sqlite_temp_schema WHERE type = 'trigger' AND tbl_name = ?1 COLLATE NOCASE",
                  name);
}

}  // namespace qxdrivers::sqlite
