#include "drivers/sqlite/lob_locator.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "drivers/sqlite/connection.h"
#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/lob_transfer.h"
#include "drivers/sqlite/row_condition.h"
#include "drivers/sqlite/statement_plan.h"
#include "drivers/sqlite/table_info.h"

namespace qxdrivers::sqlite {

namespace {

class SQLiteLobLocator final : public qxdb::LobLocatorImp {
  public:
    explicit SQLiteLobLocator(std::shared_ptr<const LobPlace> where) : place(std::move(where)) {}

    std::unique_ptr<qxdb::LobLocatorImp> Clone() const override {
        return std::make_unique<SQLiteLobLocator>(*this);
    }
    // The cells of the row are what finds it.
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool) const override { return place->refusal.empty(); }
    bool IsReadOnly() const override { return !place->refusal.empty() || !place->readOnly.empty(); }
    bool EditAsClob() const override { return !place->binary; }
    std::string TableName() const override { return place->table.table; }
    void SetAsXMLType() override {}

    void Import(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override {
        RequireValid();
        if (!place->readOnly.empty()) {
            ThrowRefusal("The large object is read-only: " + place->readOnly, "25006");
        }
        ImportLob(*place, *DatabaseOf(connection), rowValues, fileName);
    }
    void Export(const std::string& fileName, qxdb::Connection& connection,
                std::list<std::string>* rowValues) override {
        RequireValid();
        ExportLob(*place, *DatabaseOf(connection), rowValues, fileName);
    }

  private:
    void RequireValid() const {
        if (!place->refusal.empty()) {
            ThrowRefusal(place->refusal, "HY000");
        }
    }

    std::shared_ptr<const LobPlace> place;
};

// The columns of the result that are of the table.
std::vector<FindingColumn> ColumnsOf(const Run& run, const TableName& table) {
    std::vector<FindingColumn> columns;
    for (std::size_t i = 0; i < run.Columns().size(); ++i) {
        const ResultColumn& column = run.Columns()[i];
        const ColumnOrigin origin = OriginOf(run.Raw(), static_cast<int>(i));
        if (origin.table == table && CanFind(column.type.type)) {
            columns.push_back({i, origin.column, column.type.type, column.record->dateTimeFormat});
        }
    }
    return columns;
}

// The columns of the first key that the result has in full.
bool TakeKey(const TableInfo& info, const std::vector<FindingColumn>& columns, LobPlace& place) {
    for (const std::vector<std::string>& key : info.keys) {
        place.columns.clear();
        for (const std::string& wanted : key) {
            const auto found = std::find_if(columns.begin(), columns.end(), [&](const FindingColumn& column) {
                return sqlite3_stricmp(column.name.c_str(), wanted.c_str()) == 0;
            });
            if (found != columns.end()) {
                place.columns.push_back(*found);
            }
        }
        if (place.columns.size() == key.size()) {
            return true;
        }
    }
    return false;
}

void FindRowColumns(Database& database, const Run& run, LobPlace& place) {
    const std::string& table = place.table.table;
    if (table.empty()) {
        place.refusal = "The large object is the value of an expression, and of no column";
        return;
    }
    const std::optional<TableInfo> info = FindTable(database, place.table);
    if (!info) {
        place.refusal = table + " is no table of the database's own, whose values could be found again";
        return;
    }
    const char* const sql = sqlite3_sql(run.Raw());
    if (!sql || !ReadsEachTableOnce(database, sql)) {
        place.refusal = "The row of the large object in " + table +
                        " can't be told: the statement reads a table more than once, or is made of several";
        return;
    }
    const std::vector<FindingColumn> columns = ColumnsOf(run, place.table);
    if (!TakeKey(*info, columns, place)) {
        place.columns = columns;
        place.readOnly = table + " has no key in the result";
    }
    if (place.columns.empty()) {
        place.refusal = "The table " + table + " has no column in the result to find the row by";
    } else if (std::find(info->generated.begin(), info->generated.end(), place.column) !=
               info->generated.end()) {
        place.readOnly = "the column " + place.column + " is computed";
    } else if (sqlite3_db_readonly(database.Handle(), place.table.schema.c_str()) == 1) {
        place.readOnly = "the database is open for reading only";
    }
}

}  // namespace

qxdb::LobLocator MakeLobLocator(Run& run, unsigned int column) {
    if (column >= run.Columns().size() || run.Columns()[column].type.type != qxdb::Column::BindLob) {
        return qxdb::LobLocator();
    }
    auto place = std::make_shared<LobPlace>();
    ColumnOrigin origin = OriginOf(run.Raw(), static_cast<int>(column));
    place->table = std::move(origin.table);
    place->column = std::move(origin.column);
    place->position = column;
    place->binary = run.Columns()[column].type.binary;
    FindRowColumns(run.Compiled().GetDatabase(), run, *place);
    return qxdb::LobLocator(new SQLiteLobLocator(std::move(place)));
}

}  // namespace qxdrivers::sqlite
