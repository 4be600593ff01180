// A connection, as the handles see it.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "drivers/odbc/session.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::odbc {

class OdbcConnectionProperties final : public qxdb::ConnectionProperties {
  public:
    explicit OdbcConnectionProperties(std::shared_ptr<Session> owner) : session(std::move(owner)) {}

    void SetCurrentDatabase(const std::string& name) override { session->SetCurrentDatabase(name); }
    // Of date and time together, in later results; empty for the columns' own formats.
    void SetTimestampFormat(const std::string& format) override { session->timestampFormat = format; }

  private:
    const std::shared_ptr<Session> session;
};

class OdbcConnection final : public qxdb::ConnectionImpl {
  public:
    explicit OdbcConnection(std::shared_ptr<Session> owner)
        : session(std::move(owner)), properties(session) {}

    double GetServerVersionNumber() const override { return session->Traits().version; }
    qxdb::DBTYPE GetServerType() const override { return session->DetectedType(); }
    bool HasUnicodeSupport() const override { return session->HasUnicodeSupport(); }
    qxdb::ConnectionProperties& GetProperties() override { return properties; }
    void SetCallback(qxdb::Callback* receiver) override { session->callback = receiver; }
    std::shared_ptr<qxdb::StatementImpl> CreateStatement() override;
    // The code set of a DB2 database; null for other servers.
    std::shared_ptr<qxdb::ConfigurationParametersImpl> GetConfigurationParameters() override;

    const std::shared_ptr<Session>& GetSession() const { return session; }

  private:
    const std::shared_ptr<Session> session;
    OdbcConnectionProperties properties;
};

// The session of a connection of this driver. Throws Errors for a connection of another one.
std::shared_ptr<Session> SessionOf(qxdb::Connection& connection);

}  // namespace qxdrivers::odbc
