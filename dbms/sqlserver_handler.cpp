#include "dbms/sqlserver_handler.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/server_messages.h"
#include "dbms/sql_batch.h"
#include "dbms/string_table.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

constexpr double FirstVersionWithShowPlanAll = 7.0;

constexpr RowUse ShowPlanBelow7{149, 1};
constexpr RowUse ShowPlan{2684, 1};
constexpr RowUse AnsiDefaults{SQLServerAnsiDefaults.row, 1};
constexpr RowUse Isolations[] = {{2654, 0}, {2655, 0}, {2656, 0}, {2657, 0}};

// Changes of database and language, which every login and every USE bring about; nulls that an aggregate left
// out; reports that found no rows.
constexpr CodeRange IgnoredMessages[] = {{5701, 5701}, {5703, 5703}, {8153, 8153}, {15330, 15330}};
constexpr CodeRange StatisticsMessages[] = {{3612, 3613}, {3615, 3615}};

// States of this class are syntax errors and refused access.
constexpr const char* SyntaxClass = "42";
constexpr std::size_t StateTailLength = 7;  // "(42000)"

bool IsAsciiAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool HasStateTail(const std::string& text) {
    return text.size() >= StateTailLength && text.back() == ')' && text[text.size() - StateTailLength] == '(';
}

// A bare state at the very end, or one that is followed by a comma: "(42000,102)", perhaps with something
// else in parentheses behind it.
bool HasSyntaxState(const std::string& text) {
    if (HasStateTail(text)) {
        const std::string state = text.substr(text.size() - StateTailLength + 1, StateTailLength - 2);
        if (state.compare(0, 2, SyntaxClass) == 0 &&
            std::all_of(state.begin(), state.end(), IsAsciiAlphanumeric))
            return true;
    }
    const std::size_t comma = text.rfind(',');
    std::size_t open = text.rfind('(');
    if (comma == std::string::npos || open == std::string::npos)
        return false;
    if (open > comma)
        open = open == 0 ? std::string::npos : text.rfind('(', open - 1);
    return open != std::string::npos && text.compare(open + 1, 2, SyntaxClass) == 0;
}

}  // namespace

SQLServerHandler::SQLServerHandler(SQLRequest& owner) : ShowPlanHandler(owner, qxdb::DBTYPE_SQLSERVER) {}

std::vector<RowUse> SQLServerHandler::GetRowUses() {
    std::vector<RowUse> uses = {ShowPlanBelow7, ShowPlan, AnsiDefaults};
    uses.insert(uses.end(), std::begin(Isolations), std::end(Isolations));
    return uses;
}

void SQLServerHandler::SwitchExplainPlanMode(qxdb::Connection& connection, bool on) {
    const bool isOld = connection.GetServerVersionNumber() < FirstVersionWithShowPlanAll;
    const RowUse mode = isOld ? ShowPlanBelow7 : ShowPlan;
    ExecuteCommand(connection, GetResultsFromBoolOption(on, mode.row), ResultSetNormal);
}

void SQLServerHandler::ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) {
    SqlBatch batch;
    // Ahead of the others: it changes several of them.
    if (const std::optional<bool> ansi = FindBoolOption(options, SQLServerAnsiDefaults.option))
        batch.Add(GetResultsFromBoolOption(*ansi, AnsiDefaults.row));
    for (const auto& option : options)
        batch.Add(GetQueryString(static_cast<int>(option.first), options));
    const std::optional<int> isolation = FindIntOption(options, SQLServerIsolationOption);
    if (isolation && *isolation < static_cast<int>(std::size(Isolations)))
        batch.Add(GetResultsFromIntComboOption(*isolation, Isolations[0].row));
    if (!batch.GetText().empty())
        ExecuteCommand(connection, batch.GetText(), ResultSetNormal);
}

std::string SQLServerHandler::GetResultsFromIntComboOption(int index, int baseStringId) {
    return GetChoiceText(baseStringId, index);
}

// Messages.

bool SQLServerHandler::CanIgnore(const ErrorRecord& record) const {
    return IsIn(IgnoredMessages, record.GetErrorCode());
}

bool SQLServerHandler::IsStatisticsMessage(const ErrorRecord& record) {
    return IsIn(StatisticsMessages, record.GetErrorCode());
}

void SQLServerHandler::OnInformationNotify(const ErrorRecord& record) {
    if (!IsInformation(record) || record.GetErrorDescription().empty())
        return;
    if (HasSyntaxState(record.GetErrorDescription())) {
        // An error that the way to here made a warning of.
        OnErrorNotify(ErrorRecord(ErrorSeverity, record.GetErrorCode(), record.GetLineNumber(),
                                  record.GetErrorPosition(), record.GetErrorDescription(),
                                  record.GetSQLState(), record.GetUserData()));
        return;
    }
    if (KeepBack(record))
        return;
    const std::string text = StripUnwantInfo(record.GetErrorDescription());
    // Texts without a code are the output of the statement itself.
    if (record.GetErrorCode() != 0 && !IsStatisticsMessage(record)) {
        for (const std::string& line : NonEmptyLines(text))
            request.NotifyMessage(line, OutputMessageServer);
    }
    SaveNotifyMessage(text);
}

void SQLServerHandler::OnErrorNotify(const ErrorRecord& record) {
    if (IsInformation(record))
        return;
    if (KeepBack(record))
        return;
    if (!record.GetErrorDescription().empty())
        ReportMessageAsError(record, StripUnwantInfo(record.GetErrorDescription()));
}

// "[vendor][driver][server]text (state)" without what stands around the server's own text. Fewer than three
// prefixes may be part of it.
std::string SQLServerHandler::StripUnwantInfo(const std::string& text) {
    constexpr int prefixCount = 3;
    std::string own = text;
    if (!own.empty() && own.front() == '[') {
        std::size_t end = 0;
        for (int i = 0; i < prefixCount && end != std::string::npos; ++i)
            end = own.find(']', end + 1);
        if (end != std::string::npos)
            own.erase(0, end + 1);
    }
    if (HasStateTail(own))
        own.erase(own.size() - StateTailLength);
    return own;
}

}  // namespace qxdbsqlengine
