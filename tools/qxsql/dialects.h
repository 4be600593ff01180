// The dialects of scripts, by the names that users give them.
#pragma once

#include <string>

#include "platform/qxdb/types.h"

namespace qxsql {

struct Dialect {
    const char* name;
    qxdb::DBTYPE server;  // whose script it is
};

// Null for a name that is none.
const Dialect* FindDialect(const std::string& name);

// "oracle, db2, ..." for messages and help.
std::string DialectNames();

}  // namespace qxsql
