// Session options: from option ids to the statements that set them.
#include <optional>
#include <string>

#include "dbms/dbms_handler.h"
#include "dbms/option_table.h"
#include "dbms/option_values.h"
#include "dbms/string_table.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

void DBMSHandler::SetOptionsIDSMap(const qxdb::Connection& connection) {
    const double version = connection.GetServerVersionNumber();
    optionRows.clear();
    // Rows of other servers are taken along: their options are never looked up.
    const OptionRow* const rows = GetOptionRows();
    for (std::size_t i = 0; i < GetOptionRowCount(); ++i) {
        if (rows[i].Holds(version))
            optionRows[rows[i].option] = static_cast<unsigned int>(rows[i].row);
    }
}

std::string DBMSHandler::GetQueryString(int optionId, const OptionMap& options) {
    const auto row = optionRows.find(static_cast<unsigned int>(optionId));
    const auto option = options.find(static_cast<unsigned int>(optionId));
    if (row == optionRows.end() || option == options.end())
        return std::string();
    const int stringId = static_cast<int>(row->second);
    const _variant_t& value = option->second;
    switch (value.vt) {
        case VT_I4:
        case VT_INT:
            return GetResultsFromIntOption(static_cast<int>(value), stringId);
        case VT_BSTR:
            return GetResultsFromStrOption(stringId, NarrowText(value), std::string());
        case VT_BOOL:
            return GetResultsFromBoolOption(static_cast<bool>(value), stringId);
        default:
            return std::string();
    }
}

std::string DBMSHandler::GetResultsFromBoolOption(bool value, int stringId) {
    return FormatSql(ResourceLoader::LoadString(stringId), {value ? SQL_OPTION_ON : SQL_OPTION_OFF});
}

std::string DBMSHandler::GetResultsFromIntOption(int value, int stringId) {
    return FormatSql(ResourceLoader::LoadString(stringId), {value});
}

std::string DBMSHandler::GetResultsFromStrOption(int stringId, const std::string& first,
                                                 const std::string& second) {
    const std::string format = ResourceLoader::LoadString(stringId);
    return second.empty() ? FormatSql(format, {first}) : FormatSql(format, {first, second});
}

void DBMSHandler::ExecuteOptions(qxdb::Connection& connection, const OptionMap& options) {
    for (const auto& option : options) {
        const std::string text = GetQueryString(static_cast<int>(option.first), options);
        if (!text.empty())
            ExecuteCommand(connection, text, ResultSetNormal);
    }
}

void DBMSHandler::SetOptions(qxdb::Connection& connection, const OptionMap& defaults,
                             const OptionMap& options) {
    if (request.GetDoExplainPlan())
        return;
    if (options.empty()) {
        ResetOptions(connection, defaults);
        return;
    }
    ExecuteOptions(connection, options);
    if (const std::optional<int> maxErrors = FindIntOption(options, MaxErrorCountOption))
        request.SetMaxErrorCount(*maxErrors);
    // The option asks for the server's own parser, the request's setting for the generic one.
    if (const std::optional<bool> specificParser = FindBoolOption(options, SpecificParserOption))
        request.SetUseGenericParser(!*specificParser);
}

void DBMSHandler::ResetOptions(qxdb::Connection& connection, const OptionMap& defaults) {
    ExecuteOptions(connection, defaults);
    request.SetMaxRowCount(0);
    request.SetMaxErrorCount(0);
}

}  // namespace qxdbsqlengine
