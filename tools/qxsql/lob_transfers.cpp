#include "tools/qxsql/lob_transfers.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "lob/lob_request_director.h"
#include "tools/qxsql/interrupt.h"
#include "tools/qxsql/messages.h"
#include "tools/qxsql/run_watcher.h"
#include "tools/qxsql/sorting.h"

namespace qxsql {

using qxdbsqlengine::CLobRequestDirector;
using qxdbsqlengine::ConnectionRequestCallback;
using qxdbsqlengine::DataStorage;
using qxdbsqlengine::LobExtract;
using qxdbsqlengine::SmartPtr;
using Clock = std::chrono::steady_clock;

namespace {

// Drivers tell by it that a file, not the server, is in the way.
constexpr const char* FileState = "58030";

[[noreturn]] void RefusePlace(const LobTransfer& transfer, const std::string& reason) {
    throw std::invalid_argument(transfer.Option() + " " + transfer.place + ": " + reason);
}

LobExtract FindLob(const LobTransfer& transfer, DataStorage& store, int resultSet) {
    if (resultSet < 0)
        RefusePlace(transfer, "there is no result");
    const int rows = store.GetNumberOfRows(resultSet);
    if (transfer.row >= rows)
        RefusePlace(transfer, "the result has " + std::to_string(rows) + " rows, numbered from 0");
    const int column = FindColumn(store, resultSet, transfer.column);
    if (column < 0)
        RefusePlace(transfer, "there is no column \"" + transfer.column + "\"");
    if (store.GetDataType(resultSet, column) != qxdbsqlengine::DataTypeLob)
        RefusePlace(transfer,
                    "\"" + store.GetColumnLabel(resultSet, column) + "\" is no column of large objects");
    if (!transfer.isImport && store.IsNull(resultSet, transfer.row, column))
        RefusePlace(transfer, "the value is NULL");
    LobExtract lob = store.GetLob(resultSet, transfer.row, column);
    lob.SetFileName(transfer.file);
    return lob;
}

std::string BytesOf(const std::string& file) {
    std::error_code failure;
    const std::uintmax_t size = std::filesystem::file_size(file, failure);
    // Pipes and devices have none.
    return failure ? "" : GroupedNumber(static_cast<long long>(size)) + " bytes ";
}

void PrintTransferTiming(double seconds, const std::string& file) {
    std::error_code failure;
    const std::uintmax_t size = std::filesystem::file_size(file, failure);
    std::fprintf(stderr, "Transfer      %.3f s", seconds);
    if (!failure && seconds > 0)
        std::fprintf(stderr, ", %.1f MB/s", static_cast<double>(size) / seconds / 1e6);
    std::fprintf(stderr, "\n");
}

// Learns that a transfer has come to its end.
class TransferDone final : public qxdbsqlengine::LobCallback {
  public:
    void OnLobExtracted(const char*, double) override { done = true; }
    void OnLobImported(double) override { done = true; }
    bool IsDone() const { return done; }

  private:
    std::atomic<bool> done{false};
};

// Both ends of a run are told before the engine has let the connection go.
void WaitUntilIdle(CLobRequestDirector& director) {
    while (director.IsExecuting())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Follows one transfer to its end. ExitInterrupted also when it came to its end in spite of a Ctrl-C.
int Follow(CLobRequestDirector& director, RunWatcher& watcher) {
    int exitCode = ExitDone;
    for (;;) {
        if (Interrupted().exchange(false)) {
            exitCode = ExitInterrupted;
            director.Cancel();
        }
        const std::optional<RunEvent> event = watcher.Next(std::chrono::milliseconds(5));
        if (!event)
            continue;
        if (event->kind == RunEvent::CancelFailed)
            return ExitCancelFailed;
        // Nothing follows a Ctrl-C, also when it has come at the very end.
        if (event->kind == RunEvent::RequestEnd)
            return Interrupted() ? ExitInterrupted : exitCode;
        if (event->kind != RunEvent::Error)
            continue;
        PrintErrors(event->errors);
        ForEachError(event->errors, [&exitCode](const ErrorRecord& record) {
            if (exitCode == ExitDone && IsFailure(record))
                exitCode = record.GetSQLState() == FileState ? ExitFile : ExitServerError;
        });
    }
}

int Transfer(const CommandLine& line, const LobTransfer& transfer, LobExtract& lob,
             ToolConnection& connection, const SmartPtr<ConnectionRequestCallback>& lender) {
    // Both outlive the director, which calls them.
    RunWatcher watcher;
    TransferDone done;
    CLobRequestDirector director(
        connection.Definition(), lender, lob,
        transfer.isImport ? CLobRequestDirector::Import : CLobRequestDirector::Export);
    watcher.Watch(director);
    director.RegisterCallback(done);
    const Clock::time_point start = Clock::now();
    director.Execute();
    const int exitCode = Follow(director, watcher);
    watcher.Close();
    if (exitCode == ExitCancelFailed)
        return exitCode;
    WaitUntilIdle(director);
    if (!done.IsDone())
        return exitCode == ExitDone ? ExitServerError : exitCode;
    if (!line.quiet) {
        std::cerr << (transfer.isImport ? "Imported " : "Exported ") << BytesOf(transfer.file)
                  << (transfer.isImport ? "from " : "to ") << transfer.file << '\n';
    }
    if (line.timing)
        PrintTransferTiming(std::chrono::duration<double>(Clock::now() - start).count(), transfer.file);
    return exitCode;
}

}  // namespace

int RunLobTransfers(const CommandLine& line, ToolConnection& connection,
                    const SmartPtr<ConnectionRequestCallback>& lender, const StorePtr& store, int resultSet) {
    std::vector<LobExtract> lobs;
    for (const LobTransfer& transfer : line.lobTransfers)
        lobs.push_back(FindLob(transfer, *store, resultSet));
    for (std::size_t i = 0; i < lobs.size(); ++i) {
        const int exitCode = Transfer(line, line.lobTransfers[i], lobs[i], connection, lender);
        if (exitCode != ExitDone)
            return exitCode;
    }
    return ExitDone;
}

}  // namespace qxsql
