#include "dbms/show_plan_handler.h"

#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

constexpr int UsualLobStreamSize = 0;

}  // namespace

ShowPlanHandler::ShowPlanHandler(SQLRequest& owner, qxdb::DBTYPE type) : DBMSHandler(owner, type) {}

void ShowPlanHandler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                                 const OptionMap& options) {
    request.SetLobStreamSize(ReadIntOption(defaults, options, LobStreamSizeOption, UsualLobStreamSize));
    DBMSHandler::PreExecute(connection, defaults, options);
    if (request.GetDoExplainPlan())
        BeginExplainPlanMode(connection);
}

void ShowPlanHandler::PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                                  const OptionMap& options) {
    if (request.GetDoExplainPlan())
        EndExplainPlanMode(connection);
    DBMSHandler::PostExecute(connection, defaults, options);
}

void ShowPlanHandler::BeginExplainPlanMode(qxdb::Connection& connection) {
    SwitchExplainPlanMode(connection, true);
}

void ShowPlanHandler::EndExplainPlanMode(qxdb::Connection& connection) {
    SwitchExplainPlanMode(connection, false);
}

int ShowPlanHandler::HandleNotify(const ErrorRecord& record) {
    if (CanIgnore(record) || KeepBack(record))
        return 1;
    try {
        OnInformationNotify(record);
        OnErrorNotify(record);
    } catch (const CancelledException&) {
        // The driver that called has nothing to do with it; the run finds out by itself.
    }
    return 1;
}

bool ShowPlanHandler::KeepBack(const ErrorRecord& record) {
    if (cacheMessages)
        cachedMessages.push(record);
    return cacheMessages;
}

}  // namespace qxdbsqlengine
