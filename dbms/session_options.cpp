// Session options: from option ids to the statements that set them.
#include <string>

#include "dbms/dbms_handler.h"
#include "dbms/string_table.h"
#include "platform/os/com_error.h"
#include "platform/qxutils/qx_exception.h"
#include "request/sql_request.h"

namespace qxdbsqlengine {

namespace {

enum class Versions { All, From, Below };

struct OptionRow {
    unsigned int option;
    int row;  // of the string table
    Versions versions = Versions::All;
    double version = 0.0;  // of the server
};

// All servers' options stand in one table: ids are disjoint, so a row of another server is never looked up.
// Where several rows of one option hold, the last counts.
constexpr OptionRow OptionRows[] = {
    // Oracle: statistics of the session
    {50287, 2783},
    {50289, 2785},
    {50450, 143},
    {50288, 136, Versions::From, 10.0},
    {50288, 137, Versions::Below, 10.0},
    {50448, 139, Versions::From, 10.0},
    {50448, 140, Versions::Below, 10.0},
    {50449, 141, Versions::From, 10.0},
    {50449, 142, Versions::Below, 10.0},
    {50451, 144, Versions::From, 10.0},
    {50452, 145, Versions::From, 10.0},

    // MySQL
    {50403, 2820},
    {50404, 2821},
    {50405, 2822},
    {50423, 2840},
    {50406, 2823, Versions::From, 3.2211},
    {50407, 2824, Versions::From, 3.2223},
    {50408, 2825, Versions::From, 3.225},
    {50409, 2826, Versions::From, 3.225},
    {50410, 2827, Versions::From, 3.2313},
    {50411, 2828, Versions::From, 3.2316},
    {50412, 2829, Versions::From, 3.2326},
    {50413, 2830, Versions::From, 3.235},
    {50414, 2831, Versions::From, 3.235},
    {50415, 2832, Versions::From, 3.2352},
    {50416, 2833, Versions::From, 3.2352},
    {50402, 2819, Versions::From, 3.237},
    {50418, 2835, Versions::From, 4.0},
    {50419, 2836, Versions::From, 4.01},
    {50420, 2837, Versions::From, 4.03},
    {50421, 2838, Versions::From, 4.03},
    {50422, 2839, Versions::From, 4.11},

    // SQL Server
    {50120, 2658},
    {50121, 2659},
    {50122, 2665},
    {50123, 2667},
    {50124, 2660},
    {50125, 2651},
    {50126, 138},
    {50127, 2645},
    {50128, 2662},
    {50129, 2647},
    {50130, 2646},
    {50298, 2778},
    {50299, 2779},
    {50300, 2780},
    {50301, 2781},
    {50302, 2782},
    {50462, 135},
    {50481, 19547},

    // Sybase
    {50101, 2658},
    {50102, 2659},
    {50105, 2666},
    {50107, 2661},
    {50108, 2660},
    {50109, 138},
    {50110, 2668},
    {50111, 2648},
    {50112, 2653},
    {50113, 2652},
    {50114, 2642},
    {50115, 2643},
    {50116, 2644},
    {50118, 2662},
};

// Settings of the request that travel among the options of every server.
constexpr unsigned int MaxErrorCountOption = 50147;
constexpr unsigned int SpecificParserOption = 50385;

bool Holds(const OptionRow& row, double version) {
    switch (row.versions) {
        case Versions::All:
            return true;
        case Versions::From:
            return version >= row.version;
        case Versions::Below:
            return version < row.version;
    }
    return false;
}

// A variant of a type that does not convert raises an error of the component world, which says nothing to the
// user of a request.
template <class T>
T ReadOption(unsigned int option, const _variant_t& value) {
    try {
        return static_cast<T>(value);
    } catch (const _com_error&) {
        throw qxutils::QXException("Query option " + std::to_string(option) + " has a value of a wrong type");
    }
}

std::string NarrowText(const _variant_t& value) {
    const _bstr_t text = value;
    const char* const narrow = text;
    return narrow == nullptr ? std::string() : std::string(narrow);
}

}  // namespace

void DBMSHandler::SetOptionsIDSMap(const qxdb::Connection& connection) {
    const double version = connection.GetServerVersionNumber();
    optionRows.clear();
    for (const OptionRow& row : OptionRows) {
        if (Holds(row, version))
            optionRows[row.option] = static_cast<unsigned int>(row.row);
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
    const auto maxErrors = options.find(MaxErrorCountOption);
    if (maxErrors != options.end())
        request.SetMaxErrorCount(ReadOption<int>(MaxErrorCountOption, maxErrors->second));
    // The option asks for the server's own parser, the request's setting for the generic one.
    const auto specificParser = options.find(SpecificParserOption);
    if (specificParser != options.end())
        request.SetUseGenericParser(!ReadOption<bool>(SpecificParserOption, specificParser->second));
}

void DBMSHandler::ResetOptions(qxdb::Connection& connection, const OptionMap& defaults) {
    ExecuteOptions(connection, defaults);
    request.SetMaxRowCount(0);
    request.SetMaxErrorCount(0);
}

}  // namespace qxdbsqlengine
