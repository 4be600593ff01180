#include "drivers/odbc/lob_locator.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/connection.h"
#include "drivers/odbc/key_columns.h"
#include "drivers/odbc/lob_export.h"
#include "drivers/odbc/lob_import.h"
#include "drivers/odbc/sql_scan.h"

namespace qxdrivers::odbc {

namespace {

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
    const __int64 rows = CountRows(*place, session, condition);
    if (rows != 1) {
        rows == 0 ? ThrowRowGone(*place) : ThrowRowNotAlone(*place, rows - 1);
    }
    return condition;
}

void OdbcLobLocator::Export(const std::string& fileName, qxdb::Connection& connection,
                            std::list<std::string>* rowValues) {
    const std::shared_ptr<Session> session = SessionOf(connection);
    ExportLob(*place, session, FindRow(session, rowValues), fileName);
}

void OdbcLobLocator::Import(const std::string& fileName, qxdb::Connection& connection,
                            std::list<std::string>* rowValues) {
    if (IsReadOnly()) {
        ThrowRefusal("The large object is read-only: " + place->table + " has no key in the result", "25006");
    }
    LobSource source(fileName);
    const std::shared_ptr<Session> session = SessionOf(connection);
    ImportLob(*place, session, FindRow(session, rowValues), source);
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
        if (!isOther && CanFind(column.type, column.record->dateTimeFormat)) {
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
    if (traits.family == Family::MySQL && !table.catalog.empty()) {
        place->database = QuoteName(table.catalog, traits);
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
