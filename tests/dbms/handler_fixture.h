// What the tests of the handler share: a request that shows what was done to it, a handler whose protected
// side is open, and a scripted server between them.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dbms/dbms_handler.h"
#include "engine/callbacks.h"
#include "engine/notification.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "support/scripted_driver.h"

namespace qxtest {

using qxdbsqlengine::ColumnDefinition;
using qxdbsqlengine::DataStorage;
using qxdbsqlengine::OptionMap;
using qxdbsqlengine::ResultSetType;
using qxdbsqlengine::SmartPtr;

inline SmartPtr<DataStorage> NewStore() {
    return SmartPtr<DataStorage>(new DataStorage(DataStorage::CreateResultsStorage(false)));
}

// Everything in one list, in the order in which it happened.
using Trace = std::vector<std::string>;

// A handler with its protected side open. Overridden hooks write into the trace when there is one, and then
// do what the base does.
class OpenHandler : public qxdbsqlengine::DBMSHandler {
  public:
    OpenHandler(qxdbsqlengine::SQLRequest& owner, qxdb::DBTYPE type) : DBMSHandler(owner, type) {}

    using DBMSHandler::cachedMessages;
    using DBMSHandler::dbType;
    using DBMSHandler::ExecuteCommand;
    using DBMSHandler::GetBatchItemIndex;
    using DBMSHandler::GetColumnDefinition;
    using DBMSHandler::GetColumnReorder;
    using DBMSHandler::GetData;
    using DBMSHandler::GetDoColumnReorder;
    using DBMSHandler::GetFieldsHandlerMap;
    using DBMSHandler::GetHandleTypesMap;
    using DBMSHandler::GetIntQueryResults;
    using DBMSHandler::GetResultSetId;
    using DBMSHandler::GetResultSetType;
    using DBMSHandler::GetRowHandlerMap;
    using DBMSHandler::GetStatement;
    using DBMSHandler::GetStrQueryResults;
    using DBMSHandler::HandleNotify;
    using DBMSHandler::optionRows;
    using DBMSHandler::ParseTableName;
    using DBMSHandler::SaveNotifyMessage;
    using DBMSHandler::SetOptionsIDSMap;
    using DBMSHandler::SetResultSetType;
    using DBMSHandler::tableName;
};

// A request on a stack, without director and engine. What it would tell others lands in `trace`.
class ProbeRequest : public qxdbsqlengine::SQLRequest {
  public:
    explicit ProbeRequest(const SmartPtr<DataStorage>& store)
        : ProbeRequest(store, SmartPtr<qxdbsqlengine::NotificationCallbacks>(
                                  new qxdbsqlengine::NotificationCallbacks())) {}
    ProbeRequest(const SmartPtr<DataStorage>& store,
                 const SmartPtr<qxdbsqlengine::NotificationCallbacks>& notifications)
        : SQLRequest(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, ""),
          callbacksOfTest(notifications) {
        callbacksOfTest->Add(errors);
    }

    using SQLRequest::CheckCancelled;
    using SQLRequest::GetHandler;

    void SaveNotifyMessage(const std::string& text) override {
        trace.push_back("saved " + text);
        CheckCancelled();
        if (reallySaves)
            SQLRequest::SaveNotifyMessage(text);
    }
    void NotifyResultSetUpdate(int rows, bool force) override {
        updates.push_back(rows);
        SQLRequest::NotifyResultSetUpdate(rows, force);
    }
    std::unique_ptr<qxdbsqlengine::DBMSHandler> CreateHandler(qxdb::DBTYPE type) override {
        return std::make_unique<OpenHandler>(*this, type);
    }

    Trace trace;               // saved messages and error notifications
    std::vector<int> updates;  // row counts told
    bool reallySaves = false;

  private:
    struct ErrorTracer : qxdbsqlengine::ErrorCallback {
        explicit ErrorTracer(Trace& target) : trace(target) {}
        virtual ~ErrorTracer() = default;
        // Reads on from where the list stands: it is handed over at its first record.
        void OnError(const Errors& list) override {
            std::string texts;
            while (list.MoreErrors())
                texts += (texts.empty() ? "" : " | ") + list.GetNextError().GetErrorDescription();
            trace.push_back("error " + texts);
        }
        Trace& trace;
    };

    ErrorTracer errors{trace};
    SmartPtr<qxdbsqlengine::NotificationCallbacks> callbacksOfTest;
};

// A result of a statement, opened as the request opens it.
struct OpenCursor {
    OpenCursor(qxdb::Connection& connection, const std::string& sql, bool asStrings = false)
        : statement(connection.CreateStatement(qxdb::CursorDefault, 1)) {
        statement.SetStatement(sql);
        statement.Execute();
        EXPECT_TRUE(statement.ResultSetAvailable());
        cursor = statement.GetResults(1, "");
        binding = cursor.Bind();
        fields = std::make_unique<qxdb::Fields>(binding, asStrings, qxdb::ExclusionIndex(), false, nullptr);
        schema = binding.GetSchema();
    }

    qxdb::Statement statement;
    qxdb::Cursor cursor;
    qxdb::BindValue binding;
    std::unique_ptr<qxdb::Fields> fields;
    qxdb::Schema schema;
};

class HandlerTest : public ::testing::Test {
  protected:
    HandlerTest() : store(NewStore()), request(store), handler(request, qxdb::DBTYPE_OTHER) {}

    // One statement that returns `result`, opened.
    OpenCursor Open(Result result) {
        server.Expect("select").Returns(std::move(result));
        return OpenCursor(Connection(), "select");
    }
    qxdb::Connection& Connection() {
        if (!connected) {
            connection = server.Connect();
            connected = true;
        }
        return connection;
    }
    // Finds the columns, opens a result set of `type` and runs the row pump.
    void Pump(OpenCursor& open, ResultSetType type = qxdbsqlengine::ResultSetNormal) {
        handler.DetermineColumnDefs(open.cursor, *open.fields, open.schema);
        store->AddResultSet(request.GetColumnDefinition(), type);
        handler.HandleResultSet(open.cursor, *open.fields, open.schema);
    }
    // A whole run over the scripted server as a server of `type`.
    bool Run(qxdb::DBTYPE type, const std::string& sql) {
        request.SetSQL(sql, qxdbsqlengine::SQLRequest::RequestSQL, false, false);
        return request.Execute(qxdbsrd::ConnectionDefElement(type, "", 0.0, "scott", "tiger"), Connection());
    }
    std::vector<std::string> Column(int column, int resultSet = 0) {
        std::vector<std::string> texts;
        for (int row = 0; row < store->GetNumberOfRows(resultSet); ++row)
            texts.push_back(store->AsString(resultSet, row, column, std::locale::classic()));
        return texts;
    }

    ScriptedServer server;
    SmartPtr<DataStorage> store;
    ProbeRequest request;
    OpenHandler handler;

  private:
    qxdb::Connection connection;
    bool connected = false;
};

}  // namespace qxtest
