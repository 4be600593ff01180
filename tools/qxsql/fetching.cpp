#include "tools/qxsql/fetching.h"

#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include "engine/director.h"
#include "platform/os/variant.h"
#include "request/sql_request.h"
#include "tools/qxsql/file_failure.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/presenter.h"
#include "tools/qxsql/run_loop.h"
#include "tools/qxsql/run_watcher.h"
#include "tools/qxsql/script_input.h"
#include "tools/qxsql/statement_parameters.h"
#include "tools/qxsql/tool_connection.h"

namespace qxsql {

using qxdbsqlengine::ConnectionRequestCallback;
using qxdbsqlengine::CSingleRequestDirector;
using qxdbsqlengine::SmartPtr;
using qxdbsqlengine::SQLRequest;

namespace {

using OptionMap = std::map<unsigned int, _variant_t>;

// The option that carries the error limit. Being there it also keeps the map from being empty: a run with no
// options at all resets the row and error limits, and those of the command line must hold.
constexpr unsigned int MaxErrorCountOption = 50147;

// A whole number travels as a number, on/off/true/false as a bool, everything else as text.
_variant_t OptionValue(const std::string& text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
    if (!text.empty() && parsed.ec == std::errc() && parsed.ptr == end)
        return _variant_t(number, VT_I4);
    if (text == "on" || text == "true")
        return _variant_t(true);
    if (text == "off" || text == "false")
        return _variant_t(false);
    return _variant_t(text.c_str());
}

OptionMap Options(const CommandLine& line) {
    OptionMap options;
    options[MaxErrorCountOption] = _variant_t(line.maxErrors, VT_I4);
    for (const auto& [id, value] : line.options)
        options[id] = OptionValue(value);
    return options;
}

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
        return std::make_unique<ToolConnection>(line);
    } catch (const Errors& errors) {
        PrintErrors(errors);
        throw NoConnection();
    }
}

// One run over a connection, from its start to what the user is told at its end.
class Run {
  public:
    // `scriptName`: empty when it is none.
    Run(const CommandLine& commandLine, std::unique_ptr<ToolConnection> opened, const std::string& scriptName)
        : line(commandLine),
          connection(*opened),
          connectionHandle(opened.release()),
          director(connection.Definition(), connectionHandle, Options(line), OptionMap(), nullptr,
                   line.separator, true),
          requestHandle(director.GetRequest()),
          request(dynamic_cast<SQLRequest&>(*Loki::GetImplRef(requestHandle))),
          presenter(line, director.GetDataStorage(), scriptName),
          loop(director, watcher, presenter) {
        watcher.Watch(director);
        director.SetBindAsStrings(line.asStrings);
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
        return Interrupted() ? ExitInterrupted : presenter.ExitCode();
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
        if (script == nullptr || !request.GetScriptFailure(code, reason))
            return;
        presenter.Tell(script->Name() + ": the script was not read to its end: " + script->WithName(reason));
        presenter.SetExitCode(ExitFile);
    }

    const CommandLine& line;
    ToolConnection& connection;
    const SmartPtr<ConnectionRequestCallback> connectionHandle;
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
        return line.IsScript() ? RunScript(line) : RunStatement(line);
    } catch (const NoConnection&) {
        return ExitNoConnection;
    } catch (const Errors& errors) {
        PrintErrors(errors);
        return ExitServerError;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return ExitUsage;
    }
}

int RunRead(const CommandLine& line) {
    ArmInterrupt();
    StorePtr store(new qxdbsqlengine::DataStorage(qxdbsqlengine::DataStorage::CreateResultsStorage(false)));
    if (!LoadFile(line, store))
        return ExitFile;
    try {
        Presenter presenter(line, store);
        for (int resultSet = 0; resultSet < store->GetNumberOfResultSets(); ++resultSet) {
            presenter.ResultBegins(resultSet, qxdbsqlengine::ResultSetNormal);
            presenter.ResultEnds(resultSet);
        }
        presenter.Finish();
        return Interrupted() ? ExitInterrupted : presenter.ExitCode();
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return ExitUsage;
    }
}

}  // namespace qxsql
