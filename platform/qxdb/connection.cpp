#include "platform/qxdb/connection.h"

#include <stdexcept>
#include <utility>

#include "platform/qxdb/driver.h"
#include "platform/qxdb/null_handle.h"

namespace qxdb {

ConnectionProperties::~ConnectionProperties() = default;
CfgParameter::~CfgParameter() = default;
ConfigurationParametersImpl::~ConfigurationParametersImpl() = default;

ConfigurationParameters::ConfigurationParameters() = default;
ConfigurationParameters::ConfigurationParameters(std::shared_ptr<ConfigurationParametersImpl> target)
    : impl(std::move(target)) {}
ConfigurationParameters::~ConfigurationParameters() = default;
ConfigurationParameters::ConfigurationParameters(const ConfigurationParameters&) = default;
ConfigurationParameters& ConfigurationParameters::operator=(const ConfigurationParameters&) = default;

bool ConfigurationParameters::LoadDatabaseParameters(bool, const std::string& databaseName) {
    return impl && impl->LoadDatabaseParameters(databaseName);
}

int ConfigurationParameters::ParameterCount() {
    return impl ? impl->ParameterCount() : 0;
}

CfgParameter& ConfigurationParameters::GetParameter(int index) {
    if (index < 0 || index >= ParameterCount()) {
        throw std::out_of_range("ConfigurationParameters::GetParameter: no parameter " +
                                std::to_string(index));
    }
    return impl->GetParameter(index);
}

Connection::Connection() = default;
Connection::Connection(std::shared_ptr<ConnectionImpl> target) : impl(std::move(target)) {}
Connection::~Connection() = default;
Connection::Connection(const Connection&) = default;
Connection& Connection::operator=(const Connection&) = default;

double Connection::GetServerVersionNumber() const {
    return Target(impl, "connection").GetServerVersionNumber();
}

DBTYPE Connection::GetServerType() const {
    return Target(impl, "connection").GetServerType();
}

bool Connection::HasUnicodeSupport() const {
    return Target(impl, "connection").HasUnicodeSupport();
}

ConnectionProperties& Connection::GetProperties() {
    return Target(impl, "connection").GetProperties();
}

void Connection::SetCallback(Callback* callback) {
    Target(impl, "connection").SetCallback(callback);
}

Statement Connection::CreateStatement(CursorType, unsigned int) {
    return Statement(Target(impl, "connection").CreateStatement());
}

ConfigurationParameters Connection::GetConfigurationParameters() {
    return ConfigurationParameters(Target(impl, "connection").GetConfigurationParameters());
}

ConnectionImpl& Connection::GetImpl() {
    return Target(impl, "connection");
}

}  // namespace qxdb
