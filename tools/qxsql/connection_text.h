// The text that names a connection: a driver's name, a colon, the driver's data source.
#pragma once

#include <string>

#include "platform/qxdb/manager.h"
#include "platform/qxdbsrd/connection_def_element.h"

namespace qxsql {

struct ConnectionText {
    std::string driver;
    std::string dataSource;
};

// "sqlite:shop.db" gives "sqlite" and "shop.db". Throws std::invalid_argument when no driver is named.
ConnectionText ParseConnectionText(const std::string& text);

// The server type under which a driver's connections run.
qxdb::DBTYPE ServerTypeOf(const std::string& driver);

}  // namespace qxsql
