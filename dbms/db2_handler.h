// DB2 for Linux, Unix and Windows.
#pragma once

#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "dbms/row_uses.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Session options go to the server in one batch, with the isolation at its end. Plans go through the server's
// explain tables, in the user's schema or in SYSTOOLS; each run deletes the rows of its own tag and no
// others.
class QXSENG2_API DB2Handler : public DBMSHandler {
  public:
    explicit DB2Handler(SQLRequest& owner);

    // Where the request explains, also makes sure of the explain tables. When some are missing and are not to
    // be created the run goes on, and the server refuses the EXPLAIN.
    void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    // Where the request explains, its SQL becomes the EXPLAIN of it.
    void PreExecuteBatch(qxdb::Connection& connection) override;
    // Shows the plan as a tree by source and target, then deletes its rows.
    void PostExecuteBatch(qxdb::Connection& connection) override;
    // The handler's own options count also while the request explains.
    void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) override;
    // The text of one of several values: the row `index` rows behind `baseStringId`. Empty when there is
    // none.
    virtual std::string GetResultsFromIntComboOption(int index, int baseStringId);

    static std::vector<RowUse> GetRowUses();

  protected:
    void ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type) override;

    // True when all explain tables are there in the end. Errors when one can't be created.
    bool CreateExplainPlanTable(qxdb::Connection& connection);
    // Deletes the rows of our tag. Nothing where the request does not explain.
    void EraseExplainPlanTables(qxdb::Connection& connection);

    std::string explainSchema;
    std::string user;  // whose own explain tables give way to those of SYSTOOLS
    bool createTables = false;
    bool useSystemSchema = false;

  private:
    void FindExplainSchema(qxdb::Connection& connection);
    void DropTablesOfUser(qxdb::Connection& connection);
    std::string FillRow(const RowUse& use);
};

}  // namespace qxdbsqlengine
