// Results that are edited in place: load, sort, change, insert, delete, hide, and print both views.

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
    "WITH product(id, name, price) AS (VALUES (1, 'Green tea', 450), (2, 'Coffee', 820), "
    "(3, 'Cocoa', 610), (4, 'Honey', 1290)) SELECT id, name, price FROM product";

enum Columns { Id, Name, Price };

class EndFlag final : public RequestCallback {
  public:
    std::atomic<bool> ended{false};
    void OnRequestBegin(double) override {}
    void OnRequestEnd(double) override { ended = true; }
    void OnCancelFailed(double) override { ended = true; }
};

void Show(const char* title, DataStorage& view) {
    std::cout << title << ":\n";
    for (int row = 0; row < view.GetNumberOfRows(0); ++row)
        std::cout << "  " << view.GetInt64(0, row, Id) << " | " << view.GetString(0, row, Name) << " | "
                  << view.GetInt64(0, row, Price) << '\n';
}

}  // namespace

int main() {
    qxdrivers::RegisterSQLite();
    const qxdb::ConnectionDef place(qxdb::DBTYPE_SQLITE, ":memory:", "", "", "sqlite", "");
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, ":memory:", 0.0, "", "");
    EndFlag flag;
    DataStorage table = DataStorage::CreateResultsStorage(true);  // editable
    CSingleRequestDirector director(definition, table, connections, nullptr, "", true);
    director.RegisterCallback(static_cast<RequestCallback&>(flag));
    director.Execute(Sql, SQLRequest::RequestSQL, false, false);
    while (!flag.ended)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));

    DataStorage byPrice(table);  // the same rows in an order of its own
    byPrice.Sort(0, {{Price, false}}, nullptr, 0);
    Show("table", table);
    Show("by price", byPrice);

    // Rows are those of the handle that is edited. A caller whose other threads read meanwhile holds
    // WriteLockAll, or a RowLock, around these.
    table.Edit().SetInt64(0, 2, Price, 999);
    byPrice.Edit().SetString(0, 1, Name, "Espresso");
    table.Edit().InsertRow(0, 1);  // comes at the end of the view that is sorted
    table.Edit().SetInt64(0, 1, Id, 5);
    table.Edit().SetString(0, 1, Name, "Black tea");
    table.Edit().SetInt64(0, 1, Price, 380);
    byPrice.Edit().DeleteRow(0, 3);  // gone from both views
    byPrice.HideRow(0, 0);           // gone from this one
    byPrice.ReSort(0);
    Show("table, edited", table);
    Show("by price, edited", byPrice);
    return 0;
}
