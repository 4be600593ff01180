// DB2 for OS/390.
#pragma once

#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "dbms/row_uses.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Plans go through the PLAN_TABLE family of the user, under a number for each statement; their rows stay. A
// missing table is told as a message of type 2, and the server then refuses the EXPLAIN.
class QXSENG2_API DB2OS390Handler : public DBMSHandler {
  public:
    explicit DB2OS390Handler(SQLRequest& ofRequest);

    void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    // Where the request explains, its SQL becomes the EXPLAIN of it.
    void PreExecuteBatch(qxdb::Connection& connection) override;
    // Shows the plan.
    void PostExecuteBatch(qxdb::Connection& connection) override;
    // The limit of rows counts also while the request explains.
    void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;

    static std::vector<RowUse> GetRowUses();

  protected:
    void ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type) override;

    // True when no table is missing. Tables are created only where more are missing than there are, which
    // leaves that to the administrators of the server.
    bool CreateExplainPlanTable(qxdb::Connection& connection);
    // Names of tables in the order of their creation.
    void CreateTables(qxdb::Connection& connection, const std::vector<std::string>& names);
    // The number of the next statement's plan.
    virtual std::string NewQueryNumber();

    std::string owner;  // of the tables
    std::string queryNumber;

  private:
    void TellMissing(const std::vector<std::string>& names);
};

}  // namespace qxdbsqlengine
