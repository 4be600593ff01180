// Sybase.
#pragma once

#include <vector>

#include "dbms/row_uses.h"
#include "dbms/show_plan_handler.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Session options and trace flags go to the server in one batch, and the defaults once more behind the run.
// Plans come from the server's show-plan mode, in which it describes statements instead of running them, as
// messages.
//
// The server's messages are sorted: some say nothing to a user and vanish, others are information, which goes
// out as messages and as saved messages, or errors. Statistics and plans are saved messages only.
class QXSENG2_API SybaseHandler : public ShowPlanHandler {
  public:
    explicit SybaseHandler(SQLRequest& owner);

    // One batch: the options in order of their ids, then the trace flags, at last statistics and plans. Trace
    // flags are switched on only: other sessions may want them too.
    void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) override;
    // Money has two digits behind the point.
    void FetchColumnProperties(qxdb::Cursor& cursor, int fieldIndex, qxdb::Field& field,
                               const qxdb::Column& column, ColumnDefinition& definition) override;

    static std::vector<RowUse> GetRowUses();

  protected:
    void SwitchExplainPlanMode(qxdb::Connection& connection, bool on) override;
    bool CanIgnore(const ErrorRecord& record) const override;
    void OnInformationNotify(const ErrorRecord& record) override;
    void OnErrorNotify(const ErrorRecord& record) override;

  private:
    static bool IsStatisticsMessage(const ErrorRecord& record);
    static bool IsQueryPlanMessage(const ErrorRecord& record);
};

}  // namespace qxdbsqlengine
