// The request that runs SQL.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "batch/batch_processor_thread.h"
#include "engine/callbacks.h"
#include "engine/connection_request.h"
#include "engine/notification.h"
#include "params/parameter_list.h"
#include "platform/export.h"
#include "platform/os/com_error.h"
#include "platform/os/variant.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/cursor.h"
#include "platform/qxdb/field.h"
#include "platform/qxdb/schema.h"
#include "platform/qxdb/statement.h"
#include "platform/qxdb/types.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "platform/qxutils/critical_section.h"
#include "platform/qxutils/read_write_lock.h"
#include "platform/smart_ptr.h"
#include "request/field_handlers.h"
#include "request/statement_properties.h"
#include "storage/column_definition.h"
#include "storage/data_storage.h"
#include "storage/result_set_type.h"

class QXDBBatchProcessor;

namespace qxdbsqlengine {

class DBMSHandler;

// Holds a text and every setting that shapes its run; drives the statements over a borrowed connection, turns
// their cursors into result sets of the store and reports through its base.
//
// Owned through RequestPtr by whoever runs it (a director, an engine's queue). It shares the store, the
// notification list and the connection callback with its owner and keeps them alive; the schema callback is
// not owned and must outlive the request. It may run again after a run has ended; one run at a time.
//
// Threads: Execute and everything that it calls run on the engine thread (or the caller's, when Execute is
// called directly). Settings, getters and Cancel may be called from any thread; a setting made during a run
// takes effect where it is read next. What a getter returns by reference belongs to the engine thread while a
// run is under way.
//
// Failures inside a run become notifications: a failed statement or batch item is reported and ends there.
// Execute itself throws what has no item to be reported at (Errors of the session options, QXException) and
// CancelledException.
//
// A request that was cancelled stays cancelled: it sends no further statement, and every later run ends with
// CancelledException. To go on after a cancel, run a clone; clones start fresh.
class QXSENG2_API SQLRequest : public DispatchCallbacks, public FieldHandlers {
  public:
    enum RequestType : int {
        RequestSQL = 0,        // one statement as text
        RequestScript = 1,     // a script, which the script parser splits into items
        RequestProcedure = 2,  // a stored procedure call
        RequestFunction = 3    // a stored function call
    };
    using OptionMap = std::map<unsigned int, _variant_t>;

    // `newSchemaCallback` may be null. `separator` divides the items of a script.
    SQLRequest(const SmartPtr<NotificationCallbacks>& notifications,
               const SmartPtr<ConnectionRequestCallback>& connections, const SmartPtr<DataStorage>& store,
               const OptionMap& options, const OptionMap& defaultOptions, SchemaCallback* newSchemaCallback,
               std::string separator);
    SQLRequest(const SmartPtr<NotificationCallbacks>& notifications,
               const SmartPtr<ConnectionRequestCallback>& connections, const SmartPtr<DataStorage>& store,
               SchemaCallback* newSchemaCallback, std::string separator);
    // Cancels first.
    ~SQLRequest() override;

    // Runs over `connection`. True when the run got through; a failed item gives false and was notified.
    bool Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) override;
    // Borrows a connection from the connection callback for the length of the run. QXException when there is
    // none.
    bool Execute(const qxdbsrd::ConnectionDefElement& def) override;
    // Any thread. Stops the parser of a script, marks the request and, when a statement runs, cancels it on
    // the server, at most once and on a thread of its own. False when the driver's cancel has not come back
    // within 2 seconds; it goes on then. True when it has, and when nothing is left to be cancelled, as in a
    // second call.
    bool Cancel() override;

    virtual bool IsDebugger();
    // A new request with the attributes of this one (see CopyRequestAttributes), over the same store and
    // notification list, or over others. It is not cancelled even if this one is.
    virtual std::unique_ptr<SQLRequest> CloneRequest();
    virtual std::unique_ptr<SQLRequest> CloneRequest(const SmartPtr<DataStorage>& store,
                                                     const SmartPtr<NotificationCallbacks>& notifications);
    virtual std::string GetSQL();
    // `text` is the SQL, or with `fromFile` the path of a file that has it: the file of a script is only
    // remembered (and deleted when done, with `deleteThatFile`), any other is read at once. Throws
    // QXException: "Unknown RequestType" (then nothing has changed), "Failed to open file : <path>".
    virtual void SetSQL(const std::string& text, RequestType type, bool fromFile, bool deleteThatFile);
    // The database made current before a run; empty: whatever is current.
    virtual std::string GetDatabase();
    virtual void SetDatabase(const std::string& name);
    // All columns are read as texts.
    virtual bool GetBindAsStrings();
    virtual void SetBindAsStrings(bool asStrings);
    // Columns get the names that the server gives them.
    virtual bool GetColumnLabels();
    virtual void SetColumnLabels(bool labels);
    // Limits of the precision of columns, in digits; negative: no limit.
    virtual int GetMinPrecision();
    virtual int GetMaxPrecision();
    virtual void SetPrecisionLimits(int minimum, int maximum);
    // The connection's format of timestamps from the next batch item on; empty leaves it alone.
    virtual void SetTimestampFormat(const std::string& format);
    virtual void SetDoExplainPlan(bool explain);
    virtual bool GetDoExplainPlan();
    // Oracle: the statement brings the compile errors of an object.
    virtual void SetFetchObjectErrors(bool fetch);
    virtual bool GetFetchObjectErrors();

    // Opening and closing a result set. These keep server messages in their place: while a result set of rows
    // is open the handler holds messages back, and they are let go before the next one begins. A begin gives
    // true when a result set is open afterwards. The column definitions are those of GetColumnDefinition.
    virtual void NotifyPreResultSetBegin(ResultSetType type);
    virtual bool NotifyResultSetBegin(const std::vector<ColumnDefinition>& definitions, const char* tagName);
    // A null `tagName` leaves the result set without a tag.
    virtual bool NotifyResultSetBegin(const char* tagName);
    // `rows`: rows so far. `force`: past the time filter.
    virtual void NotifyResultSetUpdate(int rows, bool force);
    virtual void NotifyResultSetEnd();
    virtual void NotifyCancelFailed();
    virtual void NotifyBatchItemBegin();
    virtual void NotifyBatchItemEnd();

    virtual void SetUseLobLocators(bool use);
    virtual bool GetUseLobLocators();
    // Sizes in characters of text or bytes.
    virtual void SetLobPreviewSize(int size);
    virtual int GetLobPreviewSize();
    virtual void SetLobStreamSize(int size);
    virtual int GetLobStreamSize();
    virtual void SetUseSpecificLobLocatorImpl(bool use);
    virtual int GetUseSpecificLobLocatorImpl();
    virtual const RequestStatementProperties& GetStatementProperties();
    virtual void SetStatementProperties(const RequestStatementProperties& properties);
    // Statements are prepared and their parameters bound; without it parameters are not looked at.
    virtual void SetDoPrepare(bool prepare);
    // Copies; the description of the parameters of a prepared statement. Without one the server is asked.
    virtual void SetSchema(const qxdb::Schema& newSchema);
    // Copies the values and the bind method, not the forced binding by ordinal. A list set while a statement
    // runs serves the next one.
    virtual void SetParameters(const ParameterList& list);
    virtual void SetDisplayRowAffected(bool display);
    // Empties the store and forgets the handlers of columns, fields and rows; the row notification handlers
    // stay. Not during a run.
    virtual void ClearStorage();
    // Progress is told at each of the first rows, then at every `interval` rows (not 0).
    virtual void SetInitialRowInterval(int rows);
    virtual void SetRowInterval(int rows);
    virtual void SetHandleDBMSOutput(bool handle);
    virtual bool GetHandleDBMSOutput();
    // Bytes.
    virtual void SetDBMSOutputBufferSize(int size);
    virtual int GetDBMSOutputBufferSize();
    // Rows of one result set; 0: no limit.
    virtual void SetMaxRowCount(int rows);
    virtual int GetMaxRowCount();
    // Errors after which a script ends; 0: no limit.
    virtual void SetMaxErrorCount(int errors);
    virtual int GetMaxErrorCount();
    virtual void SetUseGenericParser(bool use);
    virtual bool GetUseGenericParser();
    // Null stores the empty text. The pointer given back is valid until the next set.
    virtual void SetExplainPlanAlterSessionUser(const char* user);
    virtual const char* GetExplainPlanAlterSessionUser();
    // The user of the connection of the last run.
    virtual std::string GetUserNameA();
    // Replaces both maps. Not during a run.
    virtual void SetQueryOptions(const OptionMap& options, const OptionMap& defaultOptions);
    virtual const OptionMap& GetQueryOptions();
    virtual const OptionMap& GetQueryDefaultOptions();

  protected:
    // False when the run should stop reading the statement. `tagName` names the result set in the store.
    virtual bool HandleCursor(qxdb::Cursor& cursor, ResultSetType type, std::string tagName);

  public:
    // Takes over the settings, the text, the schema and the parameters of `other`; not its database,
    // timestamp format, statement properties, options and explain user.
    virtual void CopyRequestAttributes(SQLRequest& other);

  protected:
    virtual bool MaxErrorsOccurred();
    // A text (no procedure) of which a parameter is an output.
    virtual bool IsStatementWithOutputParameter();
    // Prepare `running` and bind the parameters to it. `fields` is left null where there is nothing to read
    // output values from. Throw QXException for a parameter that the statement does not know, and what the
    // conversion of a value throws.
    virtual void PrepareForExecution(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields);
    virtual void PrepareSQL(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields);
    virtual void PrepareProcedure(qxdb::Statement& running, std::unique_ptr<qxdb::Fields>& fields);
    // Binds the storage inside the parameters, which stays until the statement has run.
    virtual void BindStatementWithOutputPatameter(qxdb::BindValue& binding);
    // By ordinal a value is read as the type of its field, by name as the type of its parameter. A list that
    // binds by name does so for procedures, and for a text of which all parameters have names.
    virtual void BindParametersByOrdinal(std::unique_ptr<qxdb::Fields>& fields);
    virtual void BindParametersByName(std::unique_ptr<qxdb::Fields>& fields);

    // A run between the session options before and after it.
    virtual bool DoExecute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection);
    virtual bool ExecuteStatement(qxdb::Connection& connection);
    virtual bool ExecuteBatchItem(qxdb::Connection& connection);
    virtual bool HandleComputeResultSet(qxdb::Cursor& cursor);
    virtual bool HandleObjectErrorsCursor(qxdb::Cursor& cursor);
    // Reads the output values of a prepared statement that has given up its results. `outputs` describes the
    // fields. False when that failed, which is then reported.
    virtual bool HandleOutputParameters(std::unique_ptr<qxdb::Fields>& fields, qxdb::Schema& outputs);
    // A result set of one row with the output values.
    virtual void CreateParameterResultset();
    // A result set for each cursor among the output values.
    virtual bool HandleCursorOutputParameters(std::unique_ptr<qxdb::Fields>& fields);
    // The first field (from 0) that can be an output; what stands before it is the server's return value.
    virtual unsigned int GetStartOutputParamIndex();
    virtual void ProcessResults(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns);
    // `count` negative: not known, nothing is shown.
    virtual void HandleAffectedRows(int count);
    virtual void DetermineColumnDefs(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns);

  public:
    // The columns of the result set that is about to begin. Engine thread.
    virtual std::vector<ColumnDefinition>& GetColumnDefinition();

  protected:
    virtual void HandleEmptyResultSet();
    // The positions of names, for GetParameterIndexByName; of a repeated name the first.
    virtual void BuildNameMap(std::unique_ptr<qxdb::Fields>& fields);
    virtual void BuildNameMap(const qxdb::Schema& parameterSchema);

  public:
    // A text for the user, one row for each line, in the open message result set or in a new one. Engine
    // thread. Throws CancelledException.
    virtual void SaveNotifyMessage(const std::string& text);
    // Result sets that count logically: rows, cursors of parameters, plans and statistics.
    virtual bool IsNormalResultSetType(ResultSetType type);
    // The place of result set `id` of the store among the normal ones, from 0. QXException when there is no
    // such result set, or when it is of another kind.
    virtual int ResolveLogicalResultSetId(int id);
    // The place that the next normal result set will have.
    virtual int ResolveNextLogicalResultSetId();

  protected:
    // For row handlers: rolls the rows of `details` from `firstRow` on up into one row of this request's
    // store whenever one of the key columns changes in the last row, or when `isFinal`. Texts are those of
    // the first row, numbers are summed, of timestamps the greatest is taken, other types are left empty.
    // Gives the row that the next group begins with. Rows and columns are counted from 0.
    virtual int CompressOnColumns(int firstRow, DataStorage& details, bool isFinal, int rowCount,
                                  const std::vector<int>& keyColumns);
    virtual void UseDatabase(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection);

    // What little is read out of the SQL text: key words between blanks, by fixed delimiters. Wrong answers
    // for complicated statements are accepted; they only mean that a result can't be edited. A key word at
    // the very end of the text throws std::out_of_range.
    virtual bool ContainsSingleSelectStmt();
    // The table of a single SELECT of at most 1024 bytes, else empty.
    virtual std::string ParseGenerateInsertTableName();
    // As written, with the blanks before a following key word; empty when there is none, or several.
    virtual std::string ParseTableName();
    // From behind WHERE to the end of the text, control characters as blanks.
    virtual std::string ParseWhereClause();

    // The handler of a run; a derived request may supply its own.
    virtual std::unique_ptr<DBMSHandler> CreateHandler(qxdb::DBTYPE type);

    // Positions count from 0 everywhere. All of these belong to the engine thread.
    //
    // In the map that was built last; -1 for a name that it lacks. QXException before a schema is known.
    int GetParameterIndexByName(const std::string& name);
    // Gives the parameters of a call out of a script, which know only their texts, the names, directions and
    // timestamp formats of the schema.
    void SyncParametersWithSchema(const qxdb::Schema& parameterSchema);
    // Gives an output value the timestamp format of the parameter of its name.
    void LookupParameter(Parameter& output);
    // The parameter that belongs to a field; -1 when there is none.
    int ConvertFieldIndexToParameterIndex(qxdb::Field& field, unsigned int fieldIndex, bool inputOnly);
    // The positions of the schema that take a value.
    void GetInputIndex(std::vector<unsigned int>& positions);
    // The positions of the schema that a parameter names. QXException for a name that the schema lacks.
    void GetProvidedNamedInputIndex(std::map<unsigned int, unsigned int>& provided);
    // The positions of the schema that are left to the server's default.
    void BuildExcludeIndex(std::map<unsigned int, unsigned int>& exclude);
    // No parameter is a plain output.
    bool IncludeInputParameterOnly();
    // Appends the arguments of a procedure call that stands in a script: "?" is an output, NULL in any case
    // null, and anything else is the text of an input.
    void GenerateParameterList(const std::vector<std::string>& texts);

  public:
    const std::string& GetFileName() const { return fileName; }
    RequestType GetRequestType() const { return requestType; }
    qxdb::Statement::PrepareType GetPrepareType() const;
    // The statement that is running, null outside one and after a cancel.
    qxdb::Statement* GetStatement();
    SmartPtr<DataStorage> GetData();
    // A copy, with the values that a statement wrote into the storage of its output parameters. Not while
    // such a statement runs.
    ParameterList GetParameters();
    ResultSetType GetResultSetType() const { return resultSetType; }
    void SetResultSetType(ResultSetType type) { resultSetType = type; }
    // Index of the current result set in the store; between result sets, that of the next one.
    int GetResultSetId() const { return resultSetId; }
    int GetBatchItemIndex() const { return batchItemIndex; }
    qxdb::DBTYPE GetDBType() const { return dbType; }
    bool IsUnicodeInstance() const { return isUnicodeInstance; }
    // How much of the script is done, in bytes of its file or text: up to the end of the last item that was
    // run or skipped. Any thread, also during the run; it stays until the next script. Zero with a parser
    // that doesn't tell.
    long GetScriptBytesDone() const { return scriptBytesDone; }
    // True when the last script, or the one under way, ended before its end without a notification: there is
    // no parser, it failed (the file can't be read), or it was silent for too long. Brings the code and a
    // text for the user. Any thread.
    bool GetScriptFailure(HRESULT& code, std::string& reason);
    // Guards the running statement; held while it is cancelled.
    qxutils::CriticalSection& GetCriticalSection() { return statementLock; }
    static EnumDataType GetDataType(qxdb::Column::BindType type);

  protected:
    DBMSHandler* GetHandler() { return handler.get(); }

    // Copies the cells of one row, columns `firstColumn` to before `endColumn`, behind the row that is being
    // written into `target`, from `targetColumn` on. Nulls stay nulls. The caller holds the row lock.
    static void CopyData(DataStorage& source, DataStorage& target, int sourceSet, int targetSet,
                         int sourceRow, int firstColumn, int endColumn, int targetColumn);

  private:
    friend class DBMSHandler;
    friend class LobDataStorageInserter;
    class StatementScope;
    class ScriptScope;
    class ProcedureScope;
    struct ComputeRows;

    void TakeOver(const qxdbsrd::ConnectionDefElement& def);
    void SetIsUnicodeInstance(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection);
    bool ProbeUnicodeCodeSet(const qxdbsrd::ConnectionDefElement& def);
    bool ExecuteScript(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection);
    bool ExecuteScriptItem(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection,
                           const QXDBBatchProcessorThread::BatchInfo& item);
    std::unique_ptr<QXDBBatchProcessor> MakeBatchProcessor(const qxdbsrd::ConnectionDefElement& def);
    void CancelScript();
    void SetItemText(std::string&& text);
    bool RunDataCopy(const qxdbsrd::ConnectionDefElement& def);
    bool RunEmptyItem();
    bool GuardItem(qxdb::Connection& connection, const std::function<bool()>& item);
    bool TryItem(qxdb::Connection& connection, const std::function<bool()>& item);
    void RunBatchItem(qxdb::Connection& connection);
    bool RunStatement(qxdb::Statement& running, qxdb::Connection& connection);
    bool HandleResults(qxdb::Statement& running);
    void NotifyErrorText(const std::string& text);
    void HandleRowCount(qxdb::Cursor& cursor);
    bool HandleRows(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns, ResultSetType type,
                    const std::string& tagName);
    void DescribeColumns(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& columns);
    void SetTableNameFromText();
    void InsertMessageRow(const std::string& line);
    bool HasCachedMessages();
    void CloseOpenResultSet();
    int CountNormalResultSets(int end);
    ComputeRows GroupComputeColumns(qxdb::Fields& fields, const qxdb::Schema& columns) const;
    int MapComputeColumn(int target, int columnCount);
    bool WriteComputeRows(qxdb::Cursor& cursor, qxdb::Fields& fields, const qxdb::Schema& columns);
    void DefineComputeColumn(qxdb::Field& field, const qxdb::Column& column, ColumnDefinition& definition);
    void LimitPrecision(ColumnDefinition& definition);
    void ResetTextCaches();
    std::shared_ptr<ParameterList> CurrentParameters();
    std::shared_ptr<qxdb::Schema> CurrentSchema();
    std::shared_ptr<qxdb::Schema> NeedSchema(qxdb::Statement& running);
    void TellSchema(qxdb::Schema& columns);
    void BindStatementByName(qxdb::Fields& fields);
    bool BindsByName();
    unsigned int CountUnnamedReturnValues(const qxdb::Schema& columns);
    bool HasField(const Parameter& parameter, unsigned int column);
    bool IsExcludedDefault(const Parameter& parameter);
    [[noreturn]] static void ThrowUnknownParameter(const std::string& name);
    void AddOutputParameter(qxdb::Field& field, const qxdb::Column* column);
    void ShowOutputParameters();
    ColumnDefinition DefineParameterColumn(const Parameter& parameter) const;
    void ReplaceParameters(const ParameterList& list);
    void ClearParameters();

    std::string sql;
    std::string database;
    std::atomic<bool> bindAsStrings{false};
    std::atomic<bool> columnLabels{true};
    std::atomic<bool> doExplainPlan{false};
    std::atomic<bool> fetchObjectErrors{false};
    std::atomic<bool> doPrepare{false};
    std::atomic<bool> displayRowAffected{true};
    std::atomic<bool> useLobLocators{true};
    std::atomic<bool> handleDBMSOutput{false};
    std::atomic<int> lobPreviewSize{0};
    std::atomic<int> lobStreamSize{0};
    std::atomic<int> dbmsOutputBufferSize{0};
    std::atomic<bool> useSpecificLobLocatorImpl{false};
    std::atomic<int> minPrecision{-1};
    std::atomic<int> maxPrecision{-1};
    std::atomic<int> initialRowInterval{25};
    std::atomic<int> rowInterval{200};
    ResultSetType resultSetType = ResultSetNormal;
    int resultSetId = 0;
    // How many of the first result sets of the store are normal ones.
    struct CountedSets {
        int end = 0;
        int normal = 0;
    };
    std::atomic<CountedSets> countedSets{CountedSets()};
    int affectedRows = -1;  // of this batch item; -1: none yet
    SmartPtr<DataStorage> data;
    qxdb::Statement* statement = nullptr;  // guarded by statementLock
    RequestStatementProperties statementProperties;
    std::vector<ColumnDefinition> columnDefinition;
    qxutils::CriticalSection statementLock;
    std::unique_ptr<DBMSHandler> handler;
    // Schema and parameters are shared with the engine thread while it uses them: a set during a run puts
    // others in their place and leaves these alone.
    std::shared_ptr<qxdb::Schema> schema;            // of the parameters; null: not known yet
    std::shared_ptr<ParameterList> parameters;       // what the caller bound; never null
    std::shared_ptr<ParameterList> boundParameters;  // whose storage a running statement has bound
    ParameterList outputParameters;                  // what came back
    bool excludesDefaults = true;                    // there are no fields for inputs left to their default
    std::map<std::string, int> nameMap;              // parameter name to position in the schema or the fields
    qxdb::DBTYPE dbType = qxdb::DBTYPE_UNSET;
    SmartPtr<ConnectionRequestCallback> connectionCallback;
    SchemaCallback* schemaCallback;  // not owned, may be null
    std::string fileName;            // of a script from a file
    qxutils::CriticalSection scriptLock;
    std::unique_ptr<QXDBBatchProcessor> batchProcessor;  // null outside a script; guarded by scriptLock
    HRESULT scriptFailureCode = S_OK;                    // of the last script; guarded by scriptLock
    std::string scriptFailureText;                       // guarded by scriptLock
    std::atomic<long> scriptBytesDone{0};
    std::string batchSeparator;
    std::string timestampFormat;
    std::atomic<RequestType> requestType{RequestSQL};
    int batchItemIndex = 0;
    int batchItemLine = 0;
    qxutils::RecursiveReadWriteLock lock;  // guards the texts, parameters, schema and data
    OptionMap queryOptions;
    OptionMap queryDefaultOptions;
    std::string explainPlanAlterSessionUser;
    std::string userName;
    std::atomic<int> maxRowCount{0};
    std::atomic<int> maxErrorCount{0};
    std::atomic<bool> useGenericParser{true};
    bool deleteFile = false;
    bool isUnicodeInstance = false;
    std::string tableNameCache;
    std::string whereClauseCache;
    bool selectChecked = false;
    bool singleSelect = false;
};

}  // namespace qxdbsqlengine
