// The definition of a connection, as the tool keeps it.
#pragma once

#include <string>
#include <utility>

#include "platform/export.h"
#include "platform/qxdb/types.h"

namespace qxdbsrd {

// Copyable value; directors and engines keep copies of their own. The system reads the server type, the data
// source name, the server version and the user; the rest is carried for the caller.
class QXSENG2_API ConnectionDefElement {
  public:
    ConnectionDefElement() = default;
    ConnectionDefElement(qxdb::DBTYPE type, std::string dataSource, double version, std::string user,
                         std::string secret)
        : dbType(type),
          dataSourceName(std::move(dataSource)),
          serverVersion(version),
          userName(std::move(user)),
          password(std::move(secret)) {}

    qxdb::DBTYPE GetDBType() const { return dbType; }
    void SetDBType(qxdb::DBTYPE type) { dbType = type; }
    const std::string& GetDataSourceName() const { return dataSourceName; }
    void SetDataSourceName(const std::string& name) { dataSourceName = name; }
    // In the server's own tradition, see qxdb::Connection::GetServerVersionNumber.
    double GetServerVersion() const { return serverVersion; }
    void SetServerVersion(double version) { serverVersion = version; }
    const std::string& GetUserName() const { return userName; }
    void SetUserName(const std::string& name) { userName = name; }
    const std::string& GetPassword() const { return password; }
    void SetPassword(const std::string& text) { password = text; }

  private:
    qxdb::DBTYPE dbType = qxdb::DBTYPE_UNSET;
    std::string dataSourceName;
    double serverVersion = 0.0;
    std::string userName;
    std::string password;
};

}  // namespace qxdbsrd
