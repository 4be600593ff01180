// The text that names a connection: a driver's name, a colon, the driver's data source.
#pragma once

#include <string>

namespace qxsql {

struct ConnectionText {
    std::string driver;
    std::string dataSource;
};

// "sqlite:shop.db" gives "sqlite" and "shop.db". Throws std::invalid_argument when no driver is named.
ConnectionText ParseConnectionText(const std::string& text);

}  // namespace qxsql
