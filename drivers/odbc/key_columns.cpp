#include "drivers/odbc/key_columns.h"

#include <map>

#include "drivers/odbc/catalog_text.h"

namespace qxdrivers::odbc {

namespace {

// The names as the catalog functions take them.
class WideName {
  public:
    explicit WideName(const TableName& name)
        : catalog(name.catalog), schema(name.schema), table(name.table) {}

    SQLRETURN PrimaryKeys(SQLHSTMT statement) {
        return SQLPrimaryKeysW(statement, catalog.Text(), catalog.Length(), schema.Text(), schema.Length(),
                               table.Text(), table.Length());
    }
    SQLRETURN UniqueIndexes(SQLHSTMT statement) {
        return SQLStatisticsW(statement, catalog.Text(), catalog.Length(), schema.Text(), schema.Length(),
                              table.Text(), table.Length(), SQL_INDEX_UNIQUE, SQL_QUICK);
    }

  private:
    CatalogName catalog;
    CatalogName schema;
    CatalogName table;
};

std::vector<std::string> ReadPrimaryKey(Session& session, WideName& name) {
    constexpr SQLUSMALLINT columnName = 4;
    const StatementHandle statement(session.Raw());
    std::vector<std::string> columns;
    if (SQL_SUCCEEDED(name.PrimaryKeys(statement.Raw()))) {
        while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
            columns.push_back(ReadCatalogText(statement.Raw(), columnName).value_or(""));
        }
    }
    return columns;
}

std::map<std::string, std::vector<std::string>> ReadUniqueIndexes(Session& session, WideName& name) {
    constexpr SQLUSMALLINT indexName = 6;
    constexpr SQLUSMALLINT columnName = 9;
    const StatementHandle statement(session.Raw());
    std::map<std::string, std::vector<std::string>> indexes;
    if (SQL_SUCCEEDED(name.UniqueIndexes(statement.Raw()))) {
        while (SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
            const std::optional<std::string> index = ReadCatalogText(statement.Raw(), indexName);
            const std::optional<std::string> column = ReadCatalogText(statement.Raw(), columnName);
            if (index && column) {  // a row without them tells of the table
                indexes[*index].push_back(*column);
            }
        }
    }
    return indexes;
}

}  // namespace

std::vector<std::vector<std::string>> FindKeys(Session& session, const TableName& table) {
    WideName name(table);
    std::vector<std::vector<std::string>> keys;
    const std::vector<std::string> primary = ReadPrimaryKey(session, name);
    if (!primary.empty()) {
        keys.push_back(primary);
    }
    for (auto& [index, columns] : ReadUniqueIndexes(session, name)) {
        keys.push_back(std::move(columns));
    }
    return keys;
}

}  // namespace qxdrivers::odbc
