// What the tests of one server family's handler share: whole runs of a request over a scripted server, with
// the family's own handler.
#pragma once

#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dbms/dbms_handler.h"
#include "dbms/row_uses.h"
#include "engine/notification.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "support/recording_callbacks.h"
#include "support/scripted_driver.h"

namespace qxtest {

using qxdbsqlengine::DataStorage;
using qxdbsqlengine::OptionMap;
using qxdbsqlengine::SmartPtr;
using qxdbsqlengine::SQLRequest;
using Lines = std::vector<std::string>;

// A handler with its protected side open, which writes down with how many arguments it asked for which row.
template <class Handler>
class OpenFamilyHandler : public Handler {
  public:
    OpenFamilyHandler(SQLRequest& ofRequest, std::vector<qxdbsqlengine::RowUse>& used)
        : Handler(ofRequest), uses(used) {}

    using Handler::ExecuteCommand;
    using Handler::optionRows;
    using Handler::SetOptionsIDSMap;

    std::string GetResultsFromBoolOption(bool value, int stringId) override {
        uses.push_back({stringId, 1});
        return Handler::GetResultsFromBoolOption(value, stringId);
    }
    std::string GetResultsFromIntOption(int value, int stringId) override {
        uses.push_back({stringId, 1});
        return Handler::GetResultsFromIntOption(value, stringId);
    }
    std::string GetResultsFromStrOption(int stringId, const std::string& first,
                                        const std::string& second) override {
        uses.push_back({stringId, second.empty() ? 1 : 2});
        return Handler::GetResultsFromStrOption(stringId, first, second);
    }

  private:
    std::vector<qxdbsqlengine::RowUse>& uses;
};

template <class Handler>
class FamilyRequest : public SQLRequest {
  public:
    using SQLRequest::errorCount;
    using SQLRequest::GetHandler;
    using SQLRequest::SQLRequest;

    std::vector<qxdbsqlengine::RowUse> uses;

  protected:
    std::unique_ptr<qxdbsqlengine::DBMSHandler> CreateHandler(qxdb::DBTYPE) override {
        return std::make_unique<OpenFamilyHandler<Handler>>(*this, uses);
    }
};

template <class Handler, qxdb::DBTYPE Type>
class FamilyTest : public ::testing::Test {
  protected:
    FamilyTest()
        : notifications(new qxdbsqlengine::NotificationCallbacks()),
          store(new DataStorage(DataStorage::CreateResultsStorage(false))),
          request(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, ""),
          handler(request, request.uses) {
        calls.AddTo(*notifications);
    }
    // Every row that a test came across stands in the handlers' tables, used in the same way.
    void TearDown() override {
        for (const qxdbsqlengine::RowUse& use : request.uses) {
            bool isListed = false;
            for (const qxdbsqlengine::RowUse& listed : qxdbsqlengine::GetRowUses()) {
                const bool isQuery = listed.arguments == 0;  // asked for like the options that take a value
                isListed |= listed.row == use.row && (isQuery || listed.arguments == use.arguments);
            }
            EXPECT_TRUE(isListed) << "row " << use.row << " with " << use.arguments << " arguments";
        }
    }

    // A whole run. Failures and cancels of the run itself pass through.
    bool Run(const std::string& sql, const OptionMap& options = {}, const OptionMap& defaults = {}) {
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        request.SetQueryOptions(options, defaults);
        qxdb::Connection connection = server.Connect();
        return request.Execute(qxdbsrd::ConnectionDefElement(Type, "", 0.0, userName, "tiger"), connection);
    }
    // Expects the statement to fail on the server.
    Step& ExpectFailure(const std::string& sql) {
        return server.Expect(sql).Fails(
            MakeErrors({ErrorRecord(2, 942, 0, 0, "no such table", "", nullptr)}));
    }
    Lines Column(int resultSet, int column = 0) {
        Lines texts;
        for (int row = 0; row < store->GetNumberOfRows(resultSet); ++row)
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
    std::string userName = "scott";
    SmartPtr<qxdbsqlengine::NotificationCallbacks> notifications;
    SmartPtr<DataStorage> store;
    FamilyRequest<Handler> request;
    OpenFamilyHandler<Handler> handler;  // for calls of single operations; a run has one of its own
};

}  // namespace qxtest
