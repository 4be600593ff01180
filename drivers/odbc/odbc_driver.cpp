#include "drivers/odbc/odbc_driver.h"

#include <memory>
#include <string>

#include "drivers/odbc/connection.h"
#include "platform/qxdb/driver.h"
#include "platform/qxdb/manager.h"

namespace qxdrivers {

namespace {

class OdbcDriver final : public qxdb::Driver {
  public:
    std::string GetName() const override { return "odbc"; }
    bool Serves(qxdb::DBTYPE type) const override {
        switch (type) {
            case qxdb::DBTYPE_SYBASE:
            case qxdb::DBTYPE_SQLSERVER:
            case qxdb::DBTYPE_DB2:
            case qxdb::DBTYPE_ORACLE:
            case qxdb::DBTYPE_DB2OS390:
            case qxdb::DBTYPE_DB2CONFIG:
            case qxdb::DBTYPE_MYSQL:
            case qxdb::DBTYPE_OTHER:
                return true;
            default:
                return false;
        }
    }
    std::shared_ptr<qxdb::ConnectionImpl> Connect(const qxdb::ConnectionDef& definition) override {
        return std::make_shared<odbc::OdbcConnection>(odbc::Session::Open(definition));
    }
};

}  // namespace

void RegisterODBC() {
    qxdb::Manager::Instance().RegisterDriver(std::make_shared<OdbcDriver>());
}

}  // namespace qxdrivers
