#include "tools/qxsql/presenter.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>

#include "tools/qxsql/file_formats.h"
#include "tools/qxsql/output_values.h"
#include "tools/qxsql/sorting.h"
#include "tools/qxsql/terminal.h"

namespace qxsql {

using qxdbsqlengine::ResultSetMessage;
using qxdbsqlengine::ResultSetParameter;
using Clock = std::chrono::steady_clock;

namespace {

bool IsOnScreen(const CommandLine& line) {
    return line.outputFile.empty() && line.lobTransfers.empty() &&
           (line.aligned || (line.format.empty() && !line.delimiter && IsTerminal(STDOUT_FILENO)));
}

}  // namespace

Presenter::Presenter(const CommandLine& commandLine, const StorePtr& results, const std::string& scriptName)
    : line(commandLine),
      store(results),
      onScreen(IsOnScreen(line)),
      asDocument(!onScreen && line.outputFile.empty() && IsDocument(OutputType(line))),
      progress(ProgressOf(line)) {
    if (!scriptName.empty())
        script.emplace(scriptName);
}

void Presenter::Take(const RunEvent& event) {
    switch (event.kind) {
        case RunEvent::Error:
            ErrorArrived(event.errors);
            break;
        case RunEvent::ResultBegin:
            ResultBegins(event.resultSet, event.type);
            break;
        case RunEvent::ResultEnd:
            ResultEnds(event.resultSet);
            break;
        case RunEvent::ItemBegin:
            if (script)
                script->ItemBegins(event.line);
            break;
        case RunEvent::ItemEnd:
            if (script)
                ItemEnds(event);
            break;
        case RunEvent::CancelFailed:
        case RunEvent::RequestEnd:
            break;
    }
}

bool Presenter::IsWanted() {
    return !line.result || *line.result == resultCount - 1;
}

void Presenter::ResultBegins(int resultSet, qxdbsqlengine::ResultSetType type) {
    open = resultSet;
    openType = type;
    openWanted = false;
    if (type == ResultSetMessage) {
        messages.Begin();
        return;
    }
    if (type == ResultSetParameter)
        return;
    ++resultCount;
    openWanted = IsWanted();
    if (!openWanted)
        return;
    shown.push_back(resultSet);
    // Which rows there are is known at the end.
    if (onScreen && line.rows.empty())
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

void Presenter::Look(long long bytesDone, long long bytes) {
    const bool inRows = open >= 0 && openType != ResultSetMessage && openType != ResultSetParameter;
    const int count = inRows ? store->GetNumberOfRows(open) : 0;
    if (count > 0)
        FirstRowSeen();
    // The first rows decide the widths, so the screen waits for a fair sample or for the end of the result.
    if (inRows && table && line.sort.empty() && count >= TableView::SampleRows)
        PrintTable(count);
    else if (script)
        progress.ShowItems(script->Items(), bytesDone, bytes);
    else if (inRows)
        progress.ShowRows(rows + count);
}

void Presenter::ResultEnds(int resultSet) {
    open = -1;
    if (openType == ResultSetMessage) {
        ReadMessages(resultSet, store->GetNumberOfRows(resultSet));
        return;
    }
    progress.Wipe();
    const int count = store->GetNumberOfRows(resultSet);
    if (openType == ResultSetParameter) {
        if (count > 0)
            ShowOutputValues(resultSet);
        return;
    }
    if (count > 0)
        FirstRowSeen();
    rows += count;
    if (script)
        script->RowsFetched(count);
    fetchSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (!openWanted)
        return;
    // A limit is never silent: without this line a cut result would look like a whole one.
    if (line.maxRows > 0 && count >= line.maxRows && !line.quiet)
        std::cerr << "Stopped at " << GroupedNumber(count) << " rows (--max-rows)\n";
    SortResult(*store, resultSet, line.sort);
    if (!line.lobTransfers.empty())
        return;
    NameTable(line, *store, resultSet);
    if (onScreen)
        ShowTable(resultSet, count);
    else if (!IsHeldBack())
        WriteNow(resultSet);
}

// What has one head and one foot waits for its last result.
bool Presenter::IsHeldBack() const {
    return !line.outputFile.empty() || asDocument;
}

void Presenter::ShowTable(int resultSet, int count) {
    if (table) {
        PrintTable(count);
    } else {
        qxdbsqlengine::DataStorage rowsOnly = ShownResults(line, *store, {resultSet});
        count = rowsOnly.GetNumberOfRows(0);
        table = std::make_unique<TableView>(rowsOnly, 0, std::vector<int>(), line.headers, ScreenWidth());
        PrintTable(count);
        table.reset();
    }
    printed = true;
    if (!line.quiet)
        std::cerr << '(' << GroupedNumber(count) << (count == 1 ? " row)\n" : " rows)\n");
    table.reset();
}

void Presenter::WriteNow(int resultSet) {
    // Result sets are parted by one empty line, as they are in a file. Statements part themselves.
    if (printed && OutputType(line) != qxdbsqlengine::ResultFileInsert)
        std::cout << "\r\n";
    printed = true;
    if (!WriteResults(line, server, store, {resultSet}, &std::cout))
        exitCode = ExitFile;
}

void Presenter::WriteHeldBack() {
    // A statement that failed leaves no file behind that looks like its result, and no results are no
    // document.
    if (!IsHeldBack() || (shown.empty() && (asDocument || exitCode == ExitServerError)))
        return;
    if (!WriteResults(line, server, store, shown, asDocument ? &std::cout : nullptr))
        exitCode = ExitFile;
}

// On standard output also when results go to a file, which holds nothing but results. A document, and
// statements that are to be run, can't take them in.
void Presenter::ShowOutputValues(int resultSet) {
    if (line.outputFile.empty() && (asDocument || OutputType(line) == qxdbsqlengine::ResultFileInsert)) {
        PrintOutputValues(std::cerr, *store, resultSet, IsTerminal(STDERR_FILENO));
        return;
    }
    if (printed)
        std::cout << (onScreen ? "\n" : "\r\n");
    printed = true;
    PrintOutputValues(std::cout, *store, resultSet, IsTerminal(STDOUT_FILENO));
}

void Presenter::ErrorArrived(const Errors& errors) {
    progress.Wipe();
    bool failed = false;
    ForEachError(errors, [&](const ErrorRecord& record) {
        failed = failed || IsFailure(record);
        ++errorCount;
        std::cerr << (script ? script->ErrorLine(record) : ErrorText(record)) << '\n';
    });
    messages.ErrorWasPrinted(errors);
    if (!failed)
        return;
    if (script)
        script->ItemFailed();
    if (exitCode == ExitDone)
        exitCode = ExitServerError;
}

void Presenter::ItemEnds(const RunEvent& event) {
    const bool hasMessages = event.resultSet >= 0 && ReadMessages(event.resultSet, event.messages);
    messages.ForgetErrors();
    // Without this nobody sees that a command of the server's client, such as one to connect elsewhere, had
    // no effect.
    if (!script->ItemEnds(event.executed || hasMessages) && line.verbose)
        Tell(script->Place() + ": skipped, nothing for the server");
}

// True when there were any.
bool Presenter::ReadMessages(int resultSet, int end) {
    bool any = false;
    messages.ReadTo(*store, resultSet, end, [&](const std::string& text) {
        any = true;
        // One line for each INSERT of a long script would hide all else.
        const bool counted = script && script->TakesLine(text) && !line.verbose;
        if (line.quiet || counted)
            return;
        progress.Wipe();
        std::cerr << (script ? script->Place() + ": " : "") << text << '\n';
    });
    return any;
}

void Presenter::Tell(const std::string& text) {
    progress.Wipe();
    std::cerr << text << '\n';
}

void Presenter::Finish() {
    // The run was given up in the middle of a result.
    if (open >= 0)
        ResultEnds(open);
    progress.Wipe();
    if (line.result && *line.result >= resultCount && exitCode == ExitDone) {
        throw std::invalid_argument("--result " + std::to_string(*line.result) + ": there are " +
                                    std::to_string(resultCount) + " results, numbered from 0");
    }
    WriteHeldBack();
    if (script && line.maxErrors > 0 && errorCount >= line.maxErrors)
        Tell(script->Place() + ": --max-errors " + std::to_string(line.maxErrors) +
             " reached, nothing behind this item was run");
    if (script && !line.quiet)
        Tell(script->Summary(Clock::now() - start));
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
