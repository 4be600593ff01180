#include "dbms/oracle_handler.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "dbms/explain_pause.h"
#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/oracle_statement_header.h"
#include "dbms/plan_number.h"
#include "dbms/string_table.h"
#include "platform/qxdb/bind_value.h"
#include "platform/qxutils/string_utils.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "storage/row_lock.h"

namespace qxdbsqlengine {

namespace {

using qxutils::StringUtils;

const std::string EnableOutput = "BEGIN DBMS_OUTPUT.ENABLE; END;";
const std::string EnableOutputBegin = "BEGIN DBMS_OUTPUT.ENABLE(";
const std::string EnableOutputEnd = "); END;";
const std::string DisableOutput = "BEGIN DBMS_OUTPUT.DISABLE; END;";
const std::string GetOutputLine = "BEGIN DBMS_OUTPUT.GET_LINE(:Buffer, :Status); END;";
const std::string PlanTable = "QUILLHAVEN_EXPLAIN_PLAN";

constexpr int OutputLineLength = 255;  // characters
constexpr int LineRead = 0;            // the status of a line that was there
constexpr int NoLine = 1;

constexpr int UsualLobStreamSize = 256;
constexpr int ObjectErrorSeverity = 2;

constexpr RowUse OutputColumnName{133, 0};
constexpr RowUse CreateTableBegin{2636, 1};
constexpr RowUse CreateTableEndBelow9{2637, 0};
constexpr RowUse CreateTableEndBelow101{2940, 0};
constexpr RowUse CreateTableEnd{2941, 0};
constexpr RowUse ProbeTable{2638, 1};
constexpr RowUse ProbeCost{2689, 1};
constexpr RowUse ExplainPrefix{2639, 2};
constexpr RowUse SelectPlan{2641, 2};
constexpr RowUse SelectPlanBelow8{2812, 2};
constexpr RowUse DropTable{2690, 2};
constexpr RowUse SelectUser{2760, 0};
constexpr RowUse DropQuotedTable{2761, 2};
constexpr RowUse TimeBefore{2790, 0};
constexpr RowUse ExecutionInformation{2791, 0};
constexpr RowUse TimeAfter{2792, 0};

// A value between single quotes.
std::string Quoted(const std::string& value) {
    return "'" + StringUtils::StringReplaceAll(value, "'", "''") + "' ";
}

std::string EnableOutputText(const OptionMap& defaults) {
    const int size = FindIntOption(defaults, OracleOutputBufferSizeOption).value_or(0);
    return size == 0 ? EnableOutput : EnableOutputBegin + std::to_string(size) + EnableOutputEnd;
}

std::string ObjectErrorsQuery(const OracleStatementHeader& header) {
    std::string conditions;
    if (!header.GetOwner().empty())
        conditions += "OWNER = " + Quoted(header.GetOwner());
    if (!header.GetName().empty())
        conditions += (conditions.empty() ? "NAME = " : "AND NAME = ") + Quoted(header.GetName());
    conditions += (conditions.empty() ? "TYPE = " : "AND TYPE = ") + Quoted(header.GetType());
    return "SELECT LINE, POSITION, TEXT FROM ALL_ERRORS WHERE " + conditions + "ORDER BY LINE, POSITION";
}

// The server gives an offset in the text, users look for line and column.
ErrorRecord WithLineAndColumn(const ErrorRecord& record, const std::string& sql) {
    if (record.GetErrorPosition() < 0)
        return record;
    const auto offset = static_cast<std::size_t>(record.GetErrorPosition());
    int line = 1;
    std::size_t lineStart = 0;
    const std::size_t end = std::min(offset, sql.size());
    for (std::size_t i = sql.find('\n'); i < end; i = sql.find('\n', i + 1)) {
        ++line;
        lineStart = i + 1;
    }
    constexpr std::size_t lastColumn = std::numeric_limits<int>::max();
    const auto column = static_cast<int>(std::min(offset - lineStart + 1, lastColumn));
    return ErrorRecord(record.GetSeverity(), record.GetErrorCode(), line, column,
                       record.GetErrorDescription(), record.GetSQLState(), nullptr);
}

}  // namespace

OracleHandler::OracleHandler(SQLRequest& owner) : DBMSHandler(owner, qxdb::DBTYPE_ORACLE) {}

std::vector<RowUse> OracleHandler::GetRowUses() {
    return {OutputColumnName,
            CreateTableBegin,
            CreateTableEndBelow9,
            CreateTableEndBelow101,
            CreateTableEnd,
            ProbeTable,
            ProbeCost,
            ExplainPrefix,
            SelectPlan,
            SelectPlanBelow8,
            DropTable,
            SelectUser,
            DropQuotedTable,
            TimeBefore,
            ExecutionInformation,
            TimeAfter};
}

void OracleHandler::PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                               const OptionMap& options) {
    DBMSHandler::PreExecute(connection, defaults, options);
    request.SetLobStreamSize(ReadIntOption(defaults, options, OracleLobStreamSizeOption, UsualLobStreamSize));
    // The caller's current options have no say in these two.
    handleOutput = FindBoolOption(defaults, OracleServerOutputOption).value_or(false);
    ExecuteCommand(connection, handleOutput ? EnableOutputText(defaults) : DisableOutput, ResultSetNormal);
    if (request.GetDoExplainPlan())
        CreateExplainPlanTable(connection);
}

void OracleHandler::SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                               const OptionMap& options) {
    if (request.GetFetchObjectErrors() || request.GetDoExplainPlan())
        return;
    if (options.empty()) {
        ResetOptions(connection, defaults);
        return;
    }
    if (const std::optional<int> rows = FindIntOption(options, OracleMaxRowCountOption))
        request.SetMaxRowCount(*rows);
    if (const std::optional<int> errors = FindIntOption(options, MaxErrorCountOption))
        request.SetMaxErrorCount(*errors);
}

void OracleHandler::ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) {}

void OracleHandler::ExecuteCommand(qxdb::Connection& connection, const std::string& text,
                                   ResultSetType type) {
    StoreCommandResults(connection, text, type);
}

bool OracleHandler::ProcStatistics(qxdb::Connection& connection, const OptionMap& options, bool before) {
    if (options.empty())
        return true;
    DBMSHandler::ProcStatistics(connection, options, before);
    const bool wantsExecution = IsOptionOn(options, OracleExecutionInformationOption);
    if (before) {
        if (wantsExecution)
            ExecuteCommand(connection, ResourceLoader::LoadString(TimeBefore.row), ResultSetStatistics);
        return true;
    }
    for (const auto& option : options) {
        if (!IsOptionOn(options, option.first))
            continue;
        const std::string text = GetQueryString(static_cast<int>(option.first), options);
        if (!text.empty())
            ExecuteCommand(connection, text, ResultSetStatistics);
    }
    if (wantsExecution) {
        ExecuteCommand(connection, ResourceLoader::LoadString(TimeAfter.row), ResultSetStatistics);
        ExecuteCommand(connection, ResourceLoader::LoadString(ExecutionInformation.row), ResultSetStatistics);
    }
    return true;
}

// Plans.

bool OracleHandler::CreateExplainPlanTable(qxdb::Connection& connection) {
    const std::string user = request.GetExplainPlanAlterSessionUser();
    if (!user.empty())
        ExecuteCommand(connection, "ALTER SESSION SET CURRENT_SCHEMA = " + user, ResultSetNormal);
    if (GetErrorQueryResults(connection, PlanTable, "", ProbeTable.row)) {
        if (GetErrorQueryResults(connection, PlanTable, "", ProbeCost.row))
            return true;
        DropExplainPlanTable(connection);
    }
    DBMSHandler::ExecuteCommand(connection, GetCreateTableText(connection.GetServerVersionNumber()),
                                ResultSetNormal);
    return true;
}

// A table without costs was made by an old release.
void OracleHandler::DropExplainPlanTable(qxdb::Connection& connection) {
    std::string owner = request.GetUserNameA();
    StringUtils::StringUpper(owner);
    RowUse drop = DropTable;
    if (owner.empty()) {
        // The server tells its name as it is stored, which may need the quotes.
        owner = GetStrQueryResults(connection, "", "", SelectUser.row);
        drop = DropQuotedTable;
    }
    DBMSHandler::ExecuteCommand(connection, GetResultsFromStrOption(drop.row, owner, PlanTable),
                                ResultSetNormal);
}

std::string OracleHandler::GetCreateTableText(double version) {
    RowUse end = CreateTableEnd;
    if (version < 9.0)
        end = CreateTableEndBelow9;
    else if (version < 10.1)
        end = CreateTableEndBelow101;
    return GetResultsFromStrOption(CreateTableBegin.row, PlanTable, "") + ResourceLoader::LoadString(end.row);
}

std::string OracleHandler::NewStatementId() {
    return NextPlanNumber();
}

void OracleHandler::PreExecuteBatch(qxdb::Connection& connection) {
    DBMSHandler::PreExecuteBatch(connection);
    if (!request.GetDoExplainPlan())
        return;
    statementId = NewStatementId();
    ReplaceSQL(GetResultsFromStrOption(ExplainPrefix.row, statementId, PlanTable) + request.GetSQL());
}

void OracleHandler::PostExecuteBatch(qxdb::Connection& connection) {
    if (request.GetDoExplainPlan()) {
        const ExplainPause pause(request);
        const RowUse plan = connection.GetServerVersionNumber() < 8.0 ? SelectPlanBelow8 : SelectPlan;
        ExecuteCommand(connection, GetResultsFromStrOption(plan.row, PlanTable, statementId),
                       ResultSetExplainPlan);
    }
    DBMSHandler::PostExecuteBatch(connection);
}

// The server's output.

void OracleHandler::PostExecuteStatement(qxdb::Connection& connection) {
    if (!request.GetDoExplainPlan() && !request.GetFetchObjectErrors() && handleOutput)
        DisplayDBMSOutput(connection);
    DBMSHandler::PostExecuteStatement(connection);
}

bool OracleHandler::DisplayDBMSOutput(qxdb::Connection& connection) {
    CheckCancelled();
    // Bound below, so they outlive the statement.
    std::string line;
    int status = NoLine;
    qxdb::BasicFixedString<char> buffer(line, OutputLineLength, 0);

    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.Prepare(GetOutputLine, qxdb::Statement::PrepareSQL);
    qxdb::BindValue binding = statement.Bind();
    binding.Bind(qxdb::DataType::DirectionOut, binding.GetNextBind(), buffer, nullptr);
    binding.Bind(qxdb::DataType::DirectionOut, binding.GetNextBind(), status, nullptr);
    statement.Execute();
    if (status != LineRead)
        return true;

    request.NotifyPreResultSetBegin(ResultSetMessage);
    ColumnDefinition definition;
    definition.columnLabel = ResourceLoader::LoadString(OutputColumnName.row) + itoa(GetBatchItemIndex() + 1);
    if (!request.NotifyResultSetBegin(std::vector<ColumnDefinition>{definition}, ""))
        return true;
    try {
        ShowLines(statement, line, status);
    } catch (...) {
        request.NotifyResultSetEnd();
        throw;
    }
    request.NotifyResultSetUpdate(0, false);
    request.NotifyResultSetEnd();
    return true;
}

void OracleHandler::ShowLines(qxdb::Statement& statement, std::string& line, int& status) {
    const SmartPtr<DataStorage> data = GetData();
    const int resultSet = GetResultSetId();
    RowLock row = data->GetRowLock(resultSet);
    while (status == LineRead) {
        row.Lock();
        data->InsertString(resultSet, 0, line);
        row.UnLock();
        CheckCancelled();
        line.clear();
        status = NoLine;
        statement.Execute();
    }
}

// Errors.

void OracleHandler::HandleErrors(Errors& errors) {
    DBMSHandler::HandleErrors(errors);
}

void OracleHandler::HandleErrors(Errors& errors, qxdb::Connection& connection) {
    if (errors.GetNumberErrors() == 0)
        return;
    const Errors records(errors);
    records.Reset();
    errors = Errors();
    const std::string sql = request.GetSQL();
    bool parsed = false;
    bool objectMode = false;
    while (records.MoreErrors()) {
        const ErrorRecord& record = records.GetNextError();
        Errors found;
        if (record.GetErrorCode() == 0 && !parsed) {
            parsed = true;
            OracleStatementHeader header;
            objectMode = header.Parse(sql);
            if (objectMode)
                found = FindObjectErrors(header, connection);
        }
        if (found.GetNumberErrors() == 0)
            errors.AddRecord(objectMode ? record : WithLineAndColumn(record, sql));
        while (found.MoreErrors())
            errors.AddRecord(found.GetNextError());
    }
    errors.Reset();
    DBMSHandler::HandleErrors(errors);
}

Errors OracleHandler::FindObjectErrors(const OracleStatementHeader& header, qxdb::Connection& connection) {
    Errors found;
    try {
        ExecuteObjectErrorsCommand(found, connection, ObjectErrorsQuery(header));
    } catch (const Errors&) {
        // The record that brought us here must not be lost over it.
        CheckCancelled();
        return Errors();
    }
    return found;
}

bool OracleHandler::ExecuteObjectErrorsCommand(Errors& list, qxdb::Connection& connection,
                                               const std::string& sql) {
    CheckCancelled();
    qxdb::Statement statement = connection.CreateStatement(qxdb::CursorDefault, 1);
    statement.SetStatement(sql);
    statement.Execute();
    while (statement.ResultSetAvailable()) {
        qxdb::Cursor cursor = statement.GetResults(1, "");
        qxdb::BindValue binding = cursor.Bind();
        qxdb::Fields fields(binding, false, qxdb::ExclusionIndex(), false, nullptr);
        if (fields.GetFieldCount() == 0)
            return true;
        qxdb::Schema schema = binding.GetSchema();
        if (GetObjectErrors(list, cursor, fields, schema))
            return true;
    }
    return false;
}

bool OracleHandler::GetObjectErrors(Errors& list, qxdb::Cursor& cursor, qxdb::Fields& fields,
                                    qxdb::Schema& schema) {
    list = Errors();
    if (fields.GetFieldCount() < 3)
        return false;
    while (cursor.Fetch(qxdb::Cursor::DirectionNext, 1)) {
        const std::string text = fields[2].IsNull() ? std::string() : fields[2].AsString();
        list.AddRecord(
            ErrorRecord(ObjectErrorSeverity, 0, ReadInt(fields[0]), ReadInt(fields[1]), text, "", nullptr));
        CheckCancelled();
    }
    return list.GetNumberErrors() > 0;
}

void OracleHandler::HandleObjectErrorsResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields,
                                                qxdb::Schema& schema) {
    Errors list;
    if (GetObjectErrors(list, cursor, fields, schema))
        throw list;
}

void OracleHandler::HandleResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) {
    if (request.GetFetchObjectErrors())
        HandleObjectErrorsResultSet(cursor, fields, schema);
    else
        DBMSHandler::HandleResultSet(cursor, fields, schema);
}

}  // namespace qxdbsqlengine
