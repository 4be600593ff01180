// The connection of the command line.
#pragma once

#include "engine/connection_request.h"
#include "engine/single_connection.h"
#include "platform/qxdbsrd/connection_def_element.h"
#include "platform/smart_ptr.h"
#include "tools/qxsql/command_line.h"

namespace qxsql {

// One open connection. Data copies of scripts know the server by the CONNECTION of the command line.
class ToolConnection final : public qxdbsqlengine::SingleConnection {
  public:
    // Connects. Throws the driver's Errors, and std::invalid_argument for a CONNECTION that is none.
    explicit ToolConnection(const CommandLine& line);

    qxdbsqlengine::ServerIdentifier GetServerIdentifier(char const* dataSourceName, bool) override;
    // What runs over the connection are to be told of it.
    qxdbsrd::ConnectionDefElement Definition();

  private:
    const std::string text;
};

}  // namespace qxsql
