// Runs a SELECT with callbacks and reads the store. Usage: select [FILE [SQL]]

#include <future>
#include <iostream>
#include <locale>
#include <map>

#include "drivers/sqlite/sqlite_driver.h"
#include "engine/director.h"
#include "engine/single_connection.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"

using namespace qxdbsqlengine;

// Callbacks run on the engine thread, with no lock held. They only take notes here.
class Notes final : public ErrorCallback, public RequestCallback {
  public:
    std::promise<void> ended;

    void OnError(const Errors& errors) override {
        while (errors.MoreErrors())
            std::cerr << errors.GetNextError().GetErrorDescription() << '\n';
    }
    void OnRequestBegin(double) override {}
    void OnRequestEnd(double elapsed) override {
        std::cerr << "ended after " << elapsed << " ms\n";
        ended.set_value();
    }
    void OnCancelFailed(double) override { ended.set_value(); }
};

int main(int argc, char** argv) {
    qxdrivers::RegisterSQLite();
    const std::string file = argc > 1 ? argv[1] : ":memory:";
    const std::string sql = argc > 2 ? argv[2] : "SELECT 1 AS one, 'two' AS two, NULL AS empty";
    try {
        // Where connections come from: any class derived of ConnectionRequestCallback, such as a pool.
        const SmartPtr<ConnectionRequestCallback> connections(
            new SingleConnection(qxdb::ConnectionDef(qxdb::DBTYPE_SQLITE, file, "", "", "sqlite", "")));
        const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, file, 0.0, "", "");

        Notes notes;
        CSingleRequestDirector director(definition, connections, nullptr, "", true);
        director.RegisterCallback(static_cast<ErrorCallback&>(notes));
        director.RegisterCallback(static_cast<RequestCallback&>(notes));
        director.Execute(sql, SQLRequest::RequestSQL, false, false);  // returns at once
        notes.ended.get_future().wait();

        // The store outlives the run, and even the director.
        const SmartPtr<DataStorage> store = director.GetDataStorage();
        for (int rs = 0; rs < store->GetNumberOfResultSets(); ++rs) {
            const RowIterator end = store->GetRowEnd(rs);
            for (RowIterator row = store->GetRowIterator(rs, 0); row != end; ++row) {
                for (int col = 0; col < store->GetNumberOfColumns(rs); ++col) {
                    std::cout << store->GetColumnLabel(rs, col) << "="
                              << store->AsString(rs, row.GetRow(), col, std::locale::classic()) << "  ";
                }
                std::cout << '\n';
            }
        }
    } catch (const Errors& errors) {
        std::cerr << errors.GetNextError().GetErrorDescription() << '\n';
        return 1;
    }
    return 0;
}
