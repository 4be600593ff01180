// A connection to a server.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/qxdb/callback.h"
#include "platform/qxdb/statement.h"
#include "platform/qxdb/types.h"

namespace qxdb {

class ConnectionImpl;

class QXSENG2_API ConnectionProperties {
  public:
    virtual ~ConnectionProperties();
    // Makes a database of the server current. Throws Errors.
    virtual void SetCurrentDatabase(const std::string& name) = 0;
    // The format in which the connection renders and parses timestamps.
    virtual void SetTimestampFormat(const std::string& format) = 0;
};

class QXSENG2_API CfgParameter {
  public:
    virtual ~CfgParameter();
    virtual std::string GetName() = 0;
    virtual std::string GetValue() = 0;
};

// The configuration of a database, where the server has one to read; by default nothing loads.
class QXSENG2_API ConfigurationParametersImpl {
  public:
    virtual ~ConfigurationParametersImpl();
    virtual bool LoadDatabaseParameters(const std::string& databaseName) = 0;
    virtual int ParameterCount() = 0;
    // 0-based.
    virtual CfgParameter& GetParameter(int index) = 0;
};

class QXSENG2_API ConfigurationParameters {
  public:
    ConfigurationParameters();
    explicit ConfigurationParameters(std::shared_ptr<ConfigurationParametersImpl> impl);
    ~ConfigurationParameters();
    ConfigurationParameters(const ConfigurationParameters&);
    ConfigurationParameters& operator=(const ConfigurationParameters&);

    // False when there is nothing to load.
    bool LoadDatabaseParameters(bool, const std::string& databaseName);
    int ParameterCount();
    // 0-based; throws std::out_of_range.
    CfgParameter& GetParameter(int index);

  private:
    std::shared_ptr<ConfigurationParametersImpl> impl;
};

// Handle; a copy is another handle on the same connection, which closes with the last one. One thread at a
// time; Statement::Cancel is the exception. Failures are thrown as Errors.
class QXSENG2_API Connection {
  public:
    Connection();
    explicit Connection(std::shared_ptr<ConnectionImpl> impl);
    ~Connection();
    Connection(const Connection&);
    Connection& operator=(const Connection&);

    // In the server's own tradition: MySQL 3.23.52 is 3.2352, Oracle 8.1.7 is 8.17.
    double GetServerVersionNumber() const;
    // What the driver found at the other end, for a caller who was given no type; DBTYPE_UNSET: it can't
    // tell.
    DBTYPE GetServerType() const;
    bool HasUnicodeSupport() const;
    ConnectionProperties& GetProperties();
    // The receiver of server messages, not owned; null removes it. Never while a statement runs.
    void SetCallback(Callback* callback);
    Statement CreateStatement(CursorType type, unsigned int);
    ConfigurationParameters GetConfigurationParameters();

    ConnectionImpl& GetImpl();

  private:
    std::shared_ptr<ConnectionImpl> impl;
};

}  // namespace qxdb
