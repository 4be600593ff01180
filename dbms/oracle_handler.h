// Oracle.
#pragma once

#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "dbms/row_uses.h"
#include "platform/export.h"

namespace qxdbsqlengine {

class OracleStatementHeader;

// The server's output, plans in a table of our own, statistics of the session, and the compile errors of
// stored code as errors with a position. Session options send nothing here: an Oracle session has none among
// them.
//
// What a run sends, besides its own statements: statistics that are asked for, ahead of it and behind it; one
// command that enables or disables the server's output; where it explains, the look for the plan table and
// its creation ahead of it, and a query of the plan behind each item; where the output is shown, one look for
// a line behind each statement, and one for each line.
class QXSENG2_API OracleHandler : public DBMSHandler {
  public:
    explicit OracleHandler(SQLRequest& owner);

    // The options of the server's output are read from the defaults alone, the others from the caller's
    // options.
    void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    // Where the request explains, its SQL becomes the EXPLAIN PLAN of it.
    void PreExecuteBatch(qxdb::Connection& connection) override;
    // Shows the plan as a result set. Plans stay in the table, under their numbers.
    void PostExecuteBatch(qxdb::Connection& connection) override;
    void PostExecuteStatement(qxdb::Connection& connection) override;
    // A request that fetches object errors gets its rows thrown as Errors.
    void HandleResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) override;
    // Limits of the request only.
    void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                    const OptionMap& options) override;
    // Nothing: the rows of the options are statistics, not session statements.
    void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) override;
    bool ProcStatistics(qxdb::Connection& connection, const OptionMap& options, bool before) override;
    // A record of code 0 behind a statement that stores code is replaced by the compile errors of the object;
    // the positions of the others, offsets in the text, become line and column.
    void HandleErrors(Errors& errors, qxdb::Connection& connection) override;
    void HandleErrors(Errors& errors) override;

    static std::vector<RowUse> GetRowUses();

  protected:
    void ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type) override;

    // Into `list`, which is cleared first: one record for each row of line, position and text. True when
    // there is one.
    bool GetObjectErrors(Errors& list, qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema);
    // Throws the rows as Errors when there are any.
    void HandleObjectErrorsResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema);
    // Runs `sql` for GetObjectErrors. False when no result gave an error.
    bool ExecuteObjectErrorsCommand(Errors& list, qxdb::Connection& connection, const std::string& sql);
    // The lines that the server has put out, as a message result set; none, no result set. True.
    bool DisplayDBMSOutput(qxdb::Connection& connection);
    // Makes sure that there is a plan table that fits. True; Errors when it can't be made.
    bool CreateExplainPlanTable(qxdb::Connection& connection);
    // The number under which the plan of the next item goes into the table.
    virtual std::string NewStatementId();

    std::string statementId;    // of the plan of the current item
    bool handleOutput = false;  // the server's output is shown

  private:
    void DropExplainPlanTable(qxdb::Connection& connection);
    std::string GetCreateTableText(double version);
    // Empty when there are none, or when they can't be read.
    Errors FindObjectErrors(const OracleStatementHeader& header, qxdb::Connection& connection);
    void ShowLines(qxdb::Statement& statement, std::string& line, int& status);
};

}  // namespace qxdbsqlengine
