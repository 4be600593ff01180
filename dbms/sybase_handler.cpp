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

SybaseHandler::SybaseHandler(SQLRequest& owner) : ShowPlanHandler(owner, qxdb::DBTYPE_SYBASE) {}

std::vector<RowUse> SybaseHandler::GetRowUses() {
    std::vector<RowUse> uses = {ShowPlan, TraceOn};
    for (const PlacedOption& last : SybaseLastOptions)
        uses.push_back({last.row, 1});
    return uses;
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

bool SybaseHandler::CanIgnore(const ErrorRecord& record) const {
    return IsIn(IgnoredMessages, record.GetErrorCode());
}

bool SybaseHandler::IsStatisticsMessage(const ErrorRecord& record) {
    return IsIn(StatisticsMessages, record.GetErrorCode());
}

bool SybaseHandler::IsQueryPlanMessage(const ErrorRecord& record) {
    return IsIn(QueryPlanMessages, record.GetErrorCode());
}

void SybaseHandler::OnInformationNotify(const ErrorRecord& record) {
    if (!IsInformation(record))
        return;
    if (KeepBack(record))
        return;
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
    if (KeepBack(record))
        return;
    if (!record.GetErrorDescription().empty())
        ReportMessageAsError(record, record.GetErrorDescription());
}

}  // namespace qxdbsqlengine
