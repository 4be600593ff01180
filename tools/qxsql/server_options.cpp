#include "tools/qxsql/server_options.h"

#include <algorithm>
#include <charconv>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "dbms/option_table.h"

namespace qxsql {

using qxdbsqlengine::OptionInfo;
using qxdbsqlengine::OptionKind;

namespace {

const char* NameOf(OptionKind kind) {
    switch (kind) {
        case OptionKind::Flag:
            return "flag";
        case OptionKind::Number:
            return "number";
        case OptionKind::Text:
            return "text";
    }
    return "";
}

[[noreturn]] void Refuse(unsigned int option, const std::string& why) {
    throw std::invalid_argument("--option " + std::to_string(option) + ": " + why);
}

const OptionInfo* Find(const std::vector<OptionInfo>& known, unsigned int option) {
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&](const OptionInfo& info) { return info.option == option; });
    return found == known.end() ? nullptr : &*found;
}

_variant_t ReadFlag(unsigned int option, const std::string& text) {
    for (const char* const on : {"on", "true", "1"}) {
        if (text == on)
            return _variant_t(true);
    }
    for (const char* const off : {"off", "false", "0"}) {
        if (text == off)
            return _variant_t(false);
    }
    Refuse(option, "\"" + text + "\" is neither on nor off");
}

_variant_t ReadNumber(unsigned int option, const std::string& text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        Refuse(option, "\"" + text + "\" is not a whole number");
    return _variant_t(number, VT_I4);
}

_variant_t ReadValue(const OptionInfo& info, const std::string& text) {
    switch (info.kind) {
        case OptionKind::Flag:
            return ReadFlag(info.option, text);
        case OptionKind::Number:
            return ReadNumber(info.option, text);
        case OptionKind::Text:
            break;
    }
    return _variant_t(text.c_str());
}

// Oracle reads what concerns its output from the defaults alone.
bool IsDefault(unsigned int option) {
    return option == qxdbsqlengine::OracleServerOutputOption ||
           option == qxdbsqlengine::OracleOutputBufferSizeOption;
}

// By what is sent for it: Oracle's statistics are queries, those of SQL Server and Sybase come as messages.
bool IsStatistics(const OptionInfo& info) {
    return info.kind == OptionKind::Flag &&
           (info.text.find("V_$MYSTAT") != std::string::npos || info.text.find("SET STATISTICS ") == 0 ||
            info.option == qxdbsqlengine::OracleExecutionInformationOption);
}

void AddStatistics(const std::vector<OptionInfo>& known, QueryOptions& options) {
    bool any = false;
    for (const OptionInfo& info : known) {
        if (!IsStatistics(info))
            continue;
        options.current[info.option] = _variant_t(true);
        any = true;
    }
    if (!any)
        throw std::invalid_argument("--statistics is not available for this server");
}

void AddServerOutput(const std::vector<OptionInfo>& known, int bytes, QueryOptions& options) {
    if (Find(known, qxdbsqlengine::OracleServerOutputOption) == nullptr)
        throw std::invalid_argument("--server-output is not available for this server");
    options.defaults[qxdbsqlengine::OracleServerOutputOption] = _variant_t(true);
    options.defaults[qxdbsqlengine::OracleOutputBufferSizeOption] = _variant_t(bytes, VT_I4);
}

}  // namespace

QueryOptions MakeQueryOptions(const CommandLine& line, qxdb::DBTYPE server, double version) {
    const std::vector<OptionInfo> known = qxdbsqlengine::DescribeOptions(server, version);
    QueryOptions options;
    // Being there it also keeps the map from being empty: a run with no options at all resets the limits of
    // rows and errors, and those of the command line must hold.
    options.current[qxdbsqlengine::MaxErrorCountOption] = _variant_t(line.maxErrors, VT_I4);
    // Where a family has a limit of its own, it counts, and not that of the request.
    for (const unsigned int option :
         {qxdbsqlengine::LobStreamSizeOption, qxdbsqlengine::OracleLobStreamSizeOption})
        options.current[option] = _variant_t(WholeLob, VT_I4);
    if (line.statistics)
        AddStatistics(known, options);
    if (line.serverOutput)
        AddServerOutput(known, *line.serverOutput, options);
    for (const auto& [option, text] : line.options) {
        const OptionInfo* const info = Find(known, option);
        if (info == nullptr)
            Refuse(option, "this server has no such option (--options lists those that it has)");
        (IsDefault(option) ? options.defaults : options.current)[option] = ReadValue(*info, text);
    }
    return options;
}

void CheckPlans(const CommandLine& line, qxdb::DBTYPE server) {
    if (!line.explain)
        return;
    switch (server) {
        case qxdb::DBTYPE_SYBASE:
        case qxdb::DBTYPE_SQLSERVER:
        case qxdb::DBTYPE_DB2:
        case qxdb::DBTYPE_ORACLE:
        case qxdb::DBTYPE_DB2OS390:
        case qxdb::DBTYPE_MYSQL:
            return;
        default:
            throw std::invalid_argument(
                "--explain is not available for this server; its own EXPLAIN statement may be");
    }
}

void PrintOptions(std::ostream& out, qxdb::DBTYPE server, double version) {
    for (const OptionInfo& info : qxdbsqlengine::DescribeOptions(server, version)) {
        std::string kind = NameOf(info.kind);
        kind.resize(6, ' ');
        out << info.option << "  " << kind << "  " << info.text << '\n';
    }
    out.flush();
}

}  // namespace qxsql
