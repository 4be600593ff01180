#include "drivers/odbc/transaction.h"

#include <algorithm>

namespace qxdrivers::odbc {

OwnTransaction::OwnTransaction(Session& owner)
    : session(owner), isPostgres(owner.Traits().family == Family::PostgreSQL) {
    if (isPostgres) {
        isOwn = BeginUnlessOpen(owner, {Family::PostgreSQL, nullptr});
        if (!isOwn) {
            session.RunSilently("SAVEPOINT qxodbc");
        }
        isOpen = true;
    }
}

OwnTransaction::~OwnTransaction() {
    if (!isOpen) {
        return;
    }
    try {
        session.RunSilently(isOwn ? "ROLLBACK" : "ROLLBACK TO SAVEPOINT qxodbc");
        if (!isOwn) {
            session.RunSilently("RELEASE SAVEPOINT qxodbc");
        }
    } catch (...) {
        // The connection is lost, and the transaction with it.
    }
}

void OwnTransaction::Commit() {
    if (isOpen) {
        session.RunSilently(isOwn ? "COMMIT" : "RELEASE SAVEPOINT qxodbc");
        isOpen = false;
    }
}

// A transaction that is open makes BEGIN a warning.
bool BeginUnlessOpen(Session& session, const ErrorContext& context) {
    const StatementHandle statement(session.Raw());
    const SQLRETURN code = ExecuteText(statement.Raw(), "BEGIN");
    const HandleRef source{SQL_HANDLE_STMT, statement.Raw()};
    if (!SQL_SUCCEEDED(code)) {
        throw ReadErrors(source, "SQLExecDirect", context);
    }
    const std::vector<qxdb::RawMessage> messages = ReadMessages(source, context);
    return std::none_of(messages.begin(), messages.end(),
                        [](const qxdb::RawMessage& message) { return message.sqlState == "25001"; });
}

}  // namespace qxdrivers::odbc
