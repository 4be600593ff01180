// What SQL Server and Sybase have in common: show-plan mode, and the way of their messages.
#pragma once

#include "dbms/dbms_handler.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Plans come from a mode of the session in which the server describes statements instead of running them.
//
// The server's messages are sorted: some say nothing to a user and vanish, others are information or errors.
// While messages are kept back, they are queued, and sorted when they come again.
class QXSENG2_API ShowPlanHandler : public DBMSHandler {
  public:
    // Where the request explains, the session is in show-plan mode from here to PostExecute. A run that fails
    // or is cancelled has no PostExecute: the session stays in that mode.
    void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    void PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                     const OptionMap& options) override;
    void BeginExplainPlanMode(qxdb::Connection& connection) override;
    void EndExplainPlanMode(qxdb::Connection& connection) override;

  protected:
    ShowPlanHandler(SQLRequest& owner, qxdb::DBTYPE type);

    // Messages to be ignored are not even queued; queued ones are sorted when they come through here again.
    int HandleNotify(const ErrorRecord& record) override;

    virtual void SwitchExplainPlanMode(qxdb::Connection& connection, bool on) = 0;
    virtual bool CanIgnore(const ErrorRecord& record) const = 0;
    // Each is called with every message, and does nothing when the severity is not its own.
    virtual void OnInformationNotify(const ErrorRecord& record) = 0;
    virtual void OnErrorNotify(const ErrorRecord& record) = 0;

    // Queues the message where messages are kept back; false where they are not.
    bool KeepBack(const ErrorRecord& record);
};

}  // namespace qxdbsqlengine
