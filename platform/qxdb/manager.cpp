#include "platform/qxdb/manager.h"

#include <utility>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

namespace {

[[noreturn]] void ThrowNoDriver(const ConnectionDef& definition) {
    std::string text = definition.GetDriverName().empty()
                           ? "No driver for server type " + std::to_string(definition.GetType())
                           : "Unknown driver \"" + definition.GetDriverName() + "\"";
    std::string known;
    for (const std::string& name : Manager::Instance().GetDriverNames()) {
        known += (known.empty() ? "" : ", ") + name;
    }
    ThrowText(text + "; registered drivers: " + (known.empty() ? "none" : known));
}

}  // namespace

ConnectionDef::ConnectionDef(DBTYPE serverType, std::string source, std::string userName, std::string secret,
                             std::string driver, std::string driverOptions)
    : type(serverType),
      dataSource(std::move(source)),
      user(std::move(userName)),
      password(std::move(secret)),
      driverName(std::move(driver)),
      options(std::move(driverOptions)) {}

ConnectionDef::~ConnectionDef() = default;

Connection ConnectionDef::Connect() const {
    const std::shared_ptr<Driver> driver = Manager::Instance().FindDriver(driverName, type);
    if (!driver) {
        ThrowNoDriver(*this);
    }
    return Connection(driver->Connect(*this));
}

Manager::Manager() = default;
Manager::~Manager() = default;

Manager& Manager::Instance() {
    static Manager instance;
    return instance;
}

ConnectionDef Manager::Bind(DBTYPE type, const std::string& dataSourceName, const std::string& userName,
                            const std::string& password, const std::string& driverName,
                            const std::string& options) {
    return ConnectionDef(type, dataSourceName, userName, password, driverName, options);
}

void Manager::RegisterDriver(std::shared_ptr<Driver> driver) {
    if (!driver) {
        ThrowText("A driver to register is missing");
    }
    const std::string name = driver->GetName();
    const std::lock_guard<std::mutex> guard(lock);
    for (std::shared_ptr<Driver>& known : drivers) {
        if (known->GetName() == name) {
            known.swap(driver);  // the old one goes after the lock
            return;
        }
    }
    drivers.push_back(std::move(driver));
}

std::shared_ptr<Driver> Manager::FindDriver(const std::string& name, DBTYPE type) const {
    const std::lock_guard<std::mutex> guard(lock);
    for (const std::shared_ptr<Driver>& driver : drivers) {
        if (name.empty() ? driver->Serves(type) : driver->GetName() == name) {
            return driver;
        }
    }
    return nullptr;
}

std::vector<std::string> Manager::GetDriverNames() const {
    const std::lock_guard<std::mutex> guard(lock);
    std::vector<std::string> names;
    names.reserve(drivers.size());
    for (const std::shared_ptr<Driver>& driver : drivers) {
        names.push_back(driver->GetName());
    }
    return names;
}

}  // namespace qxdb
