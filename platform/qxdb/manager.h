// The register of drivers, and the maker of connections.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/types.h"

namespace qxdb {

class Driver;

// What is needed to open a connection. Copyable value; nothing is opened before Connect.
class QXSENG2_API ConnectionDef {
  public:
    ConnectionDef(DBTYPE type, std::string dataSource, std::string user, std::string password,
                  std::string driverName, std::string options);
    ~ConnectionDef();

    // Opens a connection. Throws Errors: no such driver, or the driver's own failure.
    Connection Connect() const;

    DBTYPE GetType() const { return type; }
    const std::string& GetDataSource() const { return dataSource; }
    const std::string& GetUser() const { return user; }
    const std::string& GetPassword() const { return password; }
    // Empty: the driver that serves the type.
    const std::string& GetDriverName() const { return driverName; }
    const std::string& GetOptions() const { return options; }

  private:
    DBTYPE type;
    std::string dataSource;
    std::string user;
    std::string password;
    std::string driverName;
    std::string options;
};

// Singleton. Drivers register at start-up; any thread may ask.
class QXSENG2_API Manager {
  public:
    static Manager& Instance();

    // `driverName`: which driver, empty for the one that serves `type`. `options`: the driver's own.
    ConnectionDef Bind(DBTYPE type, const std::string& dataSourceName, const std::string& userName,
                       const std::string& password, const std::string& driverName,
                       const std::string& options);

    // A driver of the same name is replaced. Any thread.
    void RegisterDriver(std::shared_ptr<Driver> driver);
    // By name when `name` is not empty, else by server type. Null when there is none.
    std::shared_ptr<Driver> FindDriver(const std::string& name, DBTYPE type) const;
    std::vector<std::string> GetDriverNames() const;

  private:
    Manager();
    ~Manager();

    mutable std::mutex lock;
    std::vector<std::shared_ptr<Driver>> drivers;
};

}  // namespace qxdb
