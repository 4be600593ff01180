// What the tests of the ODBC driver share.
#pragma once

#include <unistd.h>

#include <string>
#include <vector>

#include "drivers/odbc/odbc_driver.h"
#include "platform/qxdb/callback.h"
#include "platform/qxdb/connection.h"
#include "support/driver_support.h"
#include "support/servers.h"

namespace qxtest {

inline qxdb::Connection OpenMariaDB(const std::string& more = "", const std::string& options = "",
                                    qxdb::DBTYPE type = qxdb::DBTYPE_UNSET) {
    qxdrivers::RegisterODBC();
    return MariaDB(more, options, type).Connect();
}

inline qxdb::Connection OpenPostgres(const std::string& more = "", const std::string& options = "",
                                     qxdb::DBTYPE type = qxdb::DBTYPE_UNSET) {
    qxdrivers::RegisterODBC();
    return Postgres(more, options, type).Connect();
}

// Whether figures of the process's memory are the tested code's: a sanitizer has memory of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool memoryCounts = false;
#else
inline constexpr bool memoryCounts = true;
#endif

// A name that no test has that runs at the same time, in a process of its own.
inline std::string OwnName(const std::string& name) {
    return name + "_" + std::to_string(getpid());
}

// A table of the test's own: dropped at the beginning and at the end.
class TestTable {
  public:
    TestTable(qxdb::Connection owner, std::string tableName, const std::string& columns,
              const std::string& options = "")
        : connection(owner), name(std::move(tableName)) {
        RunAll(connection, "DROP TABLE IF EXISTS " + name);
        RunAll(connection, "CREATE TABLE " + name + "(" + columns + ")" + options);
    }
    ~TestTable() {
        try {
            RunAll(connection, "DROP TABLE IF EXISTS " + name);
        } catch (const Errors&) {
            // The test has already failed, or has lost its connection.
        }
    }
    TestTable(const TestTable&) = delete;
    TestTable& operator=(const TestTable&) = delete;

  private:
    qxdb::Connection connection;
    const std::string name;
};

// Keeps the messages of a connection.
class Messages final : public qxdb::Callback {
  public:
    void HandleRawMessage(const qxdb::RawMessage& message) override { all.push_back(message); }
    std::vector<qxdb::RawMessage> all;
};

}  // namespace qxtest
