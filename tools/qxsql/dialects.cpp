#include "tools/qxsql/dialects.h"

namespace qxsql {

namespace {

const Dialect dialects[] = {
    {"oracle", qxdb::DBTYPE_ORACLE},       {"db2", qxdb::DBTYPE_DB2},       {"db2zos", qxdb::DBTYPE_DB2OS390},
    {"sqlserver", qxdb::DBTYPE_SQLSERVER}, {"sybase", qxdb::DBTYPE_SYBASE}, {"mysql", qxdb::DBTYPE_MYSQL},
    {"other", qxdb::DBTYPE_OTHER},
};

}  // namespace

const Dialect* FindDialect(const std::string& name) {
    for (const Dialect& dialect : dialects) {
        if (name == dialect.name)
            return &dialect;
    }
    return nullptr;
}

std::string DialectNames() {
    std::string names;
    for (const Dialect& dialect : dialects)
        names += (names.empty() ? "" : ", ") + std::string(dialect.name);
    return names;
}

}  // namespace qxsql
