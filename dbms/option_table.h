// The option vocabulary of all servers: which option id means what.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/export.h"
#include "platform/qxdb/types.h"

namespace qxdbsqlengine {

// What a caller puts into the map: VT_BOOL, VT_I4 or VT_INT, VT_BSTR.
enum class OptionKind { Flag, Number, Text };

enum class Versions { All, From, Below };

// An option that is sent as a row of the string table. Ids are disjoint by server, but for rows that depend
// on the version: where several rows of one option hold, the last counts.
struct OptionRow {
    qxdb::DBTYPE server;
    unsigned int option;
    int row;  // of the string table
    OptionKind kind;
    Versions versions = Versions::All;
    double version = 0.0;  // of the server

    bool Holds(double serverVersion) const;
};
const OptionRow* GetOptionRows();
std::size_t GetOptionRowCount();

// Options that a handler acts upon by itself.
constexpr unsigned int MaxErrorCountOption = 50147;
constexpr unsigned int SpecificParserOption = 50385;
constexpr unsigned int OracleServerOutputOption = 50149;
constexpr unsigned int OracleOutputBufferSizeOption = 50206;
constexpr unsigned int OracleExecutionInformationOption = 50306;
constexpr unsigned int OracleMaxRowCountOption = 50313;
constexpr unsigned int OracleLobStreamSizeOption = 50331;
constexpr unsigned int LobStreamSizeOption = 50252;  // both DB2 families, SQL Server, Sybase
constexpr unsigned int DB2MaxRowCountOption = 50314;
constexpr unsigned int DB2SystemSchemaOption = 50470;
constexpr unsigned int DB2CreateTablesOption = 50472;
constexpr unsigned int DB2IsolationOption = 50473;
constexpr unsigned int MySQLStartUpCommandsOption = 50424;
constexpr unsigned int MySQLMaxRowCountOption = 50463;
constexpr unsigned int SQLServerIsolationOption = 50131;

// Flags that a handler sends at a place of its own in the batch of options, outside the table above.
struct PlacedOption {
    unsigned int option;
    int row;  // of the string table
};
constexpr PlacedOption SQLServerAnsiDefaults = {50286, 2776};
// In the order in which they are sent.
constexpr PlacedOption SybaseLastOptions[] = {{50103, 2665}, {50104, 2667}, {50106, 2651}, {50100, 2664}};

// Flags that switch a trace flag on, in the order in which the flags are sent.
struct TraceFlagOption {
    unsigned int option;
    const char* flag;
};
constexpr TraceFlagOption SybaseTraceFlagOptions[] = {
    {50359, "3604"}, {50360, "3605"}, {50357, "302"}, {50358, "310"}};

// One option as a user of a server sees it.
struct OptionInfo {
    unsigned int option;
    OptionKind kind;
    std::string text;  // the SQL that is sent, its value as %s or %d, or else what the option does
};
// The options that a run on a server of this type and version heeds, in order of their ids.
QXSENG2_API std::vector<OptionInfo> DescribeOptions(qxdb::DBTYPE server, double version);

}  // namespace qxdbsqlengine
