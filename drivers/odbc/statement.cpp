#include "drivers/odbc/statement.h"

#include <algorithm>
#include <array>
#include <utility>

#include "drivers/odbc/cursor.h"
#include "drivers/odbc/result_fields.h"
#include "drivers/odbc/sql_scan.h"
#include "drivers/odbc/warnings.h"
#include "drivers/odbc/wide_text.h"

namespace qxdrivers::odbc {

namespace {

using qxdb::Column;

bool IsOneOf(const std::string& word, std::initializer_list<const char*> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// Statements whose count of rows is told though it be 0.
bool ChangesRows(const std::string& word) {
    return IsOneOf(word, {"INSERT", "UPDATE", "DELETE", "REPLACE", "MERGE", "WITH", "LOAD", "COPY"});
}

// Statements that may change rows on the side.
bool MayChangeRows(const std::string& word) {
    return IsOneOf(word, {"SELECT", "CALL", "EXEC", "EXECUTE", ""});
}

// MariaDB's driver takes the statements in the body of some stored programs (CREATE TRIGGER, CREATE OR
// REPLACE PROCEDURE) for statements of the text, and crashes when it is asked for the results of those.
bool DefinesProgram(const std::string& sql, const std::string& word, Family family) {
    return family == Family::MySQL && IsOneOf(word, {"CREATE", "ALTER"}) &&
           HasWord(sql, family, {"PROCEDURE", "FUNCTION", "TRIGGER", "EVENT", "PACKAGE"});
}

// The value of a field in the form that an output has.
ParameterValue ValueOf(ResultField& field, const ResultColumn& column, const ParameterSlot& slot) {
    if (field.IsNull()) {
        return ParameterValue();
    }
    if (column.type.kind == ValueKind::Binary || column.type.kind == ValueKind::BinaryLob) {
        return field.GetBuffer();
    }
    std::string text;
    field.AppendText(text);
    const ParameterDescription& description = slot.description;
    return ValueFromText(text, description.type, description.record->dateTimeFormat);
}

}  // namespace

bool OdbcStatementProperties::SupportsProperty(Capabilities capability) {
    switch (capability) {
        case CapabilityMaxRows:
        case CapabilityNoScan:
        case CapabilityDescribeOnly:
        case CapabilityExclusionIndex:
        case CapabilityProcParamCount:
            return true;
        case CapabilityTimeout:
            return SupportsTimeout();
        case CapabilityShowReturnCode: {
            const Family family = core.Traits().family;
            return family == Family::SQLServer || family == Family::Sybase || family == Family::DB2;
        }
        default:
            return false;
    }
}

// A driver without time limits takes one and says that it chose none instead.
bool OdbcStatementProperties::SupportsTimeout() {
    if (!supportsTimeout) {
        const StatementHandle statement(core.GetSession().Raw());
        supportsTimeout = SQLSetStmtAttrW(statement.Raw(), SQL_ATTR_QUERY_TIMEOUT, AttributeValue(1),
                                          SQL_IS_UINTEGER) == SQL_SUCCESS;
    }
    return *supportsTimeout;
}

OdbcStatement::OdbcStatement(const std::shared_ptr<Session>& session)
    : core(std::make_shared<StatementCore>(session)),
      properties(*core),
      parameters(std::make_shared<ParameterBinding>(std::vector<ParameterDescription>())) {
    SQLSetStmtAttrW(core->Raw(), SQL_ATTR_CURSOR_TYPE, AttributeValue(SQL_CURSOR_FORWARD_ONLY),
                    SQL_IS_UINTEGER);
}

OdbcStatement::~OdbcStatement() {
    CloseResult();
    EndText();
}

// --- Setting and preparing ---

void OdbcStatement::SetText(const std::string& sql, Kind newKind) {
    CloseResult();
    EndText();
    kind = newKind;
    preparedOnServer = false;
    parameters = std::make_shared<ParameterBinding>(std::vector<ParameterDescription>());
    core->SetSql(std::make_shared<const std::string>(sql));
    firstWord = FirstWord(sql, core->Traits().family);
    hasNoMoreResults = DefinesProgram(sql, firstWord, core->Traits().family);
}

void OdbcStatement::SetStatement(const std::string& sql) {
    SetText(sql, Kind::Direct);
}

void OdbcStatement::Prepare(const std::string& sqlOrProcedureName, qxdb::Statement::PrepareType type) {
    const bool isText = type == qxdb::Statement::PrepareSQL;
    SetText(sqlOrProcedureName, isText ? Kind::PreparedText : Kind::PreparedCall);
    core->Control().Activate();
    struct Ender {
        OdbcStatement& statement;
        ~Ender() { statement.core->Control().Deactivate(); }
    } ender{*this};
    if (isText) {
        PrepareText(sqlOrProcedureName);
    } else {
        PrepareCall(sqlOrProcedureName, type == qxdb::Statement::PrepareFunction);
    }
}

void OdbcStatement::PrepareOnServer(const std::string& sql) {
    core->Call("SQLPrepare", [&] { return odbc::PrepareText(core->Raw(), sql); });
    preparedOnServer = true;
}

void OdbcStatement::PrepareText(const std::string& sql) {
    // Calls with outputs may have to be written anew once it is known which parameters are outputs.
    const bool isOwnCall =
        ParseCall(sql, core->Traits().family).isCall &&
        (core->Traits().family == Family::MySQL || core->Traits().family == Family::PostgreSQL);
    if (!isOwnCall) {
        PrepareOnServer(sql);
    }
    parameters = std::make_shared<ParameterBinding>(DescribeMarkers(sql));
}

std::vector<ParameterDescription> OdbcStatement::DescribeMarkers(const std::string& sql) {
    SQLSMALLINT count = 0;
    if (preparedOnServer) {
        core->Call("SQLNumParams", [&] { return SQLNumParams(core->Raw(), &count); });
    } else {
        SqlScanner scanner(sql, core->Traits().family);
        for (SqlToken token = scanner.Next(); token.kind != SqlToken::End; token = scanner.Next()) {
            count = static_cast<SQLSMALLINT>(count + (token.kind == SqlToken::Marker ? 1 : 0));
        }
    }
    std::vector<ParameterDescription> descriptions;
    // MySQL's driver calls every parameter a text of the greatest length.
    bool describes = preparedOnServer && core->Traits().family != Family::MySQL;
    for (SQLSMALLINT i = 1; i <= count; ++i) {
        NativeType native;
        SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
        describes = describes &&
                    SQL_SUCCEEDED(SQLDescribeParam(core->Raw(), static_cast<SQLUSMALLINT>(i), &native.sqlType,
                                                   &native.size, &native.digits, &nullable));
        const auto index = static_cast<unsigned int>(i - 1);
        if (index < hint.GetNumberColumns()) {
            descriptions.push_back(DescriptionOf(hint[index]));
            descriptions.back().native = describes ? native : NativeType();
        } else {
            descriptions.push_back(DescriptionOf(std::string(), qxdb::DataType::DirectionIn,
                                                 describes ? native : NativeType(), core->Traits()));
        }
    }
    return descriptions;
}

void OdbcStatement::PrepareCall(const std::string& name, bool isFunction) {
    const ProcedureInfo procedure =
        FindProcedure(core->GetSession(), name, isFunction, properties.procedureParameterCount);
    callName = procedure.callName.empty() ? name : procedure.callName;
    callIsFunction = procedure.found ? procedure.isFunction : isFunction;
    callReturnsRows = procedure.returnsRows;
    std::vector<ParameterDescription> descriptions;
    if (hint.GetNumberColumns() == 0) {
        descriptions = DescribeCall(procedure, core->Traits(), properties.showReturnCode);
    } else {
        for (unsigned int i = 0; i < hint.GetNumberColumns(); ++i) {
            descriptions.push_back(DescriptionOf(hint[i]));
            const auto known = std::find_if(
                procedure.parameters.begin(), procedure.parameters.end(),
                [&](const ProcedureParameter& parameter) { return parameter.name == hint[i].GetName(); });
            if (known != procedure.parameters.end()) {
                descriptions.back().isReturnValue = known->isReturnValue;
                descriptions.back().direction = known->direction;
                descriptions.back().native = known->native;
            }
            // The catalog's own description may come back as a hint, with the position that only shows an
            // output.
            for (unsigned int k = 0; k < i; ++k) {
                if (hint[k].GetName() == hint[i].GetName()) {
                    descriptions.back().shadowOf = k;
                }
            }
        }
    }
    parameters = std::make_shared<ParameterBinding>(std::move(descriptions));
}

qxdb::Schema OdbcStatement::GetBindHint() {
    return hint.GetNumberColumns() > 0 ? hint : parameters->GetSchema();
}

// --- Running ---

void OdbcStatement::ApplyLimits() {
    SQLSetStmtAttrW(core->Raw(), SQL_ATTR_QUERY_TIMEOUT, AttributeValue(core->timeoutSeconds),
                    SQL_IS_UINTEGER);
    SQLSetStmtAttrW(core->Raw(), SQL_ATTR_NOSCAN,
                    AttributeValue(core->noScan ? SQL_NOSCAN_ON : SQL_NOSCAN_OFF), SQL_IS_UINTEGER);
    const Family family = core->Traits().family;
    if (family != Family::MySQL && family != Family::PostgreSQL) {
        // MySQL's driver would write a LIMIT behind any text, PostgreSQL's reads all rows whatever is set;
        // the count of rows is kept here in any case.
        SQLSetStmtAttrW(core->Raw(), SQL_ATTR_MAX_ROWS, AttributeValue(core->maxRows), SQL_IS_UINTEGER);
    }
}

bool OdbcStatement::Execute() {
    CloseResult();
    EndText();
    if (core->Sql().find('\0') != std::string::npos) {
        ThrowRefusal("The SQL text has a zero byte", "42000");
    }
    results = resultSets = 0;
    outputsRead = false;
    core->Control().Activate();
    isRunning = true;
    try {
        ApplyLimits();
        ForgetReportedWarnings(core->GetSession(), core->Sql());
        if (!TakeResult(Run()) && isRunning) {
            NextResult();
        }
    } catch (...) {
        CloseResult();
        EndText();
        throw;
    }
    return true;
}

SQLRETURN OdbcStatement::Run() {
    return kind == Kind::Direct ? RunDirect() : RunPlan();
}

SQLRETURN OdbcStatement::RunDirect() {
    if (core->describeOnly) {
        PrepareOnServer(core->Sql());
        return SQL_SUCCESS;
    }
    const bool usesCursor = core->Traits().serverCursors && !core->GetSession().hasServerCursor &&
                            ServerCursor::Fits(core->Sql());
    if (usesCursor) {
        serverCursor = ServerCursor::Open(core);
        return SQL_SUCCESS;
    }
    return core->Call("SQLExecDirect", [&] { return ExecuteText(core->Raw(), core->Sql()); });
}

SQLRETURN OdbcStatement::RunPlan() {
    plan = kind == Kind::PreparedText ? PlanText(core->Sql(), *parameters, core->GetSession())
                                      : PlanCall(callName, callIsFunction, callReturnsRows, *parameters,
                                                 properties.exclusion, core->Traits());
    if (!preparedOnServer) {
        PrepareOnServer(plan.sql);
        // A call is written anew for each execution.
        preparedOnServer = false;
    }
    if (core->describeOnly) {
        return SQL_SUCCESS;
    }
    SetVariables();
    std::vector<ParameterBuffers::Use> uses;
    for (const CallPlan::Marker& marker : plan.markers) {
        uses.push_back({&parameters->Slot(marker.slot), marker.asInput});
    }
    buffers = std::make_unique<ParameterBuffers>(core, uses);
    return core->Call("SQLExecute", [&] { return SQLExecute(core->Raw()); });
}

void OdbcStatement::SetVariables() {
    for (const std::size_t slot : plan.variableInputs) {
        const auto setter = std::make_shared<StatementCore>(core->SharedSession());
        const std::string sql = "SET " + CallPlan::VariableOf(slot) + " = ?";
        setter->Call("SQLPrepare", [&] { return odbc::PrepareText(setter->Raw(), sql); });
        const ParameterBuffers value(setter, {{&parameters->Slot(slot), true}});
        setter->Call("SQLExecute", [&] { return SQLExecute(setter->Raw()); });
    }
}

void OdbcStatement::ReadVariables() {
    std::string sql;
    for (const std::size_t slot : plan.outputSlots) {
        sql += (sql.empty() ? "SELECT " : ", ") + CallPlan::VariableOf(slot);
    }
    const auto reader = std::make_shared<StatementCore>(core->SharedSession());
    reader->Call("SQLExecDirect", [&] { return ExecuteText(reader->Raw(), sql); });
    const auto row = std::make_shared<ResultSet>(reader, 0, nullptr, false);
    row->Fetch();
    for (std::size_t i = 0; i < plan.outputSlots.size(); ++i) {
        ParameterSlot& slot = parameters->Slot(plan.outputSlots[i]);
        slot.SetOutput(ValueOf(*MakeResultField(row, i), row->Columns()[i], slot));
    }
}

// --- Results ---

// True when the result that the handle stands on is one to take.
bool OdbcStatement::TakeResult(SQLRETURN code) {
    SQLSMALLINT columns = 0;
    core->Call("SQLNumResultCols", [&] { return SQLNumResultCols(core->Raw(), &columns); });
    resultWaiting = columns > 0 ? TakeRows() : TakeCount(code);
    ++results;
    return resultWaiting;
}

bool OdbcStatement::TakeRows() {
    const bool bringsOutputs = kind != Kind::Direct && plan.outputs == CallPlan::Outputs::Row && !outputsRead;
    const bool hides = kind != Kind::Direct && plan.hidesRow && !outputsRead && !core->describeOnly;
    result = std::make_shared<ResultSet>(core, hides ? resultSets : ++resultSets, std::move(serverCursor),
                                         core->describeOnly);
    if (!hides) {
        return true;
    }
    // More columns than outputs: the row has something to say of its own.
    const bool isOutputs = plan.outputs == CallPlan::Outputs::Bound || plan.outputSlots.empty() ||
                           result->Columns().size() == plan.outputSlots.size();
    outputsRead = true;
    if (!isOutputs) {
        ++resultSets;
        return true;
    }
    if (bringsOutputs) {
        TakeOutputRow();
    }
    result->Close();
    result.reset();
    return false;
}

void OdbcStatement::TakeOutputRow() {
    const bool hasRow = result->Fetch();
    for (std::size_t i = 0; i < plan.outputSlots.size(); ++i) {
        ParameterSlot& slot = parameters->Slot(plan.outputSlots[i]);
        slot.SetOutput(hasRow ? ValueOf(*MakeResultField(result, i), result->Columns()[i], slot)
                              : ParameterValue());
    }
}

bool OdbcStatement::TakeCount(SQLRETURN code) {
    if (core->describeOnly) {
        return false;
    }
    SQLLEN rows = -1;
    if (code == SQL_NO_DATA) {
        rows = 0;
    } else if (!SQL_SUCCEEDED(SQLRowCount(core->Raw(), &rows))) {
        rows = -1;
    }
    const bool told = results == 0
                          ? (rows >= 0 && ChangesRows(firstWord)) || (rows > 0 && MayChangeRows(firstWord))
                          : rows > 0;
    if (told) {
        rowCount = rows;
    }
    return told;
}

// Moves on to the next result to take; false at the end of the statement.
bool OdbcStatement::NextResult() {
    while (isRunning) {
        if (core->describeOnly || hasNoMoreResults) {
            Finish();
            return false;
        }
        const SQLRETURN code = core->Call("SQLMoreResults", [&] { return SQLMoreResults(core->Raw()); });
        if (code == SQL_NO_DATA) {
            Finish();
            return false;
        }
        if (TakeResult(code)) {
            return true;
        }
    }
    return false;
}

bool OdbcStatement::ResultSetAvailable() {
    if (resultWaiting) {
        return true;
    }
    if (!isRunning) {
        return false;
    }
    try {
        CloseResult();
        return NextResult();
    } catch (...) {
        EndText();
        throw;
    }
}

std::shared_ptr<qxdb::CursorImpl> OdbcStatement::GetResults() {
    if (!resultWaiting) {
        ThrowRefusal("No result is waiting to be taken", "24000");
    }
    resultWaiting = false;
    return std::make_shared<OdbcCursor>(result, rowCount);
}

void OdbcStatement::CloseResult() {
    resultWaiting = false;
    rowCount.reset();
    if (result) {
        result->Close();
        result.reset();
    }
}

// What was not read yet will not be.
void OdbcStatement::EndText() {
    core->Control().Deactivate();
    serverCursor.reset();
    if (isRunning || kind != Kind::Direct) {
        SQLFreeStmt(core->Raw(), SQL_CLOSE);
    }
    isRunning = false;
    buffers.reset();
}

// The orderly end of the statement: outputs are complete, and warnings can be asked for.
void OdbcStatement::Finish() {
    if (kind != Kind::Direct && !core->describeOnly) {
        if (buffers) {
            buffers->ReadOutputs();
        }
        if (plan.outputs == CallPlan::Outputs::Variables && !plan.outputSlots.empty()) {
            ReadVariables();
        }
        parameters->FillShadows();
    }
    EndText();
    ReportWarnings(core->GetSession(), core->Sql());
}

}  // namespace qxdrivers::odbc
