// Watches a run through a window alone: no callback object, everything on the main thread, which pumps
// messages. Usage: observer DATABASE [SQL]. The exit code is 0, or 1 when the run reported an error.

#include <cstdio>
#include <exception>
#include <iostream>
#include <locale>
#include <string>

#include "drivers/sqlite/sqlite_driver.h"
#include "engine/director.h"
#include "engine/observers.h"
#include "engine/single_connection.h"
#include "platform/os/window.h"
#include "request/sql_request.h"
#include "storage/data_storage.h"

using namespace qxdbsqlengine;

namespace {

// Half a million purchases, made of the customers and products of the sample shop.
const char defaultSql[] =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 500000) "
    "SELECT i AS id, c.name AS customer, p.name AS product, p.price FROM n "
    "CROSS JOIN customer c ON c.id = i % 8 + 1 CROSS JOIN product p ON p.rowid = i % 5 + 1";

// Each notification is a message to the window, answered on this thread while the run waits. The payload is
// valid only during the call; the store may be read at any time.
class Watcher {
  public:
    Watcher()
        : window(
              qxos::CreateMessageWindow([this](HWND, UINT message, WPARAM kind, LPARAM payload) -> LRESULT {
                  if (message == WM_ENGINE_NOTIFICATION) {
                      OnNotification(static_cast<EngineNotificationKind>(kind), payload);
                  }
                  return 0;
              })) {}
    ~Watcher() { DestroyWindow(window); }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    HWND Window() const { return window; }

  private:
    void OnNotification(EngineNotificationKind kind, LPARAM payload) {
        switch (kind) {
            case KindResultSetUpdate: {
                const auto& update = NotificationAs<ResultSetUpdateNotification>(payload);
                std::printf("%8.0f ms  %d rows\n", update.elapsed, update.rows);
                break;
            }
            case KindResultSetEnd: {
                const auto& end = NotificationAs<ResultSetEndNotification>(payload);
                Show(*end.director->GetDataStorage(), end.resultSetId);
                break;
            }
            case KindError: {
                failed = true;
                const auto& error = NotificationAs<ErrorNotification>(payload);
                while (error.errors.MoreErrors()) {
                    std::cerr << error.errors.GetNextError().GetErrorDescription() << '\n';
                }
                break;
            }
            case KindRequestEnd:
            case KindCancelFailed:
                PostQuitMessage(failed || kind == KindCancelFailed ? 1 : 0);
                break;
            default:
                break;
        }
    }

    static void Show(DataStorage& store, int resultSet) {
        const int rows = store.GetNumberOfRows(resultSet);
        std::printf("Result set %d: %d rows", resultSet, rows);
        for (int col = 0; rows > 0 && col < store.GetNumberOfColumns(resultSet); ++col) {
            std::printf("%s %s", col == 0 ? "; the last:" : " |",
                        store.AsString(resultSet, rows - 1, col, std::locale::classic()).c_str());
        }
        std::printf("\n");
    }

    bool failed = false;
    const HWND window;
};

int Run(const std::string& database, const std::string& sql) {
    const qxdb::ConnectionDef place(qxdb::DBTYPE_SQLITE, database, "", "", "sqlite", "");
    const SmartPtr<ConnectionRequestCallback> connections(new SingleConnection(place));
    const qxdbsrd::ConnectionDefElement definition(qxdb::DBTYPE_SQLITE, database, 0.0, "", "");
    Watcher watcher;
    CSingleRequestDirector director(definition, connections, nullptr, "", true);
    director.RegisterObserver(watcher.Window());
    director.Execute(sql, SQLRequest::RequestSQL, false, false);  // returns at once
    return qxos::RunMessages();                                   // until PostQuitMessage
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "Usage: observer DATABASE [SQL]\n";
        return 2;
    }
    qxdrivers::RegisterSQLite();
    try {
        return Run(argv[1], argc > 2 ? argv[2] : defaultSql);
    } catch (const Errors& errors) {
        std::cerr << errors.GetNextError().GetErrorDescription() << '\n';
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
    }
    return 1;
}
