// The real servers that the test fixture starts (scripts/servers.sh).
#pragma once

#include <map>
#include <string>

#include "platform/qxdb/manager.h"

namespace qxtest {

// How to reach a set of servers: the values of a file that the script wrote, which this class also puts into
// the environment of the process, for the driver manager reads its configuration from there.
class Servers {
  public:
    // Throws std::runtime_error when there is no such file.
    explicit Servers(const std::string& fileName);

    const std::string& Get(const std::string& name) const;

  private:
    std::map<std::string, std::string> values;
};

// The servers of the running test session. A failed test, by an exception, when they were not started.
const Servers& TestServers();

// A connection definition of the driver "odbc" for the MariaDB or the PostgreSQL of the session.
qxdb::ConnectionDef MariaDB(const std::string& more = "", const std::string& options = "",
                            qxdb::DBTYPE type = qxdb::DBTYPE_UNSET);
qxdb::ConnectionDef Postgres(const std::string& more = "", const std::string& options = "",
                             qxdb::DBTYPE type = qxdb::DBTYPE_UNSET);

}  // namespace qxtest
