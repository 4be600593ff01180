// What tests of the qxsql binary on real servers share.
#pragma once

#include <string>

#include "support/servers.h"
#include "tools/qxsql_fixture.h"

namespace qxtest {

inline Words OnMariaDB(Words more) {
    more.insert(more.begin(), "odbc:" + TestServers().Get("QX_MARIADB"));
    return more;
}

inline Words OnPostgres(Words more) {
    more.insert(more.begin(), "odbc:" + TestServers().Get("QX_POSTGRES"));
    return more;
}

// Both servers by their names, for tests that are the same on them.
struct NamedServer {
    const char* name;
    Words (*words)(Words more);
};
constexpr NamedServer allServers[] = {{"MariaDB", OnMariaDB}, {"PostgreSQL", OnPostgres}};

// As QxsqlTool; its Run expects no failure.
class QxsqlServers : public QxsqlTool {
  protected:
    static std::string Run(const Words& words) {
        const ToolResult result = Qxsql(words);
        EXPECT_EQ(0, result.exitCode) << result.err;
        return result.out;
    }
};

}  // namespace qxtest
