#include "support/servers.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
// PostgreSQL's driver loses some bytes with some failures. The library of the sanitizer has to see this.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:psqlodbcw.so\n";
}
#endif

namespace qxtest {

Servers::Servers(const std::string& fileName) {
    std::ifstream file(fileName);
    if (!file) {
        throw std::runtime_error("The servers are not running: no file " + fileName +
                                 "; start them with scripts/servers.sh, or run the tests by ctest");
    }
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t equals = line.find("='");
        if (equals != std::string::npos && line.back() == '\'') {
            const std::string name = line.substr(0, equals);
            values[name] = line.substr(equals + 2, line.size() - equals - 3);
            setenv(name.c_str(), values[name].c_str(), 1);
        }
    }
}

const std::string& Servers::Get(const std::string& name) const {
    return values.at(name);
}

const Servers& TestServers() {
    static const Servers servers(QX_SERVERS_FILE);
    return servers;
}

namespace {

qxdb::ConnectionDef Define(const char* name, const std::string& more, const std::string& options,
                           qxdb::DBTYPE type) {
    const std::string text = TestServers().Get(name) + (more.empty() ? "" : ";") + more;
    return qxdb::ConnectionDef(type, text, "", "", "odbc", options);
}

}  // namespace

qxdb::ConnectionDef MariaDB(const std::string& more, const std::string& options, qxdb::DBTYPE type) {
    return Define("QX_MARIADB", more, options, type);
}

qxdb::ConnectionDef Postgres(const std::string& more, const std::string& options, qxdb::DBTYPE type) {
    return Define("QX_POSTGRES", more, options, type);
}

}  // namespace qxtest
