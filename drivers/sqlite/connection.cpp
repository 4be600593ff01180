#include "drivers/sqlite/connection.h"

#include <sqlite3.h>

#include <charconv>
#include <string_view>

#include "drivers/sqlite/failure.h"
#include "drivers/sqlite/statement.h"

namespace qxdrivers::sqlite {

SQLiteConnection::SQLiteConnection(std::shared_ptr<Database> owner)
    : database(std::move(owner)), properties(database) {}

// The digits behind the first point without further points: 3.40.1 is 3.401.
double SQLiteConnection::GetServerVersionNumber() const {
    std::string digits;
    for (const char c : std::string_view(sqlite3_libversion())) {
        if (c != '.' || digits.find('.') == std::string::npos) {
            digits += c;
        }
    }
    double version = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), version);
    return version;
}

std::shared_ptr<qxdb::StatementImpl> SQLiteConnection::CreateStatement() {
    return std::make_shared<SQLiteStatement>(database);
}

std::shared_ptr<Database> DatabaseOf(qxdb::Connection& connection) {
    auto* const mine = dynamic_cast<SQLiteConnection*>(&connection.GetImpl());
    if (!mine) {
        ThrowRefusal("The connection is none of the SQLite driver", "HY000");
    }
    return mine->GetDatabase();
}

}  // namespace qxdrivers::sqlite
