#include "tools/qxsql/driver_list.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "platform/qxdb/manager.h"

namespace qxsql {

namespace {

using Line = std::pair<std::string, std::string>;  // a CONNECTION, and what it is

// The environment of the driver manager.
class Environment {
  public:
    Environment() {
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &handle)))
            handle = SQL_NULL_HENV;
        else
            SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    }
    ~Environment() {
        if (handle != SQL_NULL_HENV)
            SQLFreeHandle(SQL_HANDLE_ENV, handle);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    // Names and what is told of them, by SQLDrivers or SQLDataSources.
    template <class Function>
    std::vector<std::pair<std::string, std::string>> List(Function next) const {
        std::vector<std::pair<std::string, std::string>> found;
        SQLCHAR name[512] = {};
        SQLCHAR more[4096] = {};
        SQLSMALLINT nameLength = 0;
        SQLSMALLINT moreLength = 0;
        SQLUSMALLINT direction = SQL_FETCH_FIRST;
        while (handle != SQL_NULL_HENV &&
               SQL_SUCCEEDED(next(handle, direction, name, static_cast<SQLSMALLINT>(sizeof name), &nameLength,
                                  more, static_cast<SQLSMALLINT>(sizeof more), &moreLength))) {
            found.emplace_back(reinterpret_cast<char*>(name), reinterpret_cast<char*>(more));
            direction = SQL_FETCH_NEXT;
        }
        std::sort(found.begin(), found.end());
        return found;
    }

  private:
    SQLHENV handle = SQL_NULL_HENV;
};

// A value of a connection text, in braces where it needs them.
std::string Braced(const std::string& value) {
    return value.find_first_of("[]{}(),;?*=!@ ") == std::string::npos ? value : "{" + value + "}";
}

void AddOdbc(std::vector<Line>& lines) {
    const Environment environment;
    const std::size_t before = lines.size();
    for (const auto& [name, attributes] : environment.List(SQLDrivers))
        lines.emplace_back("odbc:Driver=" + Braced(name) + ";...", "ODBC driver");
    if (lines.size() == before)
        lines.emplace_back("odbc:...", "no ODBC driver is installed");
    for (const auto& [name, driver] : environment.List(SQLDataSources))
        lines.emplace_back("odbc:" + name, "ODBC data source (" + driver + ")");
}

std::vector<Line> ListConnections() {
    std::vector<std::string> drivers = qxdb::Manager::Instance().GetDriverNames();
    std::sort(drivers.begin(), drivers.end());
    std::vector<Line> lines;
    for (const std::string& driver : drivers) {
        if (driver == "odbc")
            AddOdbc(lines);
        else if (driver == "sqlite")
            lines.emplace_back("sqlite:FILE", "SQLite, built in");
        else
            lines.emplace_back(driver + ":...", "");
    }
    return lines;
}

}  // namespace

void PrintDrivers(std::ostream& out) {
    const std::vector<Line> lines = ListConnections();
    std::size_t width = 0;
    for (const Line& line : lines)
        width = std::max(width, line.first.size());
    for (const auto& [connection, what] : lines) {
        out << connection;
        if (!what.empty())
            out << std::string(width - connection.size() + 2, ' ') << what;
        out << '\n';
    }
    out.flush();
}

}  // namespace qxsql
