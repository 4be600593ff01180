#include "tools/qxsql/connection_text.h"

#include <stdexcept>

namespace qxsql {

ConnectionText ParseConnectionText(const std::string& text) {
    const std::string::size_type colon = text.find(':');
    if (colon == std::string::npos || colon == 0) {
        throw std::invalid_argument("\"" + text +
                                    "\" names no driver; a connection is DRIVER:DATASOURCE, such as sqlite:" +
                                    (colon == 0 ? text.substr(1) : text));
    }
    return {text.substr(0, colon), text.substr(colon + 1)};
}

}  // namespace qxsql
