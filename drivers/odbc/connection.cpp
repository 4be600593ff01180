#include "drivers/odbc/connection.h"

#include <stdexcept>

#include "drivers/odbc/catalog_text.h"
#include "drivers/odbc/statement.h"

namespace qxdrivers::odbc {

namespace {

class Parameter final : public qxdb::CfgParameter {
  public:
    Parameter(std::string parameterName, std::string parameterValue)
        : name(std::move(parameterName)), value(std::move(parameterValue)) {}
    std::string GetName() override { return name; }
    std::string GetValue() override { return value; }

  private:
    const std::string name;
    const std::string value;
};

// What the configuration of a DB2 database says, by the names under which its own tools show it.
class Db2Configuration final : public qxdb::ConfigurationParametersImpl {
  public:
    explicit Db2Configuration(std::shared_ptr<Session> owner) : session(std::move(owner)) {}

    bool LoadDatabaseParameters(const std::string&) override {
        parameters.clear();
        const StatementHandle statement(session->Raw());
        if (!SQL_SUCCEEDED(
                ExecuteText(statement.Raw(), "SELECT VALUE FROM SYSIBMADM.DBCFG WHERE NAME = 'codeset'")) ||
            !SQL_SUCCEEDED(SQLFetch(statement.Raw()))) {
            return false;
        }
        parameters.emplace_back("Database code set", ReadCatalogText(statement.Raw(), 1).value_or(""));
        return true;
    }
    int ParameterCount() override { return static_cast<int>(parameters.size()); }
    qxdb::CfgParameter& GetParameter(int index) override {
        return parameters.at(static_cast<std::size_t>(index));
    }

  private:
    const std::shared_ptr<Session> session;
    std::vector<Parameter> parameters;
};

}  // namespace

std::shared_ptr<qxdb::StatementImpl> OdbcConnection::CreateStatement() {
    return std::make_shared<OdbcStatement>(session);
}

std::shared_ptr<qxdb::ConfigurationParametersImpl> OdbcConnection::GetConfigurationParameters() {
    return session->IsForConfiguration() ? std::make_shared<Db2Configuration>(session) : nullptr;
}

std::shared_ptr<Session> SessionOf(qxdb::Connection& connection) {
    auto* const mine = dynamic_cast<OdbcConnection*>(&connection.GetImpl());
    if (!mine) {
        ThrowRefusal("The connection is none of the ODBC driver", "HY000");
    }
    return mine->GetSession();
}

}  // namespace qxdrivers::odbc
