#include "support/scripted_driver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "platform/qxdb/manager.h"
#include "support/scripted_parameters.h"

namespace qxtest {

namespace {

// Nothing of a test may wait for ever: a hang that nobody ends is a problem of the script.
constexpr std::chrono::seconds LongestHang(30);
constexpr std::chrono::seconds LongestWait(10);

[[noreturn]] void ThrowErrors(const std::string& text) {
    throw MakeErrors(text);
}

}  // namespace

struct ScriptedServer::State {
    mutable std::mutex mutex;
    std::condition_variable changed;

    double version = 0.0;
    bool unicode = false;
    unsigned int capabilities = ~0U;
    std::shared_ptr<Errors> databaseErrors;
    std::vector<std::pair<std::string, std::string>> configuration;
    bool hasConfiguration = false;
    bool configurationLoads = true;

    std::deque<Step> steps;
    std::size_t nextStep = 0;
    bool acceptOthers = false;
    bool released = false;
    int hanging = 0;
    std::function<void()> onCancel;
    bool cancelEndsStatementFirst = false;

    std::vector<std::string> log;
    std::vector<std::string> executed;
    std::vector<std::string> bound;
    std::string problems;
    int cancels = 0;
    int statements = 0;
    std::vector<std::thread::id> statementEnds;

    void Log(const std::string& line) {
        const std::lock_guard<std::mutex> guard(mutex);
        log.push_back(line);
    }

    // The step of a statement, null for one that is merely accepted. Throws Errors for one that is not
    // expected.
    Step* Begin(const std::string& sql) {
        const std::lock_guard<std::mutex> guard(mutex);
        log.push_back("execute " + sql);
        executed.push_back(sql);
        changed.notify_all();
        while (nextStep < steps.size() && steps[nextStep].isOnlyPrepared && steps[nextStep].wasPrepared)
            ++nextStep;
        if (nextStep < steps.size() && steps[nextStep].sql == sql)
            return &steps[nextStep++];
        if (acceptOthers)
            return nullptr;
        problems += "Unexpected statement: " + sql + "\n";
        ThrowErrors("Unexpected statement: " + sql);
    }

    // The step that a prepared statement will be when it is executed; null when it is not expected, which its
    // execution reports.
    Step* Prepare(const std::string& sql, int type) {
        const std::lock_guard<std::mutex> guard(mutex);
        log.push_back("prepare " + std::to_string(type) + " " + sql);
        for (std::size_t i = nextStep; i < steps.size(); ++i) {
            if (steps[i].sql == sql) {
                steps[i].wasPrepared = true;
                return &steps[i];
            }
            if (!steps[i].isOnlyPrepared || !steps[i].wasPrepared)
                break;
        }
        return nullptr;
    }

    // True when it ended by the cancel.
    bool Hang(const bool& cancelled, bool endsByCancel) {
        std::unique_lock<std::mutex> guard(mutex);
        ++hanging;
        changed.notify_all();
        const bool ended =
            changed.wait_for(guard, LongestHang, [&] { return released || (endsByCancel && cancelled); });
        --hanging;
        if (!ended)
            problems += "A hang was not ended\n";
        return cancelled;
    }

    std::string AllProblems() const {
        const std::lock_guard<std::mutex> guard(mutex);
        std::string all = problems;
        for (std::size_t i = nextStep; i < steps.size(); ++i) {
            if (!steps[i].isOnlyPrepared)
                all += "Not executed: " + steps[i].sql + "\n";
            else if (!steps[i].wasPrepared)
                all += "Not prepared: " + steps[i].sql + "\n";
        }
        return all;
    }
};

namespace {

using State = ScriptedServer::State;

class ScriptBinding : public qxdb::BindValueImpl {
  public:
    ScriptBinding(const Result& scriptedResult, std::shared_ptr<CurrentRow> currentRow,
                  std::shared_ptr<State> serverState)
        : result(scriptedResult), row(std::move(currentRow)), state(std::move(serverState)) {}

    qxdb::Schema GetSchema() override { return qxdb::Schema(result.columns); }
    void SetIsUnicodeInstance(bool isUnicode) override {
        if (isUnicode)
            state->Log("unicode binding");
    }
    std::vector<std::unique_ptr<qxdb::Field>> MakeFields(bool bindAsStrings,
                                                         const qxdb::ExclusionIndex& exclusion) override {
        std::vector<std::unique_ptr<qxdb::Field>> fields;
        for (unsigned int i = 0; i < result.columns.size(); ++i) {
            if (exclusion.count(i) == 0)
                fields.push_back(std::make_unique<ScriptField>(result.columns[i], row, i, bindAsStrings));
        }
        return fields;
    }

  private:
    const Result& result;
    std::shared_ptr<CurrentRow> row;
    std::shared_ptr<State> state;
};

class ScriptConnection;

class ScriptProperties : public qxdb::StatementProperties {
  public:
    explicit ScriptProperties(std::shared_ptr<State> serverState) : state(std::move(serverState)) {}

    void SetMaxRows(unsigned int rows) override { state->Log("maxrows " + std::to_string(rows)); }
    void SetNoScan(bool noScan) override { state->Log("noscan " + std::to_string(noScan)); }
    void SetTimeout(unsigned int seconds) override { state->Log("timeout " + std::to_string(seconds)); }
    void SetDescribeOnly(bool only) override { state->Log("describeonly " + std::to_string(only)); }
    void SetExclusionIndex(const std::map<unsigned int, unsigned int>& exclusion) override {
        std::string line = "exclusion";
        for (const auto& entry : exclusion)
            line += " " + std::to_string(entry.first);
        state->Log(line);
    }
    void SetProcParamCount(unsigned int count) override {
        state->Log("procparamcount " + std::to_string(count));
    }
    void SetShowReturnCode(bool show) override { state->Log("showreturncode " + std::to_string(show)); }
    bool SupportsProperty(Capabilities capability) override {
        const std::lock_guard<std::mutex> guard(state->mutex);
        return (state->capabilities & capability) != 0;
    }

  private:
    std::shared_ptr<State> state;
};

class ScriptConnection : public qxdb::ConnectionImpl,
                         public qxdb::ConnectionProperties,
                         public std::enable_shared_from_this<ScriptConnection> {
  public:
    explicit ScriptConnection(std::shared_ptr<State> serverState) : state(std::move(serverState)) {}

    double GetServerVersionNumber() const override {
        const std::lock_guard<std::mutex> guard(state->mutex);
        return state->version;
    }
    bool HasUnicodeSupport() const override {
        const std::lock_guard<std::mutex> guard(state->mutex);
        return state->unicode;
    }
    qxdb::ConnectionProperties& GetProperties() override { return *this; }
    void SetCallback(qxdb::Callback* newCallback) override {
        state->Log(newCallback == nullptr ? "callback off" : "callback on");
        callback = newCallback;
    }
    std::shared_ptr<qxdb::StatementImpl> CreateStatement() override;
    std::shared_ptr<qxdb::ConfigurationParametersImpl> GetConfigurationParameters() override;

    void SetCurrentDatabase(const std::string& name) override {
        state->Log("database " + name);
        std::shared_ptr<Errors> errors;
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            errors = state->databaseErrors;
        }
        if (errors)
            throw Errors(*errors);
    }
    void SetTimestampFormat(const std::string& format) override { state->Log("timestamp format " + format); }

    void Send(const qxdb::RawMessage& message) {
        if (callback != nullptr)
            callback->HandleRawMessage(message);
    }

    std::shared_ptr<State> state;
    qxdb::Callback* callback = nullptr;
};

class ScriptStatement : public qxdb::StatementImpl, public std::enable_shared_from_this<ScriptStatement> {
  public:
    explicit ScriptStatement(std::shared_ptr<ScriptConnection> owner)
        : connection(std::move(owner)),
          state(connection->state),
          properties(connection->state),
          parameters(NewParameters({})) {
        const std::lock_guard<std::mutex> guard(state->mutex);
        ++state->statements;
    }
    ~ScriptStatement() override {
        const std::lock_guard<std::mutex> guard(state->mutex);
        --state->statements;
        state->statementEnds.push_back(std::this_thread::get_id());
    }

    void SetStatement(const std::string& sql) override {
        text = sql;
        parameters = NewParameters({});
    }
    void Prepare(const std::string& sqlOrName, qxdb::Statement::PrepareType type) override {
        SetStatement(sqlOrName);
        const Step* const expected = state->Prepare(sqlOrName, type);
        if (expected != nullptr && expected->prepareFailure)
            throw Errors(*expected->prepareFailure);
        if (expected != nullptr && !expected->parameters.empty())
            parameters = NewParameters(expected->parameters);
        else
            parameters = NewParameters(hintColumns);
    }

    bool Execute() override {
        step = state->Begin(text);
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            state->bound = parameters->Describe();
        }
        if (step == nullptr)
            return true;
        for (const auto& action : step->onExecute)
            action(connection->callback);
        if (step->hangs)
            HangUntilCancel(step->hangEndsByCancel);
        if (step->failure)
            throw Errors(*step->failure);
        parameters->Finish(*step, [this](const Result& result) { return NewCursor(result); });
        return true;
    }

    bool ResultSetAvailable() override {
        if (step == nullptr)
            return false;
        if (position < step->results.size()) {
            Result& result = step->results[position];
            SendOnce(result.messages, position + 1);
            if (result.availableErrors) {
                ++position;
                throw Errors(*result.availableErrors);
            }
            return true;
        }
        SendOnce(step->messagesAfter, position + 1);
        if (step->failureAfter) {
            const Errors errors(*step->failureAfter);
            step->failureAfter.reset();
            throw errors;
        }
        return false;
    }

    std::shared_ptr<qxdb::CursorImpl> GetResults() override;

    std::shared_ptr<qxdb::BindValueImpl> Bind() override { return parameters; }
    qxdb::Schema GetBindHint() override {
        state->Log("get hint");
        return hintColumns.empty() ? parameters->GetSchema() : qxdb::Schema(hintColumns);
    }
    void SetBindHint(const qxdb::Schema& schema) override {
        std::string line = "hint";
        hintColumns.clear();
        for (unsigned int i = 0; i < schema.GetNumberColumns(); ++i) {
            line += " " + schema[i].GetName();
            auto column = std::make_shared<qxdb::ColumnRecord>(
                MakeParameter(schema[i].GetName(), schema[i].GetType(), schema[i].GetDirection()));
            column->lobFlags = schema[i].GetLobFlags();
            column->dateTimeFormat = schema[i].GetDateTimeFormat();
            hintColumns.push_back(column);
        }
        state->Log(line);
    }
    qxdb::StatementProperties& GetProperties() override { return properties; }

    void Cancel() noexcept override {
        std::function<void()> action;
        {
            const std::lock_guard<std::mutex> guard(state->mutex);
            state->log.push_back("cancel");
            ++state->cancels;
            action = state->onCancel;
            cancelled = cancelled || state->cancelEndsStatementFirst;
            state->changed.notify_all();
        }
        if (action)
            action();
        const std::lock_guard<std::mutex> guard(state->mutex);
        cancelled = true;
        state->changed.notify_all();
    }

    void HangUntilCancel(bool endsByCancel) {
        if (state->Hang(cancelled, endsByCancel))
            ThrowErrors("cancelled");
    }

    std::shared_ptr<ScriptConnection> connection;

  private:
    std::shared_ptr<qxdb::CursorImpl> NewCursor(const Result& result);
    std::shared_ptr<ScriptParameters> NewParameters(ScriptParameters::Columns columns) const {
        return std::make_shared<ScriptParameters>(
            std::move(columns), [server = state](const std::string& line) { server->Log(line); });
    }
    void SendOnce(const std::vector<qxdb::RawMessage>& messages, std::size_t stage) {
        if (sentStage >= stage)
            return;
        sentStage = stage;
        for (const qxdb::RawMessage& message : messages)
            connection->Send(message);
    }

    std::shared_ptr<State> state;
    ScriptProperties properties;
    ScriptParameters::Columns hintColumns;
    std::shared_ptr<ScriptParameters> parameters;
    std::string text;
    Step* step = nullptr;
    std::size_t position = 0;
    std::size_t sentStage = 0;
    bool cancelled = false;  // guarded by the server's mutex
};

class ScriptCursor : public qxdb::CursorImpl {
  public:
    ScriptCursor(std::shared_ptr<ScriptStatement> owner, const Result& scriptedResult)
        : statement(std::move(owner)), result(scriptedResult), row(std::make_shared<CurrentRow>()) {}

    bool Fetch() override {
        const int index = next;
        for (const Result::RowEvent& event : result.rowEvents) {
            if (event.row != index)
                continue;
            if (event.message)
                statement->connection->Send(*event.message);
            if (event.action)
                event.action();
            if (event.hangs)
                statement->HangUntilCancel(true);
        }
        ++row->number;
        if (index >= static_cast<int>(result.rows.size())) {
            row->cells = nullptr;
            return false;
        }
        row->cells = &result.rows[static_cast<std::size_t>(index)];
        ++next;
        return true;
    }
    std::shared_ptr<qxdb::BindValueImpl> Bind() override {
        if (result.atBind && !wasBound) {
            wasBound = true;
            result.atBind();
        }
        return std::make_shared<ScriptBinding>(result, row, statement->connection->state);
    }
    bool IsComputeResultSet() override { return result.isCompute; }
    unsigned int GetRowCount() override {
        if (!result.rowCount)
            ThrowErrors("The result has no row count");
        return result.rowCount();
    }
    qxdb::LobLocator GetLocator(unsigned int fieldIndex, const std::string& table, const std::string& sql,
                                const std::string& where, bool specific) override {
        return result.locator ? result.locator(fieldIndex, table, sql, where, specific) : qxdb::LobLocator();
    }

  private:
    std::shared_ptr<ScriptStatement> statement;
    const Result& result;
    std::shared_ptr<CurrentRow> row;
    int next = 0;
    bool wasBound = false;
};

std::shared_ptr<qxdb::CursorImpl> ScriptStatement::GetResults() {
    if (step == nullptr || position >= step->results.size())
        ThrowErrors("No result is available");
    return NewCursor(step->results[position++]);
}

std::shared_ptr<qxdb::CursorImpl> ScriptStatement::NewCursor(const Result& result) {
    return std::make_shared<ScriptCursor>(shared_from_this(), result);
}

std::shared_ptr<qxdb::StatementImpl> ScriptConnection::CreateStatement() {
    return std::make_shared<ScriptStatement>(shared_from_this());
}

class ScriptParameter : public qxdb::CfgParameter {
  public:
    ScriptParameter(std::string parameterName, std::string parameterValue)
        : name(std::move(parameterName)), value(std::move(parameterValue)) {}
    std::string GetName() override { return name; }
    std::string GetValue() override { return value; }

  private:
    std::string name;
    std::string value;
};

class ScriptConfiguration : public qxdb::ConfigurationParametersImpl {
  public:
    explicit ScriptConfiguration(std::shared_ptr<State> serverState) : state(std::move(serverState)) {
        for (const auto& entry : state->configuration)
            parameters.emplace_back(entry.first, entry.second);
    }
    bool LoadDatabaseParameters(const std::string& databaseName) override {
        state->Log("load configuration " + databaseName);
        return state->configurationLoads;
    }
    int ParameterCount() override { return static_cast<int>(parameters.size()); }
    qxdb::CfgParameter& GetParameter(int index) override {
        const qxdb::CfgParameter& parameter = parameters.at(static_cast<std::size_t>(index));
        return const_cast<qxdb::CfgParameter&>(parameter);
    }

  private:
    std::shared_ptr<State> state;
    std::deque<ScriptParameter> parameters;
};

std::shared_ptr<qxdb::ConfigurationParametersImpl> ScriptConnection::GetConfigurationParameters() {
    return state->hasConfiguration ? std::make_shared<ScriptConfiguration>(state) : nullptr;
}

class ScriptDriver : public qxdb::Driver {
  public:
    ScriptDriver(std::string driverName, qxdb::DBTYPE servedType, const std::shared_ptr<State>& serverState,
                 std::vector<std::string>* definitionLog)
        : name(std::move(driverName)), type(servedType), server(serverState), definitions(definitionLog) {}

    std::string GetName() const override { return name; }
    // The manager keeps drivers for good, servers come and go with the tests.
    bool Serves(qxdb::DBTYPE asked) const override { return asked == type && !server.expired(); }
    std::shared_ptr<qxdb::ConnectionImpl> Connect(const qxdb::ConnectionDef& definition) override {
        const std::shared_ptr<State> alive = server.lock();
        if (!alive)
            ThrowErrors("The scripted server is gone");
        if (definitions != nullptr) {
            definitions->push_back(std::to_string(definition.GetType()) + "|" + definition.GetDataSource() +
                                   "|" + definition.GetUser() + "|" + definition.GetPassword() + "|" +
                                   definition.GetDriverName() + "|" + definition.GetOptions());
        }
        return std::make_shared<ScriptConnection>(alive);
    }

  private:
    std::string name;
    qxdb::DBTYPE type;
    std::weak_ptr<State> server;
    std::vector<std::string>* definitions;
};

}  // namespace

ScriptedServer::ScriptedServer() : state(std::make_shared<State>()) {}

ScriptedServer::~ScriptedServer() {
    Release();
    if (!verified)
        Verify();
}

void ScriptedServer::SetVersion(double version) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->version = version;
}

void ScriptedServer::SetUnicode(bool unicode) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->unicode = unicode;
}

void ScriptedServer::SetCapabilities(unsigned int mask) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->capabilities = mask;
}

void ScriptedServer::FailSetCurrentDatabase(Errors errors) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->databaseErrors = std::make_shared<Errors>(errors);
}

void ScriptedServer::SetConfiguration(std::vector<std::pair<std::string, std::string>> parameters,
                                      bool loads) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->configuration = std::move(parameters);
    state->hasConfiguration = true;
    state->configurationLoads = loads;
}

Step& ScriptedServer::Expect(const std::string& sql) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    verified = false;
    state->steps.emplace_back(sql);
    return state->steps.back();
}

void ScriptedServer::AcceptOthers() {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->acceptOthers = true;
}

void ScriptedServer::Forget() {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->nextStep = state->steps.size();
}

std::shared_ptr<qxdb::ConnectionImpl> ScriptedServer::MakeConnection() {
    return std::make_shared<ScriptConnection>(state);
}

qxdb::Connection ScriptedServer::Connect() {
    return qxdb::Connection(MakeConnection());
}

void ScriptedServer::Release() {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->released = true;
    state->changed.notify_all();
}

void ScriptedServer::OnCancel(std::function<void()> action, bool endsStatementFirst) {
    const std::lock_guard<std::mutex> guard(state->mutex);
    state->onCancel = std::move(action);
    state->cancelEndsStatementFirst = endsStatementFirst;
}

bool ScriptedServer::WaitForExecutions(int count) {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(guard, LongestWait,
                                   [&] { return static_cast<int>(state->executed.size()) >= count; });
}

bool ScriptedServer::WaitForHang() {
    std::unique_lock<std::mutex> guard(state->mutex);
    return state->changed.wait_for(guard, LongestWait, [&] { return state->hanging > 0; });
}

std::vector<std::string> ScriptedServer::Log() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->log;
}

std::vector<std::string> ScriptedServer::Executed() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->executed;
}

std::vector<std::string> ScriptedServer::Bound() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->bound;
}

int ScriptedServer::CancelCount() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->cancels;
}

int ScriptedServer::StatementCount() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->statements;
}

std::vector<std::thread::id> ScriptedServer::StatementEnds() const {
    const std::lock_guard<std::mutex> guard(state->mutex);
    return state->statementEnds;
}

std::string ScriptedServer::Problems() const {
    return state->AllProblems();
}

void ScriptedServer::Verify() {
    verified = true;
    const std::string problems = Problems();
    if (!problems.empty())
        ADD_FAILURE() << problems;
}

void RegisterScriptedDriver(const std::string& name, qxdb::DBTYPE type, ScriptedServer& server,
                            std::vector<std::string>* definitions) {
    qxdb::Manager::Instance().RegisterDriver(
        std::make_shared<ScriptDriver>(name, type, server.state, definitions));
}

}  // namespace qxtest
