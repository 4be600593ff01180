// The course of a run: from the borrowed connection down to one statement.
#include <utility>

#include "dbms/dbms_handler.h"
#include "platform/qxdb/manager.h"
#include "platform/qxsplt/errors.h"
#include "platform/qxutils/lock_guard.h"
#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

using qxutils::QXException;
using qxutils::ReadLockGuard;
using qxutils::WriteLockGuard;

}  // namespace

// Shows the running statement to Cancel for the length of a scope.
class SQLRequest::StatementScope {
  public:
    StatementScope(SQLRequest& owner, qxdb::Statement& running) : request(owner) {
        const qxutils::LockGuard<qxutils::CriticalSection> guard(request.statementLock);
        request.statement = &running;
    }
    ~StatementScope() {
        const qxutils::LockGuard<qxutils::CriticalSection> guard(request.statementLock);
        request.statement = nullptr;
    }
    StatementScope(const StatementScope&) = delete;
    StatementScope& operator=(const StatementScope&) = delete;

  private:
    SQLRequest& request;
};

std::unique_ptr<DBMSHandler> SQLRequest::CreateHandler(qxdb::DBTYPE type) {
    return DBMSHandler::Create(*this, type);
}

bool SQLRequest::Execute(const qxdbsrd::ConnectionDefElement& def) {
    ConnectionWrapper borrowed(connectionCallback);
    qxdb::Connection* const connection = borrowed.GetConnection(def.GetDataSourceName().c_str(), true, false);
    if (connection == nullptr)
        throw QXException("No connection to the data source : " + def.GetDataSourceName());
    TakeOver(def);
    return Execute(def, *connection);
}

void SQLRequest::TakeOver(const qxdbsrd::ConnectionDefElement& def) {
    const WriteLockGuard guard(lock);
    dbType = def.GetDBType();
    userName = def.GetUserName();
    errorCount = 0;
}

bool SQLRequest::Execute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    TakeOver(def);
    handler.reset();
    handler = CreateHandler(dbType);
    SetIsUnicodeInstance(def, connection);
    try {
        // The session's own statements must not show their messages to the user.
        connection.SetCallback(nullptr);
        handler->PreExecute(connection, queryDefaultOptions, queryOptions);
        connection.SetCallback(handler.get());
        const bool result = DoExecute(def, connection);
        connection.SetCallback(nullptr);
        handler->PostExecute(connection, queryDefaultOptions, queryOptions);
        return result;
    } catch (...) {
        connection.SetCallback(nullptr);
        throw;
    }
}

void SQLRequest::SetIsUnicodeInstance(const qxdbsrd::ConnectionDefElement& def,
                                      qxdb::Connection& connection) {
    isUnicodeInstance = false;
    switch (dbType) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
        case qxdb::DBTYPE_ORACLE:
        case qxdb::DBTYPE_DB2OS390:
            isUnicodeInstance = connection.HasUnicodeSupport();
            break;
        case qxdb::DBTYPE_DB2:
            isUnicodeInstance = ProbeUnicodeCodeSet(def);
            break;
        default:
            break;
    }
}

// Asks the database's configuration over a connection of its own. Failures mean: not known to be Unicode.
bool SQLRequest::ProbeUnicodeCodeSet(const qxdbsrd::ConnectionDefElement& def) {
    try {
        qxdb::Connection probe = qxdb::Manager::Instance()
                                     .Bind(qxdb::DBTYPE_DB2CONFIG, def.GetDataSourceName(), def.GetUserName(),
                                           def.GetPassword(), "", "")
                                     .Connect();
        qxdb::ConfigurationParameters configuration = probe.GetConfigurationParameters();
        configuration.LoadDatabaseParameters(false, def.GetDataSourceName());
        const int count = configuration.ParameterCount();
        for (int i = 0; i < count; ++i) {
            qxdb::CfgParameter& parameter = configuration.GetParameter(i);
            if (parameter.GetName() == "Database code set" && parameter.GetValue() == "UTF-8")
                return true;
        }
    } catch (...) {
    }
    return false;
}

void SQLRequest::UseDatabase(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    const std::string name = GetDatabase();
    if (def.GetDataSourceName().empty() || name.empty())
        return;
    connection.SetCallback(nullptr);
    try {
        connection.GetProperties().SetCurrentDatabase(name);
    } catch (...) {
        // The statements will tell.
    }
    connection.SetCallback(handler.get());
}

bool SQLRequest::DoExecute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) {
    UseDatabase(def, connection);
    ResetTextCaches();
    countedSets = CountedSets();
    batchItemIndex = 0;
    batchItemLine = 0;
    const bool result =
        requestType == RequestScript ? ExecuteScript(def, connection) : ExecuteBatchItem(connection);
    if (inResultSet)
        NotifyResultSetEnd();
    return result;
}

bool SQLRequest::ExecuteBatchItem(qxdb::Connection& connection) {
    return GuardItem(connection, [this, &connection] {
        RunBatchItem(connection);
        return true;
    });
}

bool SQLRequest::GuardItem(qxdb::Connection& connection, const std::function<bool()>& item) {
    try {
        return TryItem(connection, item);
    } catch (const CancelledException&) {
        NotifyBatchItemEnd();
        throw;
    }
}

// All failures but a cancel are reported here; reporting itself may find the request cancelled.
bool SQLRequest::TryItem(qxdb::Connection& connection, const std::function<bool()>& item) {
    try {
        return item();
    } catch (const CancelledException&) {
        throw;
    } catch (Errors& errors) {
        CheckCancelled();  // what the server says to its own cancel is no error
        handler->HandleErrors(errors, connection);
    } catch (const std::exception& failure) {
        NotifyErrorText(failure.what());
    } catch (...) {
        NotifyErrorText(ResourceLoader::LoadString(121));
    }
    NotifyBatchItemEnd();
    return false;
}

void SQLRequest::RunBatchItem(qxdb::Connection& connection) {
    handler->PreExecuteBatch(connection);
    NotifyBatchItemBegin();
    std::string format;
    {
        const ReadLockGuard guard(lock, true);
        format = timestampFormat;
    }
    if (!format.empty())
        connection.GetProperties().SetTimestampFormat(format);
    ExecuteStatement(connection);
    NotifyBatchItemEnd();
    handler->PostExecuteBatch(connection);
    if (requestType == RequestScript)
        ClearParameters();
}

bool SQLRequest::ExecuteStatement(qxdb::Connection& connection) {
    qxdb::Statement running = connection.CreateStatement(qxdb::CursorDefault, 1);
    statementProperties.ApplyProperties(running.GetProperties());
    std::unique_ptr<qxdb::Fields> fields;
    const StatementScope scope(*this, running);

    // A request cancelled while it waited must not reach the server.
    CheckCancelled();
    if (doPrepare)
        PrepareForExecution(running, fields);
    else
        running.SetStatement(GetSQL());
    if (!RunStatement(running, connection))
        return false;
    if (!HandleResults(running)) {
        handler->PostExecuteStatement(connection);
        return false;
    }
    bool result = true;
    if (fields) {
        qxdb::Schema outputs = running.Bind().GetSchema();
        result = HandleOutputParameters(fields, outputs);
    }
    handler->PostExecuteStatement(connection);
    if (noOutput) {
        noOutput = false;
        HandleEmptyResultSet();
    }
    // Messages of later statements join an open message result set.
    if (inResultSet && !inMessageResultSet)
        NotifyResultSetEnd();
    return result;
}

// False when the server refused the statement, which is then reported.
bool SQLRequest::RunStatement(qxdb::Statement& running, qxdb::Connection& connection) {
    try {
        handler->PreExecuteStatement(connection);
        NotifyExecuteBegin();
        // A cancel from here on finds a statement that a driver may think idle, and would be lost.
        CheckCancelled();
        running.Execute();
        NotifyExecuteEnd();
        return true;
    } catch (Errors& errors) {
        CheckCancelled();  // what the server says to its own cancel is no error
        handler->HandleErrors(errors, connection);
        NotifyExecuteEnd();
        handler->PostExecuteStatement(connection);
        return false;
    }
}

bool SQLRequest::HandleResults(qxdb::Statement& running) {
    while (running.ResultSetAvailable()) {
        CheckCancelled();
        qxdb::Cursor cursor = running.GetResults(1, "");
        if (!HandleCursor(cursor, ResultSetNormal, ""))
            return false;
    }
    return true;
}

void SQLRequest::NotifyErrorText(const std::string& text) {
    Errors errors;
    errors.AddRecord(UserErrorRecord(text));
    NotifyError(errors);
}

bool SQLRequest::MaxErrorsOccurred() {
    return maxErrorCount != 0 && errorCount >= maxErrorCount;
}

void SQLRequest::NotifyBatchItemBegin() {
    if (inBatchItem)
        NotifyBatchItemEnd();
    if (inResultSet && !inMessageResultSet)
        NotifyResultSetEnd();
    affectedRows = -1;
    {
        const WriteLockGuard guard(lock);
        outputParameters.Clear();
    }
    DispatchCallbacks::NotifyBatchItemBegin(batchItemIndex, batchItemLine);
}

void SQLRequest::NotifyBatchItemEnd() {
    if (!inBatchItem)
        return;
    if (inResultSet && !inMessageResultSet)
        NotifyResultSetEnd();
    ResetTextCaches();
    DispatchCallbacks::NotifyBatchItemEnd(batchItemIndex, outputParameters);
    ++batchItemIndex;
}

void SQLRequest::NotifyCancelFailed() {
    DispatchCallbacks::NotifyCancelFailed();
}

}  // namespace qxdbsqlengine
