// Two views on one store, each with its own order and hidden rows, while rows still arrive.

#include <atomic>
#include <chrono>
#include <iostream>
#include <thread>

#include "drivers/sqlite/sqlite_driver.h"
#include "engine/director.h"
#include "engine/single_connection.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"

using namespace qxdbsqlengine;

namespace {

const char Sql[] =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200000) "
    "SELECT i AS id, 'file' || (i * 7919 % 200000) AS name FROM n";

class EndFlag final : public RequestCallback {
  public:
    std::atomic<bool> ended{false};
    void OnRequestBegin(double) override {}
    void OnRequestEnd(double) override { ended = true; }
    void OnCancelFailed(double) override { ended = true; }
};

void Show(const char* title, DataStorage& view) {
    std::cout << title << " (" << view.GetNumberOfRows(0) << " rows):";
    for (int row = 0; row < 5 && row < view.GetNumberOfRows(0); ++row)
        std::cout << "  " << view.GetInt64(0, row, 0) << " " << view.GetString(0, row, 1);
    std::cout << '\n';
}

}  // namespace

int main() {
    qxdrivers::RegisterSQLite();
    const qxdb::ConnectionDef place(qxdb::DBTYPE_SQLITE, ":memory:", "", "", "sqlite", "");
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, ":memory:", 0.0, "", "");
    EndFlag flag;
    CSingleRequestDirector director(definition, connections, nullptr, "", true);
    director.RegisterCallback(static_cast<RequestCallback&>(flag));
    director.Execute(Sql, SQLRequest::RequestSQL, false, false);

    // A copy of a handle shares the rows and has a view of its own.
    DataStorage byName(*director.GetDataStorage());
    while (byName.GetNumberOfResultSets() == 0 || byName.GetNumberOfRows(0) < 1000)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    byName.Sort(0, {{1, true}}, nullptr, 0);  // name; rows that arrive later follow at the end
    DataStorage newestFirst(byName);
    newestFirst.Sort(0, {{0, false}}, nullptr, 0);
    newestFirst.HideRow(0, 0);  // hidden in this view only
    Show("by name, so far", byName);
    Show("newest first, so far", newestFirst);

    while (!flag.ended)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    byName.ReSort(0);  // late rows move to their places
    newestFirst.ReSort(0);
    Show("by name", byName);
    Show("newest first", newestFirst);
    return 0;
}
