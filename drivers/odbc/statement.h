// A statement on a connection.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "drivers/odbc/call_plan.h"
#include "drivers/odbc/parameter_buffers.h"
#include "drivers/odbc/parameters.h"
#include "drivers/odbc/result_set.h"
#include "drivers/odbc/statement_core.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::odbc {

class OdbcStatementProperties final : public qxdb::StatementProperties {
  public:
    explicit OdbcStatementProperties(StatementCore& target) : core(target) {}

    void SetMaxRows(unsigned int rows) override { core.maxRows = rows; }
    void SetNoScan(bool noScan) override { core.noScan = noScan; }
    void SetTimeout(unsigned int seconds) override { core.timeoutSeconds = seconds; }
    void SetDescribeOnly(bool describeOnly) override { core.describeOnly = describeOnly; }
    void SetExclusionIndex(const std::map<unsigned int, unsigned int>& positions) override {
        exclusion = positions;
    }
    void SetProcParamCount(unsigned int count) override { procedureParameterCount = count; }
    void SetShowReturnCode(bool show) override { showReturnCode = show; }
    // A time limit only where the driver keeps one, a return code only where the server has one.
    bool SupportsProperty(Capabilities capability) override;

    qxdb::ExclusionIndex exclusion;
    unsigned int procedureParameterCount = 0;
    bool showReturnCode = false;

  private:
    bool SupportsTimeout();

    StatementCore& core;
    std::optional<bool> supportsTimeout;
};

// Results come one by one as the driver has them; see odbc_driver.h for which statements give one.
class OdbcStatement final : public qxdb::StatementImpl {
  public:
    explicit OdbcStatement(const std::shared_ptr<Session>& session);
    ~OdbcStatement() override;

    void SetStatement(const std::string& sql) override;
    void Prepare(const std::string& sqlOrProcedureName, qxdb::Statement::PrepareType type) override;
    bool Execute() override;
    bool ResultSetAvailable() override;
    std::shared_ptr<qxdb::CursorImpl> GetResults() override;
    std::shared_ptr<qxdb::BindValueImpl> Bind() override { return parameters; }
    qxdb::Schema GetBindHint() override;
    void SetBindHint(const qxdb::Schema& schema) override { hint = schema; }
    qxdb::StatementProperties& GetProperties() override { return properties; }
    void Cancel() noexcept override { core->Control().Cancel(); }

  private:
    enum class Kind { Direct, PreparedText, PreparedCall };

    void SetText(const std::string& sql, Kind newKind);
    void PrepareText(const std::string& sql);
    void PrepareCall(const std::string& name, bool isFunction);
    void PrepareOnServer(const std::string& sql);
    std::vector<ParameterDescription> DescribeMarkers(const std::string& sql);
    void ApplyLimits();

    SQLRETURN Run();
    SQLRETURN RunDirect();
    SQLRETURN RunPlan();
    void SetVariables();
    void ReadVariables();
    bool TakeResult(SQLRETURN code);
    bool TakeRows();
    bool TakeCount(SQLRETURN code);
    void TakeOutputRow();
    bool NextResult();
    void CloseResult();
    void EndText();
    void Finish();

    const std::shared_ptr<StatementCore> core;
    OdbcStatementProperties properties;

    Kind kind = Kind::Direct;
    bool preparedOnServer = false;
    std::string callName;
    bool callIsFunction = false;
    bool callReturnsRows = false;
    std::shared_ptr<ParameterBinding> parameters;
    qxdb::Schema hint;

    bool isRunning = false;  // executed, and not at the end of its results
    CallPlan plan;
    std::unique_ptr<ParameterBuffers> buffers;   // of the execution under way
    std::unique_ptr<ServerCursor> serverCursor;  // not yet with a result
    std::string firstWord;
    bool hasNoMoreResults = false;  // of the text; the driver need not be asked
    int results = 0;                // of any kind so far
    int resultSets = 0;             // those with columns
    bool outputsRead = false;

    std::shared_ptr<ResultSet> result;  // the current result, when it has columns
    std::optional<__int64> rowCount;    // when it has none
    bool resultWaiting = false;         // it was not yet taken
};

}  // namespace qxdrivers::odbc
