// A transaction around several statements of the driver's own.
#pragma once

#include "drivers/odbc/session.h"

namespace qxdrivers::odbc {

// Begins one on PostgreSQL; in a transaction that the user has open already a savepoint, and that transaction
// goes on even after a failure. On other servers it does nothing. Rolled back unless it was committed. Used
// on the thread of the connection.
class OwnTransaction {
  public:
    // Throws Errors.
    explicit OwnTransaction(Session& owner);
    ~OwnTransaction();
    OwnTransaction(const OwnTransaction&) = delete;
    OwnTransaction& operator=(const OwnTransaction&) = delete;

    // Throws Errors.
    void Commit();

  private:
    Session& session;
    const bool isPostgres;
    bool isOwn = false;  // not the user's
    bool isOpen = false;
};

// PostgreSQL's BEGIN; true unless the user has a transaction open already. Throws Errors.
bool BeginUnlessOpen(Session& session, const ErrorContext& context);

}  // namespace qxdrivers::odbc
