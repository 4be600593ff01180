// A statement on a connection.
#pragma once

#include <memory>
#include <string>

#include "drivers/sqlite/parameters.h"
#include "drivers/sqlite/run.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::sqlite {

// The limits that the driver knows; the other properties are ignored.
class SQLiteStatementProperties : public qxdb::StatementProperties {
  public:
    explicit SQLiteStatementProperties(RunControl& target) : control(target) {}

    void SetMaxRows(unsigned int rows) override { control.maxRows = rows; }
    void SetNoScan(bool) override {}
    void SetTimeout(unsigned int seconds) override { control.timeoutSeconds = seconds; }
    void SetDescribeOnly(bool) override {}
    void SetExclusionIndex(const std::map<unsigned int, unsigned int>&) override {}
    void SetProcParamCount(unsigned int) override {}
    void SetShowReturnCode(bool) override {}
    bool SupportsProperty(Capabilities capability) override {
        return capability == CapabilityMaxRows || capability == CapabilityTimeout;
    }

  private:
    RunControl& control;
};

// Runs the statements of a text one by one, each when its result is asked for. A prepared text may have
// parameters in its first statement only.
class SQLiteStatement : public qxdb::StatementImpl {
  public:
    explicit SQLiteStatement(std::shared_ptr<Database> owner);
    ~SQLiteStatement() override;

    void SetStatement(const std::string& sql) override;
    void Prepare(const std::string& sqlOrProcedureName, qxdb::Statement::PrepareType type) override;
    bool Execute() override;
    bool ResultSetAvailable() override;
    std::shared_ptr<qxdb::CursorImpl> GetResults() override;
    std::shared_ptr<qxdb::BindValueImpl> Bind() override { return parameters; }
    qxdb::Schema GetBindHint() override;
    void SetBindHint(const qxdb::Schema& schema) override { hint = schema; }
    qxdb::StatementProperties& GetProperties() override { return properties; }
    void Cancel() noexcept override;

  private:
    void SetText(const std::string& sql);
    void EndText();
    void CloseResult();
    std::shared_ptr<CompiledStatement> CompileNext(unsigned int flags);
    bool RunCompiled(const std::shared_ptr<CompiledStatement>& compiled);
    bool RunToNextResult();
    void ExecuteText();

    const std::shared_ptr<Database> database;
    const std::shared_ptr<RunControl> control;
    SQLiteStatementProperties properties;

    std::shared_ptr<const std::string> text;
    std::size_t zeroByte = std::string::npos;     // the first in the text
    std::size_t next = 0;                         // offset of what was not yet run
    std::shared_ptr<CompiledStatement> prepared;  // the first statement of a prepared text
    std::size_t behindPrepared = 0;
    std::shared_ptr<ParameterBinding> parameters;
    qxdb::Schema hint;

    std::shared_ptr<Run> run;    // of the current result
    bool resultWaiting = false;  // it was not yet taken
    int resultSets = 0;          // results with columns so far
};

}  // namespace qxdrivers::sqlite
