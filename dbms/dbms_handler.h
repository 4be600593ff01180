// What differs between servers: the base of the handlers, and the complete handler of servers without their
// own.
#pragma once

#include <map>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/os/variant.h"
#include "platform/qxdb/callback.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/cursor.h"
#include "platform/qxdb/field.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/statement.h"
#include "platform/qxdb/types.h"
#include "platform/qxsplt/error_record.h"
#include "platform/qxsplt/errors.h"
#include "platform/smart_ptr.h"
#include "storage/column_definition.h"
#include "storage/result_set_type.h"

namespace qxdbsqlengine {

class DataStorage;
class DataStorageInserter;
class Request;
class SQLRequest;
struct HandleColumnStruct;
struct RowNotificationHandler;

// Option id to a value of type VT_BOOL, VT_I4, VT_INT or VT_BSTR. Where an operation takes two maps, the
// defaults come first and the caller's current options second.
using OptionMap = std::map<unsigned int, _variant_t>;

// Made by a request for one run and owned by it; used on the engine thread only, also for the server's
// messages, which a connection delivers on the thread of the statement. It holds no lock of its own.
//
// Calling order of a run: PreExecute; for each batch item PreExecuteBatch, for each statement
// PreExecuteStatement, DetermineColumnDefs and HandleResultSet for each result set, PostExecuteStatement,
// then PostExecuteBatch; at the end PostExecute. An exception ends the run without the closing calls.
//
// The handler reports no failures of its own: Errors of a statement pass through, unless an operation says
// otherwise, and CancelledException leaves every operation that checks for a cancelled request.
class QXSENG2_API DBMSHandler : public qxdb::ErrorRecordCallback {
  public:
    // Arguments of boolean session options.
    static const char* const SQL_OPTION_ON;   // "ON"
    static const char* const SQL_OPTION_OFF;  // "OFF"

    // The handler of a server type; any type without one of its own gets a plain DBMSHandler. `request` must
    // outlive the handler.
    static std::unique_ptr<DBMSHandler> Create(SQLRequest& request, qxdb::DBTYPE type);

    ~DBMSHandler() override;
    DBMSHandler(const DBMSHandler&) = delete;
    DBMSHandler& operator=(const DBMSHandler&) = delete;

  protected:
    // Called by the connection for each server message; always 1. A message without visible text is dropped.
    // While messages are cached it is queued; otherwise it goes out as an error notification and as a saved
    // message. CancelledException stays inside.
    int HandleNotify(const ErrorRecord& record) override;

  public:
    // Throws CancelledException once the request is cancelled.
    virtual void CheckCancelled();

    // Session options, then statistics before the run. The connection has no message receiver meanwhile.
    virtual void PreExecute(qxdb::Connection& connection, const OptionMap& defaults,
                            const OptionMap& options);
    // Statistics after the run, and, on Sybase and SQL Server alone, the session's options as they were.
    virtual void PostExecute(qxdb::Connection& connection, const OptionMap& defaults,
                             const OptionMap& options);
    virtual void PreExecuteBatch(qxdb::Connection& connection);
    virtual void PostExecuteBatch(qxdb::Connection& connection);
    virtual void PreExecuteStatement(qxdb::Connection& connection);
    virtual void PostExecuteStatement(qxdb::Connection& connection);

    // By the server's type name: CHAR and NCHAR in either case.
    virtual bool IsFixedLengthString(const qxdb::Column& column);
    // Fills `definition` anew for the field at `fieldIndex` (from 0).
    virtual void FetchColumnProperties(qxdb::Cursor& cursor, int fieldIndex, qxdb::Field& field,
                                       const qxdb::Column& column, ColumnDefinition& definition);
    // Fills the request's column definitions for the result set that is about to begin. Throws QXException
    // when the request's column order names a column that does not exist.
    virtual void DetermineColumnDefs(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema);
    // Fetches the rows into the open result set of the request's store, up to the request's row limit. One
    // row lock is taken and given back for each row, so that readers are let in between; a reader never sees
    // a half-made row, unless a failure ends the fetching in the middle of one: then the columns before the
    // failure have their values, the others read as empty values.
    virtual void HandleResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema);

    virtual void BeginExplainPlanMode(qxdb::Connection& connection);
    virtual void EndExplainPlanMode(qxdb::Connection& connection);

    // Runs the statement of each option in order of the ids; options without one are passed over.
    virtual void ExecuteOptions(qxdb::Connection& connection, const OptionMap& options);
    // Nothing at all while the request explains. Empty `options`: ResetOptions. Also applies the request's
    // own settings among the options: 50147 maximum error count, 50385 (inverted) use of the generic parser.
    virtual void SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                            const OptionMap& options);
    // The statement of one option with its value in `options`; empty when there is none.
    virtual std::string GetQueryString(int optionId, const OptionMap& options);
    // Texts from the string table with their places filled; empty for a missing row, or when the arguments do
    // not fit the row (see FormatSql).
    virtual std::string GetResultsFromBoolOption(bool value, int stringId);
    virtual std::string GetResultsFromIntOption(int value, int stringId);
    // An empty `second` is no argument.
    virtual std::string GetResultsFromStrOption(int stringId, const std::string& first,
                                                const std::string& second);
    // A probe, such as for a table: true when the statement ran to its end, false when it failed or its text
    // is empty. Errors of the statement stay inside.
    virtual bool GetErrorQueryResults(qxdb::Connection& connection, const std::string& first,
                                      const std::string& second, int stringId);
    // Runs the statements of the defaults and takes the request's row and error limits away.
    virtual void ResetOptions(qxdb::Connection& connection, const OptionMap& defaults);
    // `before`: true ahead of the run. True when done; the base has no statistics.
    virtual bool ProcStatistics(qxdb::Connection& connection, const OptionMap& options, bool before);

    // Turns the caching of server messages on or off. `flush`, when off: queued messages go through
    // HandleNotify now, oldest first; without it they stay for a later flush.
    virtual void CacheNotifyMessages(bool cache, bool flush);
    virtual bool HasCachedNotifyMessages();
    // A text as a saved message, or queued while messages are cached. 0 for null or an empty text, else 1.
    // CancelledException stays inside.
    virtual int HandleInformationNotify(const char* text);
    // Failures of a statement: saved messages and an error notification of the whole list. The list is read
    // from its read position on.
    virtual void HandleErrors(Errors& errors, qxdb::Connection& connection);
    virtual void HandleErrors(Errors& errors);

    // Decimal text, in no locale; "ERROR" when that fails.
    std::string itoa(const int& value);

  protected:
    // For derived handlers; Create is for everybody else.
    DBMSHandler(SQLRequest& owner, qxdb::DBTYPE type);

    // Takes the table name out of the request's SQL.
    virtual void ParseTableName();
    // Runs a text and drops its rows; derived handlers store them as a result set of `type`.
    virtual void ExecuteCommand(qxdb::Connection& connection, const std::string& text, ResultSetType type);
    virtual void SaveNotifyMessage(const std::string& text);
    // Runs a text; each of its results becomes a result set of `type`. Ends at the first that fails, which is
    // then reported. What handlers with result sets of their own do in ExecuteCommand.
    void StoreCommandResults(qxdb::Connection& connection, const std::string& text, ResultSetType type);

    // A server's message as an error notification, and `text` as a saved message.
    void ReportMessageAsError(const ErrorRecord& record, const std::string& text);

    // Another text in the place of the item's own; the request's type stays, and so does the file of a
    // script, which a later run reads again.
    void ReplaceSQL(const std::string& text);

    // Brings the precision of a column within the request's limits; the minimum wins over a maximum below it.
    void LimitPrecision(ColumnDefinition& definition);

    // Option id to row of the string table, by the server's version.
    void SetOptionsIDSMap(const qxdb::Connection& connection);

    // The value of the first column in the last row of the last result set; 0 or empty when there is none.
    // The text is the plain row when both strings are empty, else the row filled with them.
    int GetIntQueryResults(qxdb::Connection& connection, const std::string& first, const std::string& second,
                           int stringId);
    std::string GetStrQueryResults(qxdb::Connection& connection, const std::string& first,
                                   const std::string& second, int stringId);
    // The number of a field of any numeric type, or of a text that is one; 0 for null.
    static int ReadInt(qxdb::Field& field);

    // What derived handlers need of the request; each forwards to its operation of the same name.
    SmartPtr<DataStorage> GetData();
    ResultSetType GetResultSetType();
    void SetResultSetType(ResultSetType type);
    int GetResultSetId();
    int GetBatchItemIndex();
    qxdb::Statement* GetStatement();
    std::map<int, std::vector<HandleColumnStruct>>& GetHandleTypesMap();
    std::map<int, bool (Request::*)(DataStorage&, qxdb::Fields&)>& GetFieldsHandlerMap();
    std::map<int, int (Request::*)(int, DataStorage&, bool)>& GetRowHandlerMap();
    std::vector<int>& GetColumnReorder();
    bool GetDoColumnReorder();
    std::vector<ColumnDefinition>& GetColumnDefinition();

    SQLRequest& request;
    std::string tableName;  // of the current SQL; empty until ParseTableName
    qxdb::DBTYPE dbType;
    bool cacheMessages = false;
    std::queue<ErrorRecord> cachedMessages;
    std::map<unsigned int, unsigned int> optionRows;

  private:
    std::string GetQueryText(const std::string& first, const std::string& second, int stringId);
    template <class Read>
    void ForEachRow(qxdb::Connection& connection, const std::string& text, Read read);
    void FetchLobProperties(qxdb::Cursor& cursor, int fieldIndex, ColumnDefinition& definition);
    std::unique_ptr<DataStorageInserter> MakeLobInserter(qxdb::Cursor& cursor, qxdb::Field& field,
                                                         int fieldIndex, DataStorage& storage, int resultSet,
                                                         int column);
    // One for each field that has a column, in order of the columns.
    std::vector<std::unique_ptr<DataStorageInserter>> MakeInserters(qxdb::Cursor& cursor,
                                                                    qxdb::Fields& fields,
                                                                    DataStorage& storage, int resultSet,
                                                                    int logicalId);
};

}  // namespace qxdbsqlengine
