#include "dbms/db2os390_handler.h"

#include <optional>

#include "dbms/explain_pause.h"
#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/plan_number.h"
#include "dbms/string_table.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

constexpr double FirstVersionWithCosts = 6.0;  // of statements, in a table of their own
constexpr std::size_t MissingForCreation = 4;
constexpr int UsualLobStreamSize = 0;

constexpr RowUse ExplainStatement{2688, 2};
constexpr RowUse SelectPlanAndCosts{2695, 1};
constexpr RowUse SelectPlan{2759, 1};
constexpr RowUse CountTable{2746, 2};
constexpr RowUse MissingTables{2801, 1};

struct PlanTable {
    const char* name;
    std::vector<RowUse> text;  // one statement
};
const std::vector<PlanTable>& PlanTables() {
    static const std::vector<PlanTable> tables = {
        {"PLAN_TABLE", {{2747, 1}, {2748, 0}, {2749, 0}, {2750, 0}, {2751, 0}, {2752, 0}, {2753, 0}}},
        {"DSN_STATEMNT_TABLE", {{2754, 1}, {2755, 0}}},
        {"DSN_FUNCTION_TABLE", {{2756, 1}, {2757, 0}, {2758, 0}}},
    };
    return tables;
}
constexpr std::size_t PlanTableIndex = 0;
constexpr std::size_t StatementTableIndex = 1;

}  // namespace

DB2OS390Handler::DB2OS390Handler(SQLRequest& ofRequest) : DBMSHandler(ofRequest, qxdb::DBTYPE_DB2OS390) {}

std::vector<RowUse> DB2OS390Handler::GetRowUses() {
    std::vector<RowUse> uses = {ExplainStatement, SelectPlanAndCosts, SelectPlan, CountTable, MissingTables};
    for (const PlanTable& table : PlanTables())
        uses.insert(uses.end(), table.text.begin(), table.text.end());
    return uses;
}

void DB2OS390Handler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                                 const OptionMap& options) {
    DBMSHandler::PreExecute(connection, defaults, options);
    owner = request.GetUserNameA();
    request.SetLobStreamSize(ReadIntOption(defaults, options, LobStreamSizeOption, UsualLobStreamSize));
    if (request.GetDoExplainPlan())
        CreateExplainPlanTable(connection);
}

void DB2OS390Handler::SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                                 const OptionMap& options) {
    DBMSHandler::SetOptions(connection, defaults, options);
    if (const std::optional<int> rows = FindIntOption(options, DB2MaxRowCountOption))
        request.SetMaxRowCount(*rows);
}

void DB2OS390Handler::ExecuteCommand(qxdb::Connection& connection, const std::string& text,
                                     ResultSetType type) {
    StoreCommandResults(connection, text, type);
}

// The table of functions is not looked for: the plan is shown without it.
bool DB2OS390Handler::CreateExplainPlanTable(qxdb::Connection& connection) {
    std::vector<std::size_t> wanted = {PlanTableIndex};
    if (connection.GetServerVersionNumber() >= FirstVersionWithCosts)
        wanted.push_back(StatementTableIndex);
    std::vector<std::string> missing;
    for (const std::size_t index : wanted) {
        const std::string name = PlanTables()[index].name;
        if (GetIntQueryResults(connection, owner, name, CountTable.row) == 0)
            missing.push_back(name);
    }
    if (missing.empty())
        return true;
    if (missing.size() >= MissingForCreation) {
        CreateTables(connection, missing);
        return true;
    }
    TellMissing(missing);
    return false;
}

void DB2OS390Handler::CreateTables(qxdb::Connection& connection, const std::vector<std::string>& names) {
    for (const PlanTable& table : PlanTables()) {
        for (const std::string& name : names) {
            if (name != table.name)
                continue;
            std::string text;
            for (const RowUse& part : table.text) {
                text += part.arguments == 0 ? ResourceLoader::LoadString(part.row)
                                            : GetResultsFromStrOption(part.row, owner, "");
            }
            ExecuteCommand(connection, text, ResultSetNormal);
        }
    }
}

void DB2OS390Handler::TellMissing(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    request.NotifyMessage(GetResultsFromStrOption(MissingTables.row, list, ""), OutputMessageWarning);
}

std::string DB2OS390Handler::NewQueryNumber() {
    return NextPlanNumber();
}

void DB2OS390Handler::PreExecuteBatch(qxdb::Connection& connection) {
    DBMSHandler::PreExecuteBatch(connection);
    if (!request.GetDoExplainPlan())
        return;
    queryNumber = NewQueryNumber();
    ReplaceSQL(GetResultsFromStrOption(ExplainStatement.row, queryNumber, request.GetSQL()));
}

void DB2OS390Handler::PostExecuteBatch(qxdb::Connection& connection) {
    if (request.GetDoExplainPlan()) {
        const ExplainPause pause(request);
        const bool hasCosts = connection.GetServerVersionNumber() >= FirstVersionWithCosts;
        const RowUse plan = hasCosts ? SelectPlanAndCosts : SelectPlan;
        ExecuteCommand(connection, GetResultsFromStrOption(plan.row, queryNumber, ""), ResultSetExplainPlan);
    }
    DBMSHandler::PostExecuteBatch(connection);
}

}  // namespace qxdbsqlengine
