#include "dbms/mysql_handler.h"

#include <optional>

#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/string_table.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

const char* const CommandDelimiter = ";";
const char* const ExplainPrefix = "EXPLAIN ";

}  // namespace

MySQLHandler::MySQLHandler(SQLRequest& owner) : DBMSHandler(owner, qxdb::DBTYPE_MYSQL) {}

std::string MySQLHandler::GetResultsFromBoolOption(bool value, int stringId) {
    return FormatSql(ResourceLoader::LoadString(stringId), {value ? "1" : "0"});
}

void MySQLHandler::SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                              const OptionMap& options) {
    DBMSHandler::SetOptions(connection, defaults, options);
    if (const std::optional<std::string> commands = FindTextOption(options, MySQLStartUpCommandsOption))
        RunStartUpCommands(connection, *commands);
    if (const std::optional<int> rows = FindIntOption(options, MySQLMaxRowCountOption))
        request.SetMaxRowCount(*rows);
}

// An empty command ends the cutting: what stands behind it goes to the server in one piece.
void MySQLHandler::RunStartUpCommands(qxdb::Connection& connection, const std::string& commands) {
    std::string rest = commands;
    while (!rest.empty()) {
        const std::string command = ParseDelimString(rest, CommandDelimiter);
        if (command.empty())
            break;
        DBMSHandler::ExecuteCommand(connection, command, ResultSetNormal);
    }
    if (!rest.empty())
        DBMSHandler::ExecuteCommand(connection, rest, ResultSetNormal);
}

std::string MySQLHandler::ParseDelimString(std::string& rest, std::string delimiter) {
    const std::size_t end = rest.find(delimiter);
    if (end == std::string::npos)
        return std::string();
    std::string part = rest.substr(0, end);
    rest.erase(0, end + delimiter.size());
    return part;
}

void MySQLHandler::PreExecuteBatch(qxdb::Connection& connection) {
    DBMSHandler::PreExecuteBatch(connection);
    if (request.GetDoExplainPlan())
        ReplaceSQL(ExplainPrefix + request.GetSQL());
}

}  // namespace qxdbsqlengine
