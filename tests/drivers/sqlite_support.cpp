#include "drivers/sqlite_support.h"

#include <cstdlib>
#include <stdexcept>

#include "drivers/sqlite/sqlite_driver.h"
#include "platform/qxdb/manager.h"

namespace qxtest {

qxdb::Connection Open(const std::string& name, const std::string& options) {
    qxdrivers::RegisterSQLite();
    return qxdb::Manager::Instance().Bind(qxdb::DBTYPE_SQLITE, name, "", "", "sqlite", options).Connect();
}

TempFolder::TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qx_sqlite_XXXXXX").string();
    if (!mkdtemp(name.data())) {
        throw std::runtime_error("no temporary folder " + name);
    }
    path = name;
    std::filesystem::permissions(path, std::filesystem::perms::all);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace qxtest
