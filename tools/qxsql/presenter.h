// Decides where each result set goes, and when.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/qxsql/command_line.h"
#include "tools/qxsql/exporting.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/progress_line.h"
#include "tools/qxsql/run_watcher.h"
#include "tools/qxsql/script_report.h"
#include "tools/qxsql/table_view.h"

namespace qxsql {

// Presents the result sets of one run in their order: on the screen while they grow, as text when they end,
// or into a file when all is done. Main thread.
class Presenter {
  public:
    // `scriptName`: what messages call the script that runs; empty when it is none.
    Presenter(const CommandLine& commandLine, const StorePtr& results, const std::string& scriptName = "");

    // The family of the server, for what is written in its dialect.
    void SetServerType(qxdb::DBTYPE type) { server = type; }

    // What the run tells, in its order.
    void Take(const RunEvent& event);
    void ResultBegins(int resultSet, qxdbsqlengine::ResultSetType type);
    void ResultEnds(int resultSet);
    // While nothing else happens: rows that have arrived go to the screen, progress is shown. Of a script:
    // the bytes that are done, and all of them if that is known.
    void Look(long long bytesDone = 0, long long bytes = 0);
    // A line about the run as a whole, also with --quiet.
    void Tell(const std::string& text);
    // After the run: what it has left open, the export, the summary of a script, the timing if asked for.
    void Finish();

    // The first of the result sets that the user wants, -1 without one.
    int FirstShown() const { return shown.empty() ? -1 : shown.front(); }

    // ExitDone, or the worst thing that happened.
    int ExitCode() const { return exitCode; }
    void SetExitCode(int code) { exitCode = code; }

  private:
    void ErrorArrived(const Errors& errors);
    void ItemEnds(const RunEvent& event);
    bool ReadMessages(int resultSet, int end);
    void ShowOutputValues(int resultSet);
    bool IsWanted();
    bool IsHeldBack() const;
    void ShowTable(int resultSet, int count);
    void WriteNow(int resultSet);
    void WriteHeldBack();
    void FirstRowSeen();
    void PrintTable(int end);
    void PrintTiming() const;

    const CommandLine& line;
    StorePtr store;
    const bool onScreen;
    // One document on standard output: all results have their place in it.
    const bool asDocument;
    qxdb::DBTYPE server = qxdb::DBTYPE_OTHER;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::optional<std::chrono::steady_clock::time_point> firstRow;
    MessageReader messages;
    ProgressLine progress;
    std::optional<ScriptReport> script;
    std::unique_ptr<TableView> table;
    std::vector<int> shown;  // result sets that the user wants, in order of arrival
    int open = -1;           // the result set that is growing, -1 for none
    qxdbsqlengine::ResultSetType openType = qxdbsqlengine::ResultSetNormal;
    int resultCount = 0;  // result sets of rows so far
    int errorCount = 0;   // as the limit of errors counts them
    bool openWanted = false;
    bool printed = false;  // something to standard output
    long long rows = 0;
    double fetchSeconds = 0;
    int exitCode = ExitDone;
};

}  // namespace qxsql
