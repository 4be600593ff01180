// One open connection, shared by its statements, results and locators.
#pragma once

#include <memory>
#include <string>

#include "drivers/odbc/connection_text.h"
#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/handles.h"
#include "drivers/odbc/server_traits.h"
#include "platform/int64.h"
#include "platform/qxdb/callback.h"

namespace qxdrivers::odbc {

// Used on the thread of the connection. Lives until the last of connection, statements and results has gone.
class Session {
  public:
    // Throws Errors.
    static std::shared_ptr<Session> Open(const qxdb::ConnectionDef& definition);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    SQLHDBC Raw() const { return handle.Raw(); }
    const ServerTraits& Traits() const { return traits; }
    const DriverOptions& Options() const { return options; }
    // What the server says it is; the traits have the type that the caller gave, where there is one.
    qxdb::DBTYPE DetectedType() const { return detectedType; }
    bool HasUnicodeSupport() const { return unicode; }
    // Opened to read a configuration, and for nothing else.
    bool IsForConfiguration() const { return traits.type == qxdb::DBTYPE_DB2CONFIG; }

    // Makes a database current. Throws Errors, also where the server can't change it.
    void SetCurrentDatabase(const std::string& name);
    std::string CurrentDatabase() const;

    // Runs a statement of the driver's own, without the user's limits and messages. Throws Errors.
    void RunSilently(const std::string& sql);

    // The number in the first cell that a query of the driver's own gives; `otherwise` when there is none.
    __int64 QueryNumber(const char* sql, __int64 otherwise) const;

    // Ends what a statement of this connection is doing. Any thread.
    void Interrupt(SQLHSTMT statement) const noexcept;

    // Hands the messages of a call that succeeded to the receiver, if there is one.
    void Report(HandleRef source, const std::string* sql);
    void Report(const qxdb::RawMessage& message);

    qxdb::Callback* callback = nullptr;  // not owned
    std::string timestampFormat;         // of date and time together; empty for the columns' own
    // MySQL keeps the warnings of a statement until another one uses a table; true while there may be such
    // that were reported, or that were a failure.
    bool warningsAreStale = false;
    // A second result that is read at the same time does without a cursor on the server.
    bool hasServerCursor = false;

  private:
    explicit Session(const DriverOptions& driverOptions);
    std::string Information(SQLUSMALLINT item) const;
    void LearnTraits(const std::string& givenText, qxdb::DBTYPE givenType);
    bool ZeroDatesAreTold();
    void KillQuery() const;

    ConnectionHandle handle;
    std::string connectionText;  // to connect with once more
    __int64 serverThread = 0;    // MySQL's number of this connection; 0: not known
    ServerTraits traits;
    DriverOptions options;
    qxdb::DBTYPE detectedType = qxdb::DBTYPE_OTHER;
    bool unicode = false;
};

}  // namespace qxdrivers::odbc
