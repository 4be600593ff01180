// MySQL and MariaDB.
#pragma once

#include <string>

#include "dbms/dbms_handler.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Explains by a prefix in front of the statement: the plan is the statement's own result set, and no table is
// involved. Boolean session variables take 1 and 0. Besides the session options of the base, two options of
// its own: 50424, start-up commands, and 50463, the greatest number of rows of a result set.
class QXSENG2_API MySQLHandler : public DBMSHandler {
  public:
    explicit MySQLHandler(SQLRequest& owner);

    // Also while the request explains: the statement is explained in the session that the start-up commands
    // make. A failing command ends the run with its Errors.
    void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    void PreExecuteBatch(qxdb::Connection& connection) override;
    std::string GetResultsFromBoolOption(bool value, int stringId) override;

  protected:
    // Cuts the part before the first `delimiter` off `rest` and gives it, without the delimiter. Empty, and
    // `rest` as it was, when there is no delimiter.
    std::string ParseDelimString(std::string& rest, std::string delimiter);

  private:
    void RunStartUpCommands(qxdb::Connection& connection, const std::string& commands);
};

}  // namespace qxdbsqlengine
