// Settings, text and attributes of the request, and its cancelling.
#include "request/sql_request.h"

#include <fstream>
#include <iterator>
#include <utility>

#include "batch/batch_processor.h"
#include "dbms/dbms_handler.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"
#include "request/cancel_thread.h"

namespace qxdbsqlengine {

namespace {

using qxutils::QXException;
using qxutils::ReadLockGuard;
using qxutils::WriteLockGuard;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    if (!file)
        throw QXException(ResourceLoader::LoadString(126) + " : " + path);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Also gives the memory back.
void Free(std::string& text) {
    std::string().swap(text);
}

}  // namespace

SQLRequest::SQLRequest(const SmartPtr<NotificationCallbacks>& notifications,
                       const SmartPtr<ConnectionRequestCallback>& connections,
                       const SmartPtr<DataStorage>& store, const OptionMap& options,
                       const OptionMap& defaultOptions, SchemaCallback* newSchemaCallback,
                       std::string separator)
    : DispatchCallbacks(notifications),
      data(store),
      parameters(std::make_shared<ParameterList>()),
      connectionCallback(connections),
      schemaCallback(newSchemaCallback),
      batchSeparator(std::move(separator)),
      queryOptions(options),
      queryDefaultOptions(defaultOptions) {}

SQLRequest::SQLRequest(const SmartPtr<NotificationCallbacks>& notifications,
                       const SmartPtr<ConnectionRequestCallback>& connections,
                       const SmartPtr<DataStorage>& store, SchemaCallback* newSchemaCallback,
                       std::string separator)
    : SQLRequest(notifications, connections, store, OptionMap(), OptionMap(), newSchemaCallback,
                 std::move(separator)) {}

SQLRequest::~SQLRequest() {
    Cancel();
}

bool SQLRequest::Cancel() {
    if (IsCancelled())
        return true;
    CancelScript();
    // Held through the wait: a statement that is being set up waits for the cancel to come back, and one that
    // ends does so after it.
    const qxutils::LockGuard<qxutils::CriticalSection> guard(statementLock);
    if (statement == nullptr)
        return true;
    const qxutils::ThreadPtr<CancelThread> canceller = CancelThread::Create();
    // Taken out, so that nobody cancels it twice.
    const qxdb::Statement* const running = std::exchange(statement, nullptr);
    if (!canceller)
        return false;  // nothing may block this thread: the mark alone has to do
    qxutils::Event& finished = canceller->Start(*running);
    // The signal says it as well: the thread may be a moment behind it on its way out.
    return finished.Lock() || canceller->ExecutionCompleted();
}

bool SQLRequest::IsDebugger() {
    return false;
}

std::unique_ptr<SQLRequest> SQLRequest::CloneRequest() {
    return CloneRequest(GetData(), callbacks);
}

std::unique_ptr<SQLRequest> SQLRequest::CloneRequest(const SmartPtr<DataStorage>& store,
                                                     const SmartPtr<NotificationCallbacks>& notifications) {
    auto clone = std::make_unique<SQLRequest>(notifications, connectionCallback, store, schemaCallback,
                                              batchSeparator);
    clone->CopyRequestAttributes(*this);
    return clone;
}

void SQLRequest::CopyRequestAttributes(SQLRequest& other) {
    resultSetType = other.resultSetType;
    bindAsStrings = other.bindAsStrings.load();
    columnLabels = other.columnLabels.load();
    minPrecision = other.minPrecision.load();
    maxPrecision = other.maxPrecision.load();
    doExplainPlan = other.doExplainPlan.load();
    fetchObjectErrors = other.fetchObjectErrors.load();
    doPrepare = other.doPrepare.load();
    useSpecificLobLocatorImpl = other.useSpecificLobLocatorImpl.load();
    requestType = other.requestType.load();
    useLobLocators = other.useLobLocators.load();
    handleDBMSOutput = other.handleDBMSOutput.load();
    lobPreviewSize = other.lobPreviewSize.load();
    lobStreamSize = other.lobStreamSize.load();
    dbmsOutputBufferSize = other.dbmsOutputBufferSize.load();
    displayRowAffected = other.displayRowAffected.load();
    batchSeparator = other.batchSeparator;
    initialRowInterval = other.initialRowInterval.load();
    rowInterval = other.rowInterval.load();
    maxRowCount = other.maxRowCount.load();
    maxErrorCount = other.maxErrorCount.load();
    useGenericParser = other.useGenericParser.load();
    if (&other == this)
        return;

    ReadLockGuard reading(other.lock, true);
    if (other.schema)
        SetSchema(*other.schema);
    const WriteLockGuard writing(lock);
    sql = other.sql;
    fileName = other.fileName;
    ReplaceParameters(*other.parameters);
    outputParameters = other.outputParameters;
}

std::string SQLRequest::GetSQL() {
    const ReadLockGuard guard(lock, true);
    return sql;
}

void SQLRequest::SetSQL(const std::string& text, RequestType type, bool fromFile, bool deleteThatFile) {
    const WriteLockGuard guard(lock);
    if (type < RequestSQL || type > RequestFunction)
        throw QXException(ResourceLoader::LoadString(125));
    requestType = type;
    // A file name left from an earlier script would be run in the place of this text.
    fileName.clear();
    Free(sql);
    if (fromFile) {
        if (type == RequestScript)
            fileName = text;
        else
            sql = ReadFile(text);
        deleteFile = deleteThatFile;
    } else {
        sql = text;
    }
    schema.reset();
}

std::string SQLRequest::GetDatabase() {
    const ReadLockGuard guard(lock, true);
    return database;
}

void SQLRequest::SetDatabase(const std::string& name) {
    const WriteLockGuard guard(lock);
    database = name;
    schema.reset();
}

bool SQLRequest::GetBindAsStrings() {
    return bindAsStrings;
}

void SQLRequest::SetBindAsStrings(bool asStrings) {
    bindAsStrings = asStrings;
}

bool SQLRequest::GetColumnLabels() {
    return columnLabels;
}

void SQLRequest::SetColumnLabels(bool labels) {
    columnLabels = labels;
}

int SQLRequest::GetMinPrecision() {
    return minPrecision;
}

int SQLRequest::GetMaxPrecision() {
    return maxPrecision;
}

void SQLRequest::SetPrecisionLimits(int minimum, int maximum) {
    minPrecision = minimum;
    maxPrecision = maximum;
}

void SQLRequest::SetTimestampFormat(const std::string& format) {
    const WriteLockGuard guard(lock);
    timestampFormat = format;
}

void SQLRequest::SetDoExplainPlan(bool explain) {
    doExplainPlan = explain;
}

bool SQLRequest::GetDoExplainPlan() {
    return doExplainPlan;
}

void SQLRequest::SetFetchObjectErrors(bool fetch) {
    fetchObjectErrors = fetch;
}

bool SQLRequest::GetFetchObjectErrors() {
    return fetchObjectErrors;
}

void SQLRequest::SetUseLobLocators(bool use) {
    useLobLocators = use;
}

bool SQLRequest::GetUseLobLocators() {
    return useLobLocators;
}

void SQLRequest::SetLobPreviewSize(int size) {
    lobPreviewSize = size;
}

int SQLRequest::GetLobPreviewSize() {
    return lobPreviewSize;
}

void SQLRequest::SetLobStreamSize(int size) {
    lobStreamSize = size;
}

int SQLRequest::GetLobStreamSize() {
    return lobStreamSize;
}

void SQLRequest::SetUseSpecificLobLocatorImpl(bool use) {
    useSpecificLobLocatorImpl = use;
}

int SQLRequest::GetUseSpecificLobLocatorImpl() {
    return useSpecificLobLocatorImpl ? 1 : 0;
}

const RequestStatementProperties& SQLRequest::GetStatementProperties() {
    return statementProperties;
}

void SQLRequest::SetStatementProperties(const RequestStatementProperties& properties) {
    statementProperties = properties;
}

void SQLRequest::SetDoPrepare(bool prepare) {
    doPrepare = prepare;
}

void SQLRequest::SetSchema(const qxdb::Schema& newSchema) {
    auto copy = std::make_shared<qxdb::Schema>(newSchema);
    const WriteLockGuard guard(lock);
    schema = std::move(copy);
}

void SQLRequest::SetParameters(const ParameterList& list) {
    const WriteLockGuard guard(lock);
    if (&list != parameters.get())
        ReplaceParameters(list);
}

ParameterList SQLRequest::GetParameters() {
    const ReadLockGuard guard(lock, true);
    return *parameters;
}

// Under the write lock. A new object: the run under way may have bound the storage of the old one.
void SQLRequest::ReplaceParameters(const ParameterList& list) {
    auto copy = std::make_shared<ParameterList>(list);
    copy->SetForceBindByOrdinal(parameters->GetForceBindByOrdinal());
    parameters = std::move(copy);
}

// Also forgets what is known of them.
void SQLRequest::ClearParameters() {
    const WriteLockGuard guard(lock);
    parameters->Clear();
    schema.reset();
}

std::shared_ptr<ParameterList> SQLRequest::CurrentParameters() {
    const ReadLockGuard guard(lock, true);
    return parameters;
}

std::shared_ptr<qxdb::Schema> SQLRequest::CurrentSchema() {
    const ReadLockGuard guard(lock, true);
    return schema;
}

void SQLRequest::SetDisplayRowAffected(bool display) {
    displayRowAffected = display;
}

void SQLRequest::ClearStorage() {
    if (data)
        data->CleanUp();
    resultSetId = 0;
    countedSets = CountedSets();
    GetHandleTypesMap().clear();
    GetFieldsHandlerMap().clear();
    GetRowHandlerMap().clear();
    // Row notification handlers are replaced by every result set and may stay.
}

void SQLRequest::SetInitialRowInterval(int rows) {
    initialRowInterval = rows;
}

void SQLRequest::SetRowInterval(int rows) {
    rowInterval = rows;
}

void SQLRequest::SetHandleDBMSOutput(bool handle) {
    handleDBMSOutput = handle;
}

bool SQLRequest::GetHandleDBMSOutput() {
    return handleDBMSOutput;
}

void SQLRequest::SetDBMSOutputBufferSize(int size) {
    dbmsOutputBufferSize = size;
}

int SQLRequest::GetDBMSOutputBufferSize() {
    return dbmsOutputBufferSize;
}

void SQLRequest::SetMaxRowCount(int rows) {
    maxRowCount = rows;
}

int SQLRequest::GetMaxRowCount() {
    return maxRowCount;
}

void SQLRequest::SetMaxErrorCount(int errors) {
    maxErrorCount = errors;
}

int SQLRequest::GetMaxErrorCount() {
    return maxErrorCount;
}

void SQLRequest::SetUseGenericParser(bool use) {
    useGenericParser = use;
}

bool SQLRequest::GetUseGenericParser() {
    return useGenericParser;
}

void SQLRequest::SetExplainPlanAlterSessionUser(const char* user) {
    const WriteLockGuard guard(lock);
    explainPlanAlterSessionUser = user == nullptr ? "" : user;
}

const char* SQLRequest::GetExplainPlanAlterSessionUser() {
    const ReadLockGuard guard(lock, true);
    return explainPlanAlterSessionUser.c_str();
}

std::string SQLRequest::GetUserNameA() {
    const ReadLockGuard guard(lock, true);
    return userName;
}

void SQLRequest::SetQueryOptions(const OptionMap& options, const OptionMap& defaultOptions) {
    queryOptions = options;
    queryDefaultOptions = defaultOptions;
}

const SQLRequest::OptionMap& SQLRequest::GetQueryOptions() {
    return queryOptions;
}

const SQLRequest::OptionMap& SQLRequest::GetQueryDefaultOptions() {
    return queryDefaultOptions;
}

qxdb::Statement::PrepareType SQLRequest::GetPrepareType() const {
    switch (requestType) {
        case RequestProcedure:
            return qxdb::Statement::PrepareProcedure;
        case RequestFunction:
            return qxdb::Statement::PrepareFunction;
        default:
            return qxdb::Statement::PrepareSQL;
    }
}

qxdb::Statement* SQLRequest::GetStatement() {
    const ReadLockGuard guard(lock, true);
    const qxutils::LockGuard<qxutils::CriticalSection> statementGuard(statementLock);
    return statement;
}

SmartPtr<DataStorage> SQLRequest::GetData() {
    const ReadLockGuard guard(lock, true);
    return data;
}

}  // namespace qxdbsqlengine
