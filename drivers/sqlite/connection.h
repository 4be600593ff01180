// A connection: one open database.
#pragma once

#include <memory>
#include <string>

#include "drivers/sqlite/database.h"
#include "platform/qxdb/connection.h"
#include "platform/qxdb/driver.h"

namespace qxdrivers::sqlite {

class SQLiteConnectionProperties : public qxdb::ConnectionProperties {
  public:
    explicit SQLiteConnectionProperties(std::shared_ptr<Database> owner) : database(std::move(owner)) {}

    // Accepts the names of attached databases; nothing has to be done then, since SQLite looks in all of
    // them.
    void SetCurrentDatabase(const std::string& name) override { database->SetCurrentDatabase(name); }
    // Of DATETIME and TIMESTAMP columns of later results; empty for the columns' own formats.
    void SetTimestampFormat(const std::string& format) override { database->timestampFormat = format; }

  private:
    const std::shared_ptr<Database> database;
};

class SQLiteConnection : public qxdb::ConnectionImpl {
  public:
    explicit SQLiteConnection(std::shared_ptr<Database> owner);

    double GetServerVersionNumber() const override;
    qxdb::DBTYPE GetServerType() const override { return qxdb::DBTYPE_SQLITE; }
    bool HasUnicodeSupport() const override { return true; }
    qxdb::ConnectionProperties& GetProperties() override { return properties; }
    // SQLite sends no messages beside its failures.
    void SetCallback(qxdb::Callback*) override {}
    std::shared_ptr<qxdb::StatementImpl> CreateStatement() override;
    const std::shared_ptr<Database>& GetDatabase() const { return database; }

  private:
    const std::shared_ptr<Database> database;
    SQLiteConnectionProperties properties;
};

// The database of a connection of this driver. Throws Errors for any other.
std::shared_ptr<Database> DatabaseOf(qxdb::Connection& connection);

}  // namespace qxdrivers::sqlite
