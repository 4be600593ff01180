// Microsoft SQL Server.
#pragma once

#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "dbms/row_uses.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Session options go to the server in one batch, and the defaults once more behind the run. Plans come from
// the server's show-plan mode, in which it describes statements instead of running them: they are the
// statements' own result sets.
//
// The server's messages are sorted: some say nothing to a user and vanish, others are information, which goes
// out as messages and as saved messages, or errors.
class QXSENG2_API SQLServerHandler : public DBMSHandler {
  public:
    explicit SQLServerHandler(SQLRequest& owner);

    // Where the request explains, the session is in show-plan mode from here to PostExecute. A run that fails
    // or is cancelled has no PostExecute: the session stays in that mode.
    void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    void PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                     const OptionMap& options) override;
    void BeginExplainPlanMode(qxdb::Connection& connection) override;
    void EndExplainPlanMode(qxdb::Connection& connection) override;
    // One batch: option 50286 first, then the others in order of their ids, at last the isolation.
    void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) override;
    // The text of one of several values: the row `index` rows behind `baseStringId`. Empty when there is
    // none.
    virtual std::string GetResultsFromIntComboOption(int index, int baseStringId);

    static std::vector<RowUse> GetRowUses();

  protected:
    // Messages to be ignored are not even queued; queued ones are sorted when they come through here again.
    int HandleNotify(const ErrorRecord& record) override;

  private:
    static bool CanIgnore(const ErrorRecord& record);
    static bool IsStatisticsMessage(const ErrorRecord& record);
    void OnInformationNotify(const ErrorRecord& record);
    void OnErrorNotify(const ErrorRecord& record);
    static std::string StripUnwantInfo(const std::string& text);
    void SwitchExplainPlanMode(qxdb::Connection& connection, bool on);
};

}  // namespace qxdbsqlengine
