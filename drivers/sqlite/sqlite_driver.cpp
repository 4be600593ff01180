#include "drivers/sqlite/sqlite_driver.h"

#include <memory>
#include <string>

#include "drivers/sqlite/connection.h"
#include "platform/qxdb/driver.h"
#include "platform/qxdb/manager.h"

namespace qxdrivers {

namespace {

class SQLiteDriver : public qxdb::Driver {
  public:
    std::string GetName() const override { return "sqlite"; }
    bool Serves(qxdb::DBTYPE type) const override { return type == qxdb::DBTYPE_SQLITE; }
    std::shared_ptr<qxdb::ConnectionImpl> Connect(const qxdb::ConnectionDef& definition) override {
        return std::make_shared<sqlite::SQLiteConnection>(sqlite::Database::Open(definition));
    }
};

}  // namespace

void RegisterSQLite() {
    qxdb::Manager::Instance().RegisterDriver(std::make_shared<SQLiteDriver>());
}

}  // namespace qxdrivers
