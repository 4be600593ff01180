#include "tools/qxsql/fetching.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <thread>

#include "engine/director.h"
#include "request/sql_request.h"
#include "tools/qxsql/call_parameters.h"
#include "tools/qxsql/file_failure.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/lob_transfers.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/password.h"
#include "tools/qxsql/presenter.h"
#include "tools/qxsql/run_loop.h"
#include "tools/qxsql/run_watcher.h"
#include "tools/qxsql/script_input.h"
#include "tools/qxsql/server_options.h"
#include "tools/qxsql/statement_parameters.h"
#include "tools/qxsql/tool_connection.h"

namespace qxsql {

using qxdbsqlengine::ConnectionRequestCallback;
using qxdbsqlengine::CSingleRequestDirector;
using qxdbsqlengine::SmartPtr;
using qxdbsqlengine::SQLRequest;

namespace {

// How much is shown of a large object that a call gives back, in bytes: room for all of it is made
// beforehand.
constexpr int MostOfLobOutput = 65536;

// The one statement of the command line, when it is no script.
std::string ReadStatement(const CommandLine& line) {
    if (line.sql)
        return *line.sql;
    const ScriptInput input(line.sqlFile, ScriptInput::AsTheyAre);
    std::ifstream file(input.Path(), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file || file.bad())
        throw FileFailure("Cannot read " + input.Name());
    return text;
}

// The reason has been printed.
class NoConnection {};

std::unique_ptr<ToolConnection> Connect(const CommandLine& line) {
    try {
        return std::make_unique<ToolConnection>(line, FindPassword(line.user));
    } catch (const Errors& errors) {
        PrintErrors(errors);
        throw NoConnection();
    }
}

// One run over a connection, from its start to what the user is told at its end.
class Run {
  public:
    // `scriptName`: empty when it is none. Throws std::invalid_argument for what the server does not have.
    Run(const CommandLine& commandLine, std::unique_ptr<ToolConnection> opened, const std::string& scriptName)
        : line(commandLine),
          connection(*opened),
          connectionHandle(opened.release()),
          options(MakeQueryOptions(line, connection.ServerType(), connection.ServerVersion())),
          director(connection.Definition(), connectionHandle, options.current, options.defaults, nullptr,
                   line.separator, true),
          requestHandle(director.GetRequest()),
          request(dynamic_cast<SQLRequest&>(*Loki::GetImplRef(requestHandle))),
          presenter(line, director.GetDataStorage(), scriptName),
          loop(director, watcher, presenter) {
        watcher.Watch(director);
        CheckPlans(line, connection.ServerType());
        presenter.SetServerType(connection.ServerType());
        director.SetDoExplainPlan(line.explain);
        director.SetBindAsStrings(line.asStrings);
        director.SetUseLobLocators(line.UsesLobLocators());
        director.SetLobStreamSize(WholeLob);
        director.SetLobPreviewSize(line.lobPreview.value_or(MostOfLobOutput));
        request.SetMaxRowCount(line.maxRows);
        request.SetMaxErrorCount(line.maxErrors);
        // By its separator alone the generic parser tells Oracle from DB2: with the user's own it can't.
        request.SetUseGenericParser(line.separator.empty());
    }

    void StartScript(const ScriptInput& input) {
        script = &input;
        loop.SetProgress([this] { return request.GetScriptBytesDone(); }, input.Size());
        director.Execute(input.Path(), SQLRequest::RequestScript, true, false);
    }

    void StartStatement(const std::string& sql) {
        if (line.parameters.GetParameterCount() == 0) {
            director.Execute(sql, SQLRequest::RequestSQL, false, false);
            return;
        }
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        BindParameters(sql);
        director.Execute();
    }

    void StartCall() {
        const SQLRequest::RequestType type =
            line.call == CallKind::Function ? SQLRequest::RequestFunction : SQLRequest::RequestProcedure;
        const qxdbsqlengine::ParameterList parameters =
            MatchCallParameters(line.parameterWords, DescribeCall(line, connection.GetConnection()));
        request.SetSQL(line.callName, type, false, false);
        director.SetDoPrepare(true);
        director.SetParameters(parameters);
        director.Execute();
    }

    int FollowToEnd() {
        if (line.timeout)
            loop.SetTimeout(*line.timeout);
        const RunLoop::End end = loop.Follow();
        if (end == RunLoop::Complete)
            ReportShortScript();
        presenter.Finish();
        switch (end) {
            case RunLoop::CancelledByUser:
                return ExitInterrupted;
            case RunLoop::CancelledByTime:
                return ExitTimeout;
            case RunLoop::CancelFailed:
                return ExitCancelFailed;
            case RunLoop::Complete:
                break;
        }
        if (Interrupted())
            return ExitInterrupted;
        if (line.lobTransfers.empty() || presenter.ExitCode() != ExitDone)
            return presenter.ExitCode();
        // The connection is free when the engine has left it.
        while (director.IsExecuting())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return RunLobTransfers(line, connection, connectionHandle, director.GetDataStorage(),
                               presenter.FirstShown());
    }

  private:
    // The statement is asked for its parameters first: what is missing would be sent as NULL without a word,
    // and servers that know no types are told them.
    void BindParameters(const std::string& sql) {
        qxdb::Statement statement = connection.GetConnection().CreateStatement(qxdb::CursorDefault, 1);
        statement.Prepare(sql, qxdb::Statement::PrepareSQL);
        const qxdbsqlengine::ParameterList ordered =
            OrderParameters(line.parameters, statement.Bind().GetSchema());
        director.SetDoPrepare(true);
        director.SetParameters(ordered);
        director.SetSchema(DescribeParameters(ordered));
    }

    // The engine takes a script that its parser could not read on for one that is at its end.
    void ReportShortScript() {
        HRESULT code = S_OK;
        std::string reason;
        if (script == nullptr)
            return;
        if (!request.GetScriptFailure(code, reason)) {
            if (!script->HasShrunk() || request.GetScriptBytesDone() >= script->Size())
                return;
            reason = "The file was cut while it was read.";
        }
        presenter.Tell(script->Name() + ": the script was not read to its end: " + script->WithName(reason));
        presenter.SetExitCode(ExitFile);
    }

    const CommandLine& line;
    ToolConnection& connection;
    const SmartPtr<ConnectionRequestCallback> connectionHandle;
    const QueryOptions options;
    RunWatcher watcher;
    CSingleRequestDirector director;
    qxdbsqlengine::RequestPtr requestHandle;
    SQLRequest& request;
    Presenter presenter;
    RunLoop loop;
    const ScriptInput* script = nullptr;
};

int RunScript(const CommandLine& line) {
    const ScriptInput input(line.sqlFile, ScriptInput::Copied);
    Run run(line, Connect(line), input.Name());
    ArmInterrupt();
    run.StartScript(input);
    return run.FollowToEnd();
}

int RunCall(const CommandLine& line) {
    Run run(line, Connect(line), "");
    ArmInterrupt();
    run.StartCall();
    return run.FollowToEnd();
}

int RunStatement(const CommandLine& line) {
    const std::string sql = ReadStatement(line);
    Run run(line, Connect(line), "");
    ArmInterrupt();
    run.StartStatement(sql);
    return run.FollowToEnd();
}

}  // namespace

int RunOnConnection(const CommandLine& line) {
    try {
        if (line.IsCall())
            return RunCall(line);
        return line.IsScript() ? RunScript(line) : RunStatement(line);
    } catch (const NoConnection&) {
        return ExitNoConnection;
    } catch (const PromptInterrupted& ended) {
        std::cerr << ended.what() << '\n';
        return ExitInterrupted;
    } catch (const Errors& errors) {
        PrintErrors(errors);
        return ExitServerError;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return ExitUsage;
    }
}

int ListOptions(const CommandLine& line) {
    // Without a server to ask: those of the family's newest release.
    constexpr double newest = 1e6;
    try {
        if (line.connection.empty()) {
            PrintOptions(std::cout, line.family->server, newest);
            return ExitDone;
        }
        const std::unique_ptr<ToolConnection> connection = Connect(line);
        PrintOptions(std::cout, connection->ServerType(), connection->ServerVersion());
        return ExitDone;
    } catch (const NoConnection&) {
        return ExitNoConnection;
    } catch (const PromptInterrupted& ended) {
        std::cerr << ended.what() << '\n';
        return ExitInterrupted;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return ExitUsage;
    }
}

int RunRead(const CommandLine& line) {
    ArmInterrupt();
    StorePtr store(new qxdbsqlengine::DataStorage(qxdbsqlengine::DataStorage::CreateResultsStorage(false)));
    try {
        Presenter presenter(line, store);
        if (!LoadFile(line, store))
            return ExitFile;
        // Taken back, for what was read is still to be written; a second Ctrl-C ends the process.
        const bool cut = Interrupted().exchange(false);
        if (line.family != nullptr)
            presenter.SetServerType(line.family->server);
        for (int resultSet = 0; resultSet < store->GetNumberOfResultSets(); ++resultSet) {
            presenter.ResultBegins(resultSet, qxdbsqlengine::ResultSetNormal);
            presenter.ResultEnds(resultSet);
        }
        presenter.Finish();
        return cut || Interrupted() ? ExitInterrupted : presenter.ExitCode();
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return ExitUsage;
    }
}

}  // namespace qxsql
