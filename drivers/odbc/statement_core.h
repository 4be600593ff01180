// What a statement shares with its results: the handle, the guarded calls, and the limits.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "drivers/odbc/call_control.h"
#include "drivers/odbc/handles.h"
#include "drivers/odbc/session.h"

namespace qxdrivers::odbc {

// Used on the thread of the statement, but for Control().Cancel. Lives until the last of the statement, its
// results and their fields has gone.
class StatementCore {
  public:
    explicit StatementCore(std::shared_ptr<Session> owner)
        : session(std::move(owner)),
          handle(session->Raw()),
          control([this] { session->Interrupt(handle.Raw()); }),
          sql(std::make_shared<const std::string>()) {}
    StatementCore(const StatementCore&) = delete;
    StatementCore& operator=(const StatementCore&) = delete;

    Session& GetSession() const { return *session; }
    const std::shared_ptr<Session>& SharedSession() const { return session; }
    const ServerTraits& Traits() const { return session->Traits(); }
    SQLHSTMT Raw() const { return handle.Raw(); }
    CallControl& Control() { return control; }

    // Makes one call that a cancel may end. Messages of a call that succeeded go to the receiver. Gives the
    // call's code, SQL_NO_DATA included; throws Errors for every failure.
    template <class Action>
    SQLRETURN Call(const char* operation, Action&& action) {
        SQLRETURN code = SQL_ERROR;
        {
            const CallControl::Call call(control);
            code = action();
        }
        if (code != SQL_SUCCESS) {
            Look(operation, code);
        }
        return code;
    }

    // The text whose pieces messages quote.
    void SetSql(std::shared_ptr<const std::string> text) { sql = std::move(text); }
    const std::string& Sql() const { return *sql; }
    ErrorContext Context() const { return {Traits().family, sql.get()}; }

    unsigned int maxRows = 0;         // of each result; 0: no limit
    unsigned int timeoutSeconds = 0;  // 0: no limit
    bool noScan = false;
    bool describeOnly = false;

  private:
    void Look(const char* operation, SQLRETURN code);

    const std::shared_ptr<Session> session;
    StatementHandle handle;
    CallControl control;
    std::shared_ptr<const std::string> sql;
};

}  // namespace qxdrivers::odbc
