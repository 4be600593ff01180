// Microsoft SQL Server.
#pragma once

#include <string>
#include <vector>

#include "dbms/row_uses.h"
#include "dbms/show_plan_handler.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Session options go to the server in one batch, and the defaults once more behind the run. Plans come from
// the server's show-plan mode, in which it describes statements instead of running them: they are the
// statements' own result sets.
//
// The server's messages are sorted: some say nothing to a user and vanish, others are information, which goes
// out as messages and as saved messages, or errors.
class QXSENG2_API SQLServerHandler : public ShowPlanHandler {
  public:
    explicit SQLServerHandler(SQLRequest& owner);

    // One batch: option 50286 first, then the others in order of their ids, at last the isolation.
    void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) override;
    // The text of one of several values: the row `index` rows behind `baseStringId`. Empty when there is
    // none.
    virtual std::string GetResultsFromIntComboOption(int index, int baseStringId);

    static std::vector<RowUse> GetRowUses();

  protected:
    void SwitchExplainPlanMode(qxdb::Connection& connection, bool on) override;
    bool CanIgnore(const ErrorRecord& record) const override;
    void OnInformationNotify(const ErrorRecord& record) override;
    void OnErrorNotify(const ErrorRecord& record) override;

  private:
    static bool IsStatisticsMessage(const ErrorRecord& record);
    static std::string StripUnwantInfo(const std::string& text);
};

}  // namespace qxdbsqlengine
