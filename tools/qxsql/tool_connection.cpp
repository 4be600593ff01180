#include "tools/qxsql/tool_connection.h"

#include <algorithm>

#include "tools/qxsql/connection_text.h"

namespace qxsql {

namespace {

// For transfers and previews, columns of texts and bytes without a limit are large objects, too.
std::string OptionsOf(const CommandLine& line) {
    std::string options = line.create ? "create" : "";
    if (line.UsesLobLocators())
        options += options.empty() ? "unlimited=lob" : " unlimited=lob";
    return options;
}

qxdb::ConnectionDef DefinitionOf(const CommandLine& line, const std::string& password) {
    const ConnectionText text = ParseConnectionText(line.connection);
    return qxdb::ConnectionDef(line.family == nullptr ? qxdb::DBTYPE_UNSET : line.family->server,
                               text.dataSource, line.user, password, text.driver, OptionsOf(line));
}

}  // namespace

ToolConnection::ToolConnection(const CommandLine& line, const std::string& userPassword)
    : SingleConnection(DefinitionOf(line, userPassword)),
      text(line.connection),
      user(line.user),
      password(userPassword),
      family(line.family) {}

qxdbsqlengine::ServerIdentifier ToolConnection::GetServerIdentifier(char const*, bool) {
    return qxdbsqlengine::ServerIdentifier(text);
}

qxdb::DBTYPE ToolConnection::ServerType() {
    if (family != nullptr)
        return family->server;
    const qxdb::DBTYPE found = GetConnection().GetServerType();
    return found == qxdb::DBTYPE_UNSET ? qxdb::DBTYPE_OTHER : found;
}

double ToolConnection::ServerVersion() {
    return std::max(0.0, GetConnection().GetServerVersionNumber());
}

qxdbsrd::ConnectionDefElement ToolConnection::Definition() {
    return qxdbsrd::ConnectionDefElement(ServerType(), ParseConnectionText(text).dataSource, ServerVersion(),
                                         user, password);
}

}  // namespace qxsql
