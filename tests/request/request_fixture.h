// What the tests of the request share: a request and a handler that open their insides and write down what is
// done to them, and a run over a scripted server.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <locale>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "dbms/dbms_handler.h"
#include "engine/engine.h"
#include "request/sql_request.h"
#include "support/recording_callbacks.h"
#include "support/scripted_driver.h"

namespace qxtest {

using qxdbsqlengine::DataStorage;
using qxdbsqlengine::DBMSHandler;
using qxdbsqlengine::ResultSetType;
using qxdbsqlengine::SmartPtr;
using qxdbsqlengine::SQLRequest;

using Lines = std::vector<std::string>;

inline SmartPtr<DataStorage> NewStore() {
    return SmartPtr<DataStorage>(new DataStorage(DataStorage::CreateResultsStorage(false)));
}

// A plain handler that logs the calls of a run and does what a test asks for in them.
class LoggingHandler : public DBMSHandler {
  public:
    LoggingHandler(SQLRequest& owner, qxdb::DBTYPE type, Lines& callLog,
                   const std::map<std::string, std::function<void()>>& hooks)
        : DBMSHandler(owner, type), log(callLog), actions(hooks) {}

    void PreExecute(qxdb::Connection& connection, const qxdbsqlengine::OptionMap& defaults,
                    const qxdbsqlengine::OptionMap& options) override {
        Enter("PreExecute");
        DBMSHandler::PreExecute(connection, defaults, options);
    }
    void PostExecute(qxdb::Connection& connection, const qxdbsqlengine::OptionMap& defaults,
                     const qxdbsqlengine::OptionMap& options) override {
        Enter("PostExecute");
        DBMSHandler::PostExecute(connection, defaults, options);
    }
    void PreExecuteBatch(qxdb::Connection&) override { Enter("PreExecuteBatch"); }
    void PostExecuteBatch(qxdb::Connection&) override { Enter("PostExecuteBatch"); }
    void PreExecuteStatement(qxdb::Connection&) override { Enter("PreExecuteStatement"); }
    void PostExecuteStatement(qxdb::Connection&) override { Enter("PostExecuteStatement"); }
    void DetermineColumnDefs(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) override {
        Enter("DetermineColumnDefs");
        DBMSHandler::DetermineColumnDefs(cursor, fields, schema);
    }
    void HandleResultSet(qxdb::Cursor& cursor, qxdb::Fields& fields, qxdb::Schema& schema) override {
        Enter("HandleResultSet");
        DBMSHandler::HandleResultSet(cursor, fields, schema);
    }
    void HandleErrors(Errors& errors, qxdb::Connection& connection) override {
        Enter("HandleErrors");
        DBMSHandler::HandleErrors(errors, connection);
    }
    using DBMSHandler::HandleErrors;

  private:
    void Enter(const std::string& name) {
        log.push_back(name);
        const auto action = actions.find(name);
        if (action != actions.end())
            action->second();
    }

    Lines& log;
    const std::map<std::string, std::function<void()>>& actions;
};

class OpenRequest : public SQLRequest {
  public:
    using SQLRequest::SQLRequest;

    using SQLRequest::BindParametersByName;
    using SQLRequest::BindParametersByOrdinal;
    using SQLRequest::BindStatementWithOutputPatameter;
    using SQLRequest::BuildExcludeIndex;
    using SQLRequest::BuildNameMap;
    using SQLRequest::CompressOnColumns;
    using SQLRequest::ContainsSingleSelectStmt;
    using SQLRequest::ConvertFieldIndexToParameterIndex;
    using SQLRequest::CopyData;
    using SQLRequest::CreateParameterResultset;
    using SQLRequest::errorCount;
    using SQLRequest::ExecuteBatchItem;
    using SQLRequest::GenerateParameterList;
    using SQLRequest::GetHandler;
    using SQLRequest::GetInputIndex;
    using SQLRequest::GetParameterIndexByName;
    using SQLRequest::GetProvidedNamedInputIndex;
    using SQLRequest::GetStartOutputParamIndex;
    using SQLRequest::HandleCursor;
    using SQLRequest::HandleCursorOutputParameters;
    using SQLRequest::HandleEmptyResultSet;
    using SQLRequest::HandleOutputParameters;
    using SQLRequest::inBatchItem;
    using SQLRequest::IncludeInputParameterOnly;
    using SQLRequest::inMessageResultSet;
    using SQLRequest::inResultSet;
    using SQLRequest::IsStatementWithOutputParameter;
    using SQLRequest::LookupParameter;
    using SQLRequest::MaxErrorsOccurred;
    using SQLRequest::noOutput;
    using SQLRequest::ParseGenerateInsertTableName;
    using SQLRequest::ParseTableName;
    using SQLRequest::ParseWhereClause;
    using SQLRequest::PrepareForExecution;
    using SQLRequest::PrepareProcedure;
    using SQLRequest::PrepareSQL;
    using SQLRequest::SyncParametersWithSchema;

    void NotifyResultSetUpdate(int rows, bool force) override {
        updates.push_back({rows, force});
        SQLRequest::NotifyResultSetUpdate(rows, force);
    }

    Lines handlerLog;
    std::map<std::string, std::function<void()>> handlerActions;
    std::vector<std::pair<int, bool>> updates;  // past no filter: rows, force
    int handlersMade = 0;
    // Runs in the place of a batch item.
    std::function<bool(qxdb::Connection&)> items;

  protected:
    std::unique_ptr<DBMSHandler> CreateHandler(qxdb::DBTYPE type) override {
        ++handlersMade;
        return std::make_unique<LoggingHandler>(*this, type, handlerLog, handlerActions);
    }
    bool DoExecute(const qxdbsrd::ConnectionDefElement& def, qxdb::Connection& connection) override {
        return items ? items(connection) : SQLRequest::DoExecute(def, connection);
    }
};

class RequestTest : public ::testing::Test {
  protected:
    explicit RequestTest(qxdbsqlengine::SchemaCallback* schemaCallback = nullptr)
        : notifications(new qxdbsqlengine::NotificationCallbacks()),
          lender(new CountingConnectionCallback(server)),
          store(NewStore()),
          owner(new OpenRequest(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(lender),
                                store, schemaCallback, "")),
          request(*owner) {
        hold = qxdbsqlengine::RequestPtr(owner);
        calls.AddTo(*notifications);
    }

    static qxdbsrd::ConnectionDefElement Def(qxdb::DBTYPE type = qxdb::DBTYPE_OTHER,
                                             const std::string& source = "source") {
        return qxdbsrd::ConnectionDefElement(type, source, 1.0, "scott", "tiger");
    }
    bool Run(const std::string& sql, SQLRequest::RequestType type = SQLRequest::RequestSQL) {
        request.SetSQL(sql, type, false, false);
        return request.Execute(Def());
    }
    bool Run(qxdb::DBTYPE type, const std::string& sql) {
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        return request.Execute(Def(type));
    }
    // Runs the request as it is on an engine and waits for its end.
    void RunOnEngine() {
        qxutils::ThreadPtr<qxdbsqlengine::IEngine> engine = qxdbsqlengine::Engine::Create();
        engine->Start(Def());
        static_cast<qxdbsqlengine::Engine&>(*engine.operator->()).QueueRequest(hold);
        WaitUntil([&] { return !engine->IsExecuting(); });
        engine->Stop(false);
        WaitUntil([&] { return engine->ExecutionCompleted(); });
    }
    static void WaitUntil(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), end);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    // The cells of a column as texts.
    Lines Column(int resultSet, int column = 0) {
        Lines texts;
        for (int row = 0; row < store->GetNumberOfRows(resultSet); ++row)
            texts.push_back(store->AsString(resultSet, row, column, std::locale::classic()));
        return texts;
    }
    // The cells of a row as texts.
    Lines RowOf(int resultSet, int row = 0) {
        Lines texts;
        for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column)
            texts.push_back(store->AsString(resultSet, row, column, std::locale::classic()));
        return texts;
    }
    // "type:rows" of every result set.
    Lines Sets() {
        Lines sets;
        for (int id = 0; id < store->GetNumberOfResultSets(); ++id) {
            sets.push_back(std::to_string(store->GetResultSetType(id)) + ":" +
                           std::to_string(store->GetNumberOfRows(id)));
        }
        return sets;
    }

    ScriptedServer server;
    RecordingCallbacks calls;
    SmartPtr<qxdbsqlengine::NotificationCallbacks> notifications;
    CountingConnectionCallback* lender;
    SmartPtr<DataStorage> store;
    OpenRequest* owner;
    OpenRequest& request;
    qxdbsqlengine::RequestPtr hold;
};

}  // namespace qxtest
