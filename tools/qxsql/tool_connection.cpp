#include "tools/qxsql/tool_connection.h"

#include <algorithm>

#include "tools/qxsql/connection_text.h"

namespace qxsql {

namespace {

qxdb::ConnectionDef DefinitionOf(const CommandLine& line) {
    const ConnectionText text = ParseConnectionText(line.connection);
    return qxdb::ConnectionDef(ServerTypeOf(text.driver), text.dataSource, "", "", text.driver,
                               line.create ? "create" : "");
}

}  // namespace

ToolConnection::ToolConnection(const CommandLine& line)
    : SingleConnection(DefinitionOf(line)), text(line.connection) {}

qxdbsqlengine::ServerIdentifier ToolConnection::GetServerIdentifier(char const*, bool) {
    return qxdbsqlengine::ServerIdentifier(text);
}

qxdbsrd::ConnectionDefElement ToolConnection::Definition() {
    const ConnectionText parts = ParseConnectionText(text);
    // No script starts for a version below 0, which stands for one that nobody has asked for.
    const double version = std::max(0.0, GetConnection().GetServerVersionNumber());
    return qxdbsrd::ConnectionDefElement(ServerTypeOf(parts.driver), parts.dataSource, version, "", "");
}

}  // namespace qxsql
