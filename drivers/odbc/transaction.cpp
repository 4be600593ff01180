#include "drivers/odbc/transaction.h"

#include <algorithm>

namespace qxdrivers::odbc {

OwnTransaction::OwnTransaction(Session& owner)
    : session(owner),
      isOwn(owner.Traits().family == Family::PostgreSQL &&
            BeginUnlessOpen(owner, {Family::PostgreSQL, nullptr})) {}

OwnTransaction::~OwnTransaction() {
    if (!isOwn) {
        return;
    }
    try {
        session.RunSilently("ROLLBACK");
    } catch (...) {
        // The connection is lost, and the transaction with it.
    }
}

void OwnTransaction::Commit() {
    if (isOwn) {
        session.RunSilently("COMMIT");
        isOwn = false;
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
