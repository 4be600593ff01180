#include "drivers/sqlite/statement_plan.h"

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "drivers/sqlite/query.h"

namespace qxdrivers::sqlite {

namespace {

bool StartsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

// What the plan says in words: of each table or view in FROM one line, which begins with SCAN or SEARCH.
struct PlanLines {
    int sources = 0;
    bool isCompound = false;
};

PlanLines ReadPlan(Database& database, const std::string& sql) {
    PlanLines found;
    Query plan(database, "EXPLAIN QUERY PLAN " + sql);
    std::set<__int64> branches;  // of one source that is searched by several indexes
    while (plan.Step()) {
        const std::string line = plan.Text(3);
        if (StartsWith(line, "MULTI-INDEX OR")) {
            ++found.sources;
        } else if (StartsWith(line, "INDEX ")) {
            branches.insert(plan.Number(0));
        } else if (StartsWith(line, "SCAN ") || StartsWith(line, "SEARCH ")) {
            found.sources += branches.count(plan.Number(1)) > 0 ? 0 : 1;
        } else if (StartsWith(line, "COMPOUND QUERY") || StartsWith(line, "MERGE (") ||
                   StartsWith(line, "RECURSIVE STEP") || line.find("UNION") != std::string::npos) {
            found.isCompound = true;
        }
    }
    return found;
}

// The table to which a page belongs that a table or index begins with.
class RootPages {
  public:
    explicit RootPages(Database& owner) : database(owner) {}

    std::string TableOf(int databaseNumber, __int64 page) {
        auto known = tables.find(databaseNumber);
        if (known == tables.end()) {
            known = tables.emplace(databaseNumber, Read(databaseNumber)).first;
        }
        return std::to_string(databaseNumber) + "." + known->second[page];
    }

  private:
    std::map<__int64, std::string> Read(int databaseNumber) {
        std::map<__int64, std::string> names;
        if (const char* const schema = sqlite3_db_name(database.Handle(), databaseNumber)) {
            Query pages(database, "SELECT rootpage, tbl_name FROM " + QuoteName(schema) + ".sqlite_schema");
            while (pages.Step()) {
                names[pages.Number(0)] = pages.Text(1);
            }
        }
        return names;
    }

    Database& database;
    std::map<int, std::map<__int64, std::string>> tables;
};

// How many different tables are opened for reading.
int CountTables(Database& database, const std::string& sql) {
    std::set<std::string> tables;
    int virtualTables = 0;
    RootPages pages(database);
    Query program(database, "EXPLAIN " + sql);
    while (program.Step()) {
        const std::string operation = program.Text(1);
        if (operation == "OpenRead" || operation == "ReopenIdx") {
            tables.insert(pages.TableOf(static_cast<int>(program.Number(4)), program.Number(3)));
        } else if (operation == "VOpen") {
            ++virtualTables;
        }
    }
    return static_cast<int>(tables.size()) + virtualTables;
}

}  // namespace

bool ReadsEachTableOnce(Database& database, const std::string& sql) {
    const PlanLines plan = ReadPlan(database, sql);
    return !plan.isCompound && plan.sources > 0 && plan.sources <= CountTables(database, sql);
}

}  // namespace qxdrivers::sqlite
