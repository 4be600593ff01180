#include "tools/qxsql/presenter.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include "tools/qxsql/sorting.h"
#include "tools/qxsql/terminal.h"

namespace qxsql {

using qxdbsqlengine::ResultSetMessage;
using Clock = std::chrono::steady_clock;

Presenter::Presenter(const CommandLine& commandLine, const StorePtr& results)
    : line(commandLine),
      store(results),
      onScreen(line.outputFile.empty() &&
               (line.table || (line.format.empty() && !line.delimiter && IsTerminal(STDOUT_FILENO)))),
      progress(!line.quiet) {}

bool Presenter::IsWanted() {
    return !line.result || *line.result == resultCount - 1;
}

void Presenter::ResultBegins(int resultSet, qxdbsqlengine::ResultSetType type) {
    open = resultSet;
    openType = type;
    openWanted = false;
    if (type == ResultSetMessage)
        return;
    ++resultCount;
    openWanted = IsWanted();
    if (!openWanted)
        return;
    shown.push_back(resultSet);
    if (onScreen)
        table = std::make_unique<TableView>(*store, resultSet, line.columns, line.headers, ScreenWidth());
}

void Presenter::FirstRowSeen() {
    if (!firstRow)
        firstRow = Clock::now();
}

void Presenter::PrintTable(int end) {
    progress.Wipe();
    table->Print(std::cout, end);
    std::cout.flush();
}

void Presenter::Look() {
    if (open < 0 || openType == ResultSetMessage)
        return;
    const int count = store->GetNumberOfRows(open);
    if (count > 0)
        FirstRowSeen();
    // The first rows decide the widths, so the screen waits for a fair sample or for the end of the result.
    if (table && line.sort.empty() && count >= TableView::SampleRows) {
        PrintTable(count);
        return;
    }
    progress.ShowRows(rows + count);
}

void Presenter::ResultEnds(int resultSet) {
    open = -1;
    progress.Wipe();
    if (openType == ResultSetMessage) {
        messages.PrintResultSet(*store, resultSet, line.quiet);
        return;
    }
    const int count = store->GetNumberOfRows(resultSet);
    if (count > 0)
        FirstRowSeen();
    rows += count;
    fetchSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (!openWanted)
        return;
    // A limit is never silent: without this line a cut result would look like a whole one.
    if (line.maxRows > 0 && count >= line.maxRows && !line.quiet)
        std::cerr << "Stopped at " << GroupedNumber(count) << " rows (--max-rows)\n";
    SortResult(*store, resultSet, line.sort);
    if (table) {
        PrintTable(count);
        if (!line.quiet)
            std::cerr << '(' << GroupedNumber(count) << (count == 1 ? " row)\n" : " rows)\n");
        table.reset();
    } else if (line.outputFile.empty()) {
        // Result sets are parted by one empty line, as they are in a file.
        if (shown.size() > 1)
            std::cout << "\r\n";
        if (!WriteToStream(line, store, resultSet, std::cout))
            exitCode = ExitFile;
    }
}

void Presenter::ErrorArrived(const Errors& errors) {
    progress.Wipe();
    PrintErrors(errors);
    messages.ErrorWasPrinted(errors);
    if (exitCode == ExitDone)
        exitCode = ExitServerError;
}

void Presenter::Finish() {
    if (line.result && *line.result >= resultCount && exitCode == ExitDone) {
        throw std::invalid_argument("--result " + std::to_string(*line.result) + ": there are " +
                                    std::to_string(resultCount) + " results, numbered from 0");
    }
    // A statement that failed leaves no file behind that looks like its result.
    if (!line.outputFile.empty() && !(exitCode == ExitServerError && shown.empty())) {
        if (!ExportToFile(line, store, shown))
            exitCode = ExitFile;
    }
    if (line.timing)
        PrintTiming();
}

void Presenter::PrintTiming() const {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (firstRow)
        std::fprintf(stderr, "First row     %.3f s\n",
                     std::chrono::duration<double>(*firstRow - start).count());
    std::fprintf(stderr, "Rows          %s\n", GroupedNumber(rows).c_str());
    if (fetchSeconds > 0) {
        std::fprintf(stderr, "Fetched in    %.3f s, %s rows/s\n", fetchSeconds,
                     GroupedNumber(static_cast<long long>(static_cast<double>(rows) / fetchSeconds)).c_str());
    }
    std::fprintf(stderr, "Total         %.3f s\n", seconds);
    std::fprintf(stderr, "Peak memory   %.1f MiB\n", static_cast<double>(PeakMemory()) / (1024.0 * 1024.0));
}

}  // namespace qxsql
