#include "dbms/sybase_handler.h"

#include <optional>
#include <string>

#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/server_messages.h"
#include "dbms/sql_batch.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

constexpr int UsualLobStreamSize = 0;
constexpr int MoneyType = 14;
constexpr int SmallMoneyType = 15;
constexpr int MoneyPrecision = 2;

constexpr RowUse ShowPlan{148, 1};
constexpr RowUse TraceOn{2802, 1};

// Changes of database, language and character set, which every login and every USE bring about, and what the
// server says to character sets that do not match.
constexpr CodeRange IgnoredMessages[] = {{2401, 2403}, {2408, 2409}, {2411, 2412},
                                         {2414, 2415}, {5701, 5701}, {5703, 5704}};
constexpr CodeRange StatisticsMessages[] = {{3612, 3615}};
constexpr CodeRange QueryPlanMessages[] = {{1562, 1562},   {3630, 3630},   {6201, 6206},   {6209, 6227},
                                           {6248, 6248},   {6272, 6289},   {6292, 6292},   {9546, 9548},
                                           {10201, 10211}, {10213, 10214}, {10218, 10225}, {10237, 10237},
                                           {10239, 10240}, {10244, 10244}, {10246, 10252}};

}  // namespace

SybaseHandler::SybaseHandler(SQLRequest& owner) : DBMSHandler(owner, qxdb::DBTYPE_SYBASE) {}

std::vector<RowUse> SybaseHandler::GetRowUses() {
    std::vector<RowUse> uses = {ShowPlan, TraceOn};
    for (const PlacedOption& last : SybaseLastOptions)
        uses.push_back({last.row, 1});
    return uses;
}

void SybaseHandler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                               const OptionMap& options) {
    request.SetLobStreamSize(ReadIntOption(defaults, options, LobStreamSizeOption, UsualLobStreamSize));
    DBMSHandler::PreExecute(connection, defaults, options);
    if (request.GetDoExplainPlan())
        BeginExplainPlanMode(connection);
}

void SybaseHandler::PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                                const OptionMap& options) {
    if (request.GetDoExplainPlan())
        EndExplainPlanMode(connection);
    DBMSHandler::PostExecute(connection, defaults, options);
}

void SybaseHandler::BeginExplainPlanMode(qxdb::Connection& connection) {
    SwitchExplainPlanMode(connection, true);
}

void SybaseHandler::EndExplainPlanMode(qxdb::Connection& connection) {
    SwitchExplainPlanMode(connection, false);
}

void SybaseHandler::SwitchExplainPlanMode(qxdb::Connection& connection, bool on) {
    ExecuteCommand(connection, GetResultsFromBoolOption(on, ShowPlan.row), ResultSetNormal);
}

void SybaseHandler::ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) {
    SqlBatch batch;
    for (const auto& option : options)
        batch.Add(GetQueryString(static_cast<int>(option.first), options));
    std::string flags;
    for (const TraceFlagOption& trace : SybaseTraceFlagOptions) {
        if (FindBoolOption(options, trace.option).value_or(false))
            flags += (flags.empty() ? "" : ", ") + std::string(trace.flag);
    }
    if (!flags.empty())
        batch.Add(GetResultsFromStrOption(TraceOn.row, flags, ""));
    for (const PlacedOption& last : SybaseLastOptions) {
        if (const std::optional<bool> value = FindBoolOption(options, last.option))
            batch.Add(GetResultsFromBoolOption(*value, last.row));
    }
    if (!batch.GetText().empty())
        ExecuteCommand(connection, batch.GetText(), ResultSetNormal);
}

void SybaseHandler::FetchColumnProperties(qxdb::Cursor& cursor, int fieldIndex, qxdb::Field& field,
                                          const qxdb::Column& column, ColumnDefinition& definition) {
    DBMSHandler::FetchColumnProperties(cursor, fieldIndex, field, column, definition);
    const int type = column.GetNativeType();
    if (type == MoneyType || type == SmallMoneyType) {
        definition.precision = MoneyPrecision;
        LimitPrecision(definition);
    }
}

// Messages.

bool SybaseHandler::CanIgnore(const ErrorRecord& record) {
    return IsIn(IgnoredMessages, record.GetErrorCode());
}

bool SybaseHandler::IsStatisticsMessage(const ErrorRecord& record) {
    return IsIn(StatisticsMessages, record.GetErrorCode());
}

bool SybaseHandler::IsQueryPlanMessage(const ErrorRecord& record) {
    return IsIn(QueryPlanMessages, record.GetErrorCode());
}

int SybaseHandler::HandleNotify(const ErrorRecord& record) {
    if (CanIgnore(record))
        return 1;
    if (cacheMessages) {
        cachedMessages.push(record);
        return 1;
    }
    try {
        // By severity, only one of them has something to do.
        OnInformationNotify(record);
        OnErrorNotify(record);
    } catch (const CancelledException&) {
        // The driver that called has nothing to do with it; the run finds out by itself.
    }
    return 1;
}

void SybaseHandler::OnInformationNotify(const ErrorRecord& record) {
    if (!IsInformation(record))
        return;
    if (cacheMessages) {
        cachedMessages.push(record);
        return;
    }
    const std::string& text = record.GetErrorDescription();
    if (text.empty())
        return;
    // Texts without a code are the output of the statement itself.
    if (record.GetErrorCode() != 0 && !IsStatisticsMessage(record) && !IsQueryPlanMessage(record)) {
        for (const std::string& line : NonEmptyLines(text))
            request.NotifyMessage(line, OutputMessageServer);
    }
    SaveNotifyMessage(text);
}

void SybaseHandler::OnErrorNotify(const ErrorRecord& record) {
    if (IsInformation(record))
        return;
    if (cacheMessages) {
        cachedMessages.push(record);
        return;
    }
    if (!record.GetErrorDescription().empty())
        ReportMessageAsError(record, record.GetErrorDescription());
}

}  // namespace qxdbsqlengine
