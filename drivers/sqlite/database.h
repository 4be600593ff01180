// One open database file, shared by its connection, statements and results.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/source_text.h"
#include "platform/qxdb/manager.h"

struct sqlite3;
struct sqlite3_stmt;

namespace qxdrivers::sqlite {

// What bounds the runs of one statement handle: its cancellation and its limits.
struct RunControl {
    std::atomic<bool> cancelled{false};  // set by any thread, under Database::cancelLock
    bool active = false;                 // the handle's text is being run; under Database::cancelLock

    // Thread of the statement only.
    unsigned int maxRows = 0;         // 0: no limit
    unsigned int timeoutSeconds = 0;  // for each call that runs the server; 0: no limit
    unsigned long callNumber = 0;
    unsigned long timedCall = 0;  // the call that callStart belongs to
    bool timedOut = false;
    std::chrono::steady_clock::time_point callStart;

    // Asked from inside SQLite: true when the running call is to be given up. The clock of a call starts with
    // the first question, so that a fetch that is over at once does not pay for it.
    bool ShouldStop();
};

// Used on the thread of the connection, but for Cancel. The handle is open without SQLite's own mutexes.
// Lives until the last of connection, statements and results has gone.
class Database {
  public:
    // Throws Errors: no such file, not a database, an unknown option.
    static std::shared_ptr<Database> Open(const qxdb::ConnectionDef& definition);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* Handle() const { return handle; }
    // Columns of texts and bytes of any length are large objects.
    bool UnlimitedIsLob() const { return unlimitedIsLob; }

    // Marks the text of a handle as running, until End. From here a Cancel reaches it.
    void Begin(RunControl& control);
    void End(RunControl& control);
    // A result holds the connection between its first step and its reset.
    void ResultOpened();
    void ResultClosed();
    // Any thread. Does nothing unless the text of the handle is running.
    void Cancel(RunControl& control);

    // Compiles the next statement behind `offset`, and moves `offset` behind it. Null when only blanks and
    // comments were left in front of that. Throws Errors with the place in the text.
    sqlite3_stmt* Compile(RunControl& control, const std::shared_ptr<const std::string>& text,
                          std::size_t& offset, unsigned int flags);
    // sqlite3_step. `first`: the step that starts a statement, which sqlite3_interrupt may stop.
    int Step(RunControl& control, sqlite3_stmt* statement, bool first);
    // The failure that Step just had, as Errors.
    [[noreturn]] void ThrowFailed(const RunControl& control, int code, Stage stage, Place place);

    void SetCurrentDatabase(const std::string& name);
    // Format of timestamp columns; empty for the columns' own.
    std::string timestampFormat;

  private:
    Database(sqlite3* opened, std::string fileName, long waitMs, bool unlimitedLobs);
    static int OnProgress(void* self);
    static int OnBusy(void* self, int count);

    sqlite3* handle;
    const std::string name;
    const long busyTimeoutMs;
    const bool unlimitedIsLob;
    RunControl* current = nullptr;  // whose call is inside SQLite
    std::chrono::steady_clock::time_point busyStart;

    std::mutex cancelLock;
    // Under cancelLock.
    RunControl* starting = nullptr;  // whose first step is inside SQLite
    int openResults = 0;
};

}  // namespace qxdrivers::sqlite
