// A director on a real server, with its callbacks written down.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <locale>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "drivers/odbc_support.h"
#include "engine/director.h"
#include "params/parameter_list.h"
#include "platform/qxdb/manager.h"
#include "storage/data_storage.h"
#include "support/recording_callbacks.h"

namespace qxtest {

// Opens a connection for every run, and closes it behind the run.
class FreshConnections final : public qxdbsqlengine::ConnectionRequestCallback {
  public:
    explicit FreshConnections(qxdb::ConnectionDef server) : definition(std::move(server)) {}

    qxdb::Connection* RequestConnection(char const*, bool, bool) override {
        return new qxdb::Connection(definition.Connect());
    }
    void ReleaseConnection(qxdb::Connection* connection) override { delete connection; }
    qxdbsqlengine::ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override {
        return qxdbsqlengine::ServerIdentifier(dataSourceName);
    }

  private:
    const qxdb::ConnectionDef definition;
};

inline qxdb::ConnectionDef DefinitionOf(bool mariadb, const std::string& options = "") {
    qxdrivers::RegisterODBC();
    return mariadb ? MariaDB("", options) : Postgres("", options);
}

class ServerRun {
  public:
    using SQLRequest = qxdbsqlengine::SQLRequest;
    using Director = qxdbsqlengine::CSingleRequestDirector;
    using Lines = std::vector<std::string>;

    explicit ServerRun(bool mariadb, const std::string& options = "")
        : ServerRun(mariadb, DefinitionOf(mariadb, options)) {}
    ServerRun(bool mariadb, const qxdb::ConnectionDef& definition)
        : director(qxdbsrd::ConnectionDefElement(mariadb ? qxdb::DBTYPE_MYSQL : qxdb::DBTYPE_OTHER, "server",
                                                 0.0, "", ""),
                   qxdbsqlengine::ConnectionRequestCallbackPtr(new FreshConnections(definition)), nullptr, "",
                   true) {
        calls.RegisterWith(director);
    }

    // Starts a run on an emptied store.
    void Start(const std::string& sql, SQLRequest::RequestType type = SQLRequest::RequestSQL) {
        calls.Clear();
        director.ClearStorage();
        director.Execute(sql, type, false, false);
    }
    void Wait(int seconds = 60) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while ((director.IsExecuting() || calls.LinesOf("OnRequestEnd").empty()) &&
               std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_FALSE(director.IsExecuting());
        EXPECT_EQ(calls.LinesOf("OnRequestEnd").size(), 1u);
    }
    void Run(const std::string& sql, SQLRequest::RequestType type = SQLRequest::RequestSQL) {
        Start(sql, type);
        Wait();
    }

    Lines Errors() { return calls.LinesOf("OnError"); }
    // The rows of a result, cells with "|" between them.
    Lines Rows(int resultSet = 0) {
        const auto store = director.GetDataStorage();
        Lines rows;
        const int count = resultSet < store->GetNumberOfResultSets() ? store->GetNumberOfRows(resultSet) : 0;
        for (int row = 0; row < count; ++row) {
            std::string line;
            for (int column = 0; column < store->GetNumberOfColumns(resultSet); ++column) {
                line += column == 0 ? "" : "|";
                line += CellText(*store, resultSet, row, column);
            }
            rows.push_back(line);
        }
        return rows;
    }
    // The rows of the results that are of the statements themselves, not of messages.
    Lines RowsOfStatements() {
        const auto store = director.GetDataStorage();
        Lines rows;
        for (int id = 0; id < store->GetNumberOfResultSets(); ++id) {
            if (store->GetResultSetType(id) == 0) {
                for (const std::string& row : Rows(id)) {
                    rows.push_back(row);
                }
            }
        }
        return rows;
    }
    // "type:rows" of every result set.
    Lines Sets() {
        const auto store = director.GetDataStorage();
        Lines sets;
        for (int id = 0; id < store->GetNumberOfResultSets(); ++id) {
            sets.push_back(std::to_string(store->GetResultSetType(id)) + ":" +
                           std::to_string(store->GetNumberOfRows(id)));
        }
        return sets;
    }

    RecordingCallbacks calls;
    Director director;

  private:
    // Decimals with all their digits.
    static std::string CellText(qxdbsqlengine::DataStorage& store, int resultSet, int row, int column) {
        if (store.IsNull(resultSet, row, column)) {
            return "NULL";
        }
        return store.GetDataType(resultSet, column) == qxdbsqlengine::DataTypeDecimal
                   ? store.GetDecimal(resultSet, row, column).AsString(false, -1)
                   : store.AsString(resultSet, row, column, std::locale::classic());
    }
};

// Waits for what another thread or a server brings about.
inline bool Await(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Whether a server has a statement with this mark at work, as another connection sees it.
inline bool RunsOnServer(qxdb::Connection watcher, bool mariadb, const std::string& mark) {
    const std::string sql =
        mariadb ? "SELECT COUNT(*) FROM information_schema.processlist WHERE info LIKE '%" + mark +
                      "%' AND info NOT LIKE '%processlist%'"
                : "SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND query LIKE '%" + mark +
                      "%' AND query NOT LIKE '%pg_stat_activity%'";
    return Rows(watcher, sql).front() != "0";
}

}  // namespace qxtest
