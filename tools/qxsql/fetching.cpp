#include "tools/qxsql/fetching.h"

#include <charconv>
#include <exception>
#include <iostream>
#include <map>
#include <stdexcept>

#include "engine/director.h"
#include "engine/single_connection.h"
#include "platform/os/variant.h"
#include "request/sql_request.h"
#include "tools/qxsql/connection_text.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/presenter.h"
#include "tools/qxsql/run_watcher.h"
#include "tools/qxsql/sorting.h"

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

void ApplySettings(const CommandLine& line, CSingleRequestDirector& director) {
    director.SetBindAsStrings(line.asStrings);
    const qxdbsqlengine::RequestPtr request = director.GetRequest();
    if (auto* const sqlRequest = dynamic_cast<SQLRequest*>(Loki::GetImplRef(request))) {
        sqlRequest->SetMaxRowCount(line.maxRows);
        sqlRequest->SetMaxErrorCount(line.maxErrors);
    }
}

void Present(const RunEvent& event, Presenter& presenter) {
    switch (event.kind) {
        case RunEvent::Error:
            presenter.ErrorArrived(event.errors);
            break;
        case RunEvent::ResultBegin:
            presenter.ResultBegins(event.resultSet, event.type);
            break;
        case RunEvent::ResultEnd:
            presenter.ResultEnds(event.resultSet);
            break;
        case RunEvent::RequestEnd:
            break;
    }
}

// Presents events up to the end of the run. Ctrl-C cancels the run, and what has arrived is presented; the
// result is false then. When presenting fails, such as by a sort column that the result does not have, the
// run is cancelled and waited for before the failure goes on.
bool Follow(CSingleRequestDirector& director, RunWatcher& watcher, Presenter& presenter) {
    std::exception_ptr failure;
    bool cancelled = false;
    for (;;) {
        // Taken back, for what has arrived is still to be written; a second Ctrl-C ends the process.
        if (Interrupted().exchange(false)) {
            cancelled = true;
            director.Cancel();
        }
        const std::optional<RunEvent> event = watcher.Next(std::chrono::milliseconds(5));
        if (event && event->kind == RunEvent::RequestEnd)
            break;
        if (failure)
            continue;
        try {
            if (event)
                Present(*event, presenter);
            else
                presenter.Look();
        } catch (...) {
            failure = std::current_exception();
            director.Cancel();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
    return !cancelled;
}

}  // namespace

int RunSql(const CommandLine& line, const std::string& sql) {
    try {
        const ConnectionText text = ParseConnectionText(line.connection);
        const qxdb::DBTYPE type = ServerTypeOf(text.driver);
        SmartPtr<ConnectionRequestCallback> connections;
        try {
            connections =
                SmartPtr<ConnectionRequestCallback>(new qxdbsqlengine::SingleConnection(qxdb::ConnectionDef(
                    type, text.dataSource, "", "", text.driver, line.create ? "create" : "")));
        } catch (const Errors& errors) {
            PrintErrors(errors);
            return ExitNoConnection;
        }
        const qxdbsrd::ConnectionDefElement definition(type, text.dataSource, 0.0, "", "");
        RunWatcher watcher;
        CSingleRequestDirector director(definition, connections, Options(line), OptionMap(), nullptr, ";",
                                        true);
        ApplySettings(line, director);
        director.RegisterCallback(static_cast<qxdbsqlengine::ErrorCallback&>(watcher));
        director.RegisterCallback(static_cast<qxdbsqlengine::RequestCallback&>(watcher));
        director.RegisterCallback(static_cast<qxdbsqlengine::ResultSetCallback&>(watcher));
        Presenter presenter(line, director.GetDataStorage());
        ArmInterrupt();
        director.Execute(sql, SQLRequest::RequestSQL, false, false);
        const bool complete = Follow(director, watcher, presenter);
        presenter.Finish();
        return complete && !Interrupted() ? presenter.ExitCode() : ExitInterrupted;
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
