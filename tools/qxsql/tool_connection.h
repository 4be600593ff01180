// The connection of the command line.
#pragma once

#include "engine/connection_request.h"
#include "engine/single_connection.h"
#include "platform/qxdb/types.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "platform/smart_ptr.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// One open connection. Data copies of scripts know the server by the CONNECTION of the command line.
class ToolConnection final : public qxdbsqlengine::SingleConnection {
  public:
    // Connects. Throws the driver's Errors, and std::invalid_argument for a CONNECTION that is none.
    ToolConnection(const CommandLine& line, const std::string& userPassword);

    qxdbsqlengine::ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override;
    // The family of --dbtype, or else what the driver has found.
    qxdb::DBTYPE ServerType();
    // Not below 0, which stands for a version that nobody has asked for.
    double ServerVersion();
    // What runs over the connection are to be told of it.
    qxdbsrd::ConnectionDefElement Definition();

  private:
    const std::string text;
    const std::string user;
    const std::string password;
    const Dialect* const family;
};

}  // namespace qxsql
