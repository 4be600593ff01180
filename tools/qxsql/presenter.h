// Decides where each result set goes, and when.
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

#include "tools/qxsql/command_line.h"
#include "tools/qxsql/exporting.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/progress_line.h"
#include "tools/qxsql/table_view.h"

namespace qxsql {

// Presents the result sets of one run in their order: on the screen while they grow, as text when they end,
// or into a file when all is done. Main thread.
class Presenter {
  public:
    Presenter(const CommandLine& commandLine, const StorePtr& results);

    void ResultBegins(int resultSet, qxdbsqlengine::ResultSetType type);
    // While nothing else happens: rows that have arrived go to the screen, progress is shown.
    void Look();
    void ResultEnds(int resultSet);
    void ErrorArrived(const Errors& errors);
    // After the run: the export, and the timing if asked for.
    void Finish();

    // ExitDone, or the worst thing that happened.
    int ExitCode() const { return exitCode; }

  private:
    bool IsWanted();
    void FirstRowSeen();
    void PrintTable(int end);
    void PrintTiming() const;

    const CommandLine& line;
    StorePtr store;
    const bool onScreen;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::optional<std::chrono::steady_clock::time_point> firstRow;
    MessagePrinter messages;
    ProgressLine progress;
    std::unique_ptr<TableView> table;
    std::deque<int> shown;  // result sets that the user wants, in order of arrival
    int open = -1;          // the result set that is growing, -1 for none
    qxdbsqlengine::ResultSetType openType = qxdbsqlengine::ResultSetNormal;
    int resultCount = 0;  // result sets of rows so far
    bool openWanted = false;
    long long rows = 0;
    double fetchSeconds = 0;
    int exitCode = ExitDone;
};

}  // namespace qxsql
