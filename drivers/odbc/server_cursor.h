// A cursor on the server, for a driver that keeps a whole result in memory otherwise.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/statement_core.h"
#include "platform/int64.h"

namespace qxdrivers::odbc {

// Runs a query of PostgreSQL as DECLARE CURSOR and FETCH, so that no more than some rows of it are in memory
// at a time. A cursor lives in a transaction: when the user has none open, one is begun here and ended with
// the cursor, as the server does it for a plain statement. Used on the thread of the statement.
class ServerCursor {
  public:
    // True when the text is a single query that can be declared: no data-modifying WITH, no SELECT INTO, no
    // further statements behind it.
    static bool Fits(const std::string& sql);

    // Declares the cursor and fetches the first rows, which the handle then stands on. Throws Errors.
    static std::unique_ptr<ServerCursor> Open(const std::shared_ptr<StatementCore>& core);
    // Ends an open cursor like Finish, but silently.
    ~ServerCursor();
    ServerCursor(const ServerCursor&) = delete;
    ServerCursor& operator=(const ServerCursor&) = delete;

    // Tells how many bytes the rows had that were read.
    void CountBytes(__int64 rows, __int64 bytes);
    // Fetches more rows, which the handle then stands on; false when there are none. Throws Errors.
    bool FetchMore();
    // Ends the cursor in order, and its transaction with a commit, which may fail: throws Errors.
    void Finish();

  private:
    explicit ServerCursor(std::shared_ptr<StatementCore> owner);
    void Declare();
    std::string FetchText() const;
    void RollBack() noexcept;

    const std::shared_ptr<StatementCore> core;
    bool ownsTransaction = false;
    bool isOpen = false;
    unsigned int chunkRows;   // rows asked for with the last FETCH
    __int64 rowsInChunk = 0;  // of them read
    __int64 rowsRead = 0;
    __int64 bytesRead = 0;
};

}  // namespace qxdrivers::odbc
