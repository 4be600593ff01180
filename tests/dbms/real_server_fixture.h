// Whole runs of a request over a connection of a real driver, with the handler that the server's type gets.
#pragma once

#include <gtest/gtest.h>

#include <locale>
#include <string>
#include <vector>

#include "dbms/dbms_handler.h"
#include "engine/cancellation.h"
#include "engine/notification.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"
#include "support/driver_support.h"
#include "support/recording_callbacks.h"

namespace qxtest {

class RealServerTest : public ::testing::Test {
  protected:
    using Lines = std::vector<std::string>;
    using OptionMap = qxdbsqlengine::OptionMap;
    template <class T>
    using SmartPtr = qxdbsqlengine::SmartPtr<T>;
    using SQLRequest = qxdbsqlengine::SQLRequest;

    RealServerTest(qxdb::DBTYPE serverType, const qxdb::Connection& opened)
        : type(serverType),
          connection(opened),
          notifications(new qxdbsqlengine::NotificationCallbacks()),
          store(new qxdbsqlengine::DataStorage(qxdbsqlengine::DataStorage::CreateResultsStorage(false))),
          request(notifications, SmartPtr<qxdbsqlengine::ConnectionRequestCallback>(), store, nullptr, "") {
        calls.AddTo(*notifications);
    }

    // A whole run on an emptied store. Failures and cancels of the run itself pass through.
    bool Run(const std::string& sql, const OptionMap& options = {}, const OptionMap& defaults = {}) {
        request.ClearStorage();
        calls.Clear();
        request.SetSQL(sql, SQLRequest::RequestSQL, false, false);
        request.SetQueryOptions(options, defaults);
        return request.Execute(qxdbsrd::ConnectionDefElement(type, "", 0.0, "", ""), connection);
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
    // The first row of a query that the session answers outside the request.
    std::string Ask(const std::string& sql) {
        const Lines rows = Rows(connection, sql);
        return rows.empty() ? std::string("nothing") : rows.front();
    }

    const qxdb::DBTYPE type;
    qxdb::Connection connection;
    RecordingCallbacks calls;
    SmartPtr<qxdbsqlengine::NotificationCallbacks> notifications;
    SmartPtr<qxdbsqlengine::DataStorage> store;
    SQLRequest request;
};

}  // namespace qxtest
