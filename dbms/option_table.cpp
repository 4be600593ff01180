#include "dbms/option_table.h"

#include <algorithm>
#include <iterator>

#include "dbms/string_table.h"

namespace qxdbsqlengine {

namespace {

constexpr qxdb::DBTYPE Oracle = qxdb::DBTYPE_ORACLE;
constexpr qxdb::DBTYPE DB2 = qxdb::DBTYPE_DB2;
constexpr qxdb::DBTYPE DB2OS390 = qxdb::DBTYPE_DB2OS390;
constexpr qxdb::DBTYPE MySQL = qxdb::DBTYPE_MYSQL;
constexpr qxdb::DBTYPE SqlServer = qxdb::DBTYPE_SQLSERVER;
constexpr qxdb::DBTYPE Sybase = qxdb::DBTYPE_SYBASE;

constexpr OptionRow OptionRows[] = {
    // statistics of the session
    {Oracle, 50287, 2783, OptionKind::Flag},
    {Oracle, 50289, 2785, OptionKind::Flag},
    {Oracle, 50450, 143, OptionKind::Flag},
    {Oracle, 50288, 136, OptionKind::Flag, Versions::From, 10.0},
    {Oracle, 50288, 137, OptionKind::Flag, Versions::Below, 10.0},
    {Oracle, 50448, 139, OptionKind::Flag, Versions::From, 10.0},
    {Oracle, 50448, 140, OptionKind::Flag, Versions::Below, 10.0},
    {Oracle, 50449, 141, OptionKind::Flag, Versions::From, 10.0},
    {Oracle, 50449, 142, OptionKind::Flag, Versions::Below, 10.0},
    {Oracle, 50451, 144, OptionKind::Flag, Versions::From, 10.0},
    {Oracle, 50452, 145, OptionKind::Flag, Versions::From, 10.0},

    {MySQL, 50403, 2820, OptionKind::Flag},
    {MySQL, 50404, 2821, OptionKind::Flag},
    {MySQL, 50405, 2822, OptionKind::Text},
    {MySQL, 50423, 2840, OptionKind::Flag},
    {MySQL, 50406, 2823, OptionKind::Flag, Versions::From, 3.2211},
    {MySQL, 50407, 2824, OptionKind::Flag, Versions::From, 3.2223},
    {MySQL, 50408, 2825, OptionKind::Flag, Versions::From, 3.225},
    {MySQL, 50409, 2826, OptionKind::Flag, Versions::From, 3.225},
    {MySQL, 50410, 2827, OptionKind::Flag, Versions::From, 3.2313},
    {MySQL, 50411, 2828, OptionKind::Flag, Versions::From, 3.2316},
    {MySQL, 50412, 2829, OptionKind::Flag, Versions::From, 3.2326},
    {MySQL, 50413, 2830, OptionKind::Number, Versions::From, 3.235},
    {MySQL, 50414, 2831, OptionKind::Text, Versions::From, 3.235},
    {MySQL, 50415, 2832, OptionKind::Flag, Versions::From, 3.2352},
    {MySQL, 50416, 2833, OptionKind::Flag, Versions::From, 3.2352},
    {MySQL, 50402, 2819, OptionKind::Number, Versions::From, 3.237},
    {MySQL, 50418, 2835, OptionKind::Flag, Versions::From, 4.0},
    {MySQL, 50419, 2836, OptionKind::Text, Versions::From, 4.01},
    {MySQL, 50420, 2837, OptionKind::Number, Versions::From, 4.03},
    {MySQL, 50421, 2838, OptionKind::Number, Versions::From, 4.03},
    {MySQL, 50422, 2839, OptionKind::Text, Versions::From, 4.11},

    {SqlServer, 50120, 2658, OptionKind::Flag},
    {SqlServer, 50121, 2659, OptionKind::Flag},
    {SqlServer, 50122, 2665, OptionKind::Flag},
    {SqlServer, 50123, 2667, OptionKind::Flag},
    {SqlServer, 50124, 2660, OptionKind::Flag},
    {SqlServer, 50125, 2651, OptionKind::Flag},
    {SqlServer, 50126, 138, OptionKind::Number},
    {SqlServer, 50127, 2645, OptionKind::Flag},
    {SqlServer, 50128, 2662, OptionKind::Flag},
    {SqlServer, 50129, 2647, OptionKind::Flag},
    {SqlServer, 50130, 2646, OptionKind::Flag},
    {SqlServer, 50298, 2778, OptionKind::Flag},
    {SqlServer, 50299, 2779, OptionKind::Flag},
    {SqlServer, 50300, 2780, OptionKind::Flag},
    {SqlServer, 50301, 2781, OptionKind::Flag},
    {SqlServer, 50302, 2782, OptionKind::Flag},
    {SqlServer, 50462, 135, OptionKind::Flag},
    {SqlServer, 50481, 19547, OptionKind::Flag},

    {Sybase, 50101, 2658, OptionKind::Flag},
    {Sybase, 50102, 2659, OptionKind::Flag},
    {Sybase, 50105, 2666, OptionKind::Flag},
    {Sybase, 50107, 2661, OptionKind::Flag},
    {Sybase, 50108, 2660, OptionKind::Flag},
    {Sybase, 50109, 138, OptionKind::Number},
    {Sybase, 50110, 2668, OptionKind::Number},
    {Sybase, 50111, 2648, OptionKind::Flag},
    {Sybase, 50112, 2653, OptionKind::Number},
    {Sybase, 50113, 2652, OptionKind::Flag},
    {Sybase, 50114, 2642, OptionKind::Flag},
    {Sybase, 50115, 2643, OptionKind::Flag},
    {Sybase, 50116, 2644, OptionKind::Flag},
    {Sybase, 50118, 2662, OptionKind::Flag},
};

constexpr const char* MaxRowCountMeaning = "greatest number of rows of a result set, 0: no limit";
constexpr const char* LobStreamSizeMeaning = "bytes of a large object that are read without a locator";

// What a handler does with an option by itself. DBTYPE_UNSET: every server.
struct HandlerOption {
    qxdb::DBTYPE server;
    unsigned int option;
    OptionKind kind;
    const char* meaning;
};
constexpr HandlerOption HandlerOptions[] = {
    {qxdb::DBTYPE_UNSET, MaxErrorCountOption, OptionKind::Number,
     "errors after which a script ends, 0: no limit"},
    {qxdb::DBTYPE_UNSET, SpecificParserOption, OptionKind::Flag,
     "scripts are split by the server's own parser"},
    {Oracle, OracleServerOutputOption, OptionKind::Flag, "show the server's output (a default option)"},
    {Oracle, OracleOutputBufferSizeOption, OptionKind::Number,
     "bytes of the buffer of the server's output, 0: the server's choice (a default option)"},
    {Oracle, OracleExecutionInformationOption, OptionKind::Flag,
     "execution information before and after the run"},
    {Oracle, OracleMaxRowCountOption, OptionKind::Number, MaxRowCountMeaning},
    {Oracle, OracleLobStreamSizeOption, OptionKind::Number, LobStreamSizeMeaning},
    {DB2, LobStreamSizeOption, OptionKind::Number, LobStreamSizeMeaning},
    {DB2, DB2MaxRowCountOption, OptionKind::Number, MaxRowCountMeaning},
    {DB2, DB2SystemSchemaOption, OptionKind::Flag, "explain into the tables of the schema SYSTOOLS"},
    {DB2, DB2CreateTablesOption, OptionKind::Flag, "create explain tables that are missing"},
    {DB2, DB2IsolationOption, OptionKind::Number,
     "isolation, above version 8.01: 0 reset, 1 UR, 2 CS, 3 RR, 4 RS"},
    {DB2OS390, LobStreamSizeOption, OptionKind::Number, LobStreamSizeMeaning},
    {DB2OS390, DB2MaxRowCountOption, OptionKind::Number, MaxRowCountMeaning},
    {SqlServer, LobStreamSizeOption, OptionKind::Number, LobStreamSizeMeaning},
    {SqlServer, SQLServerIsolationOption, OptionKind::Number,
     "isolation: 0 READ COMMITTED, 1 READ UNCOMMITTED, 2 REPEATABLE READ, 3 SERIALIZABLE"},
    {Sybase, LobStreamSizeOption, OptionKind::Number, LobStreamSizeMeaning},
    {MySQL, MySQLStartUpCommandsOption, OptionKind::Text,
     "commands run before the first statement, separated by ;"},
    {MySQL, MySQLMaxRowCountOption, OptionKind::Number, MaxRowCountMeaning},
};

// Oracle takes no notice of the choice of a parser.
bool Heeds(qxdb::DBTYPE server, const HandlerOption& entry) {
    if (server == Oracle && entry.option == SpecificParserOption)
        return false;
    return entry.server == qxdb::DBTYPE_UNSET || entry.server == server;
}

}  // namespace

bool OptionRow::Holds(double serverVersion) const {
    switch (versions) {
        case Versions::All:
            return true;
        case Versions::From:
            return serverVersion >= version;
        case Versions::Below:
            return serverVersion < version;
    }
    return false;
}

const OptionRow* GetOptionRows() {
    return OptionRows;
}

std::size_t GetOptionRowCount() {
    return std::size(OptionRows);
}

std::vector<OptionInfo> DescribeOptions(qxdb::DBTYPE server, double version) {
    RegisterSqlStrings();
    std::vector<OptionInfo> infos;
    for (const OptionRow& entry : OptionRows) {
        if (entry.server == server && entry.Holds(version))
            infos.push_back({entry.option, entry.kind, ResourceLoader::LoadString(entry.row)});
    }
    for (const HandlerOption& entry : HandlerOptions) {
        if (Heeds(server, entry))
            infos.push_back({entry.option, entry.kind, entry.meaning});
    }
    const auto addPlaced = [&infos](const PlacedOption& entry) {
        infos.push_back({entry.option, OptionKind::Flag, ResourceLoader::LoadString(entry.row)});
    };
    if (server == SqlServer)
        addPlaced(SQLServerAnsiDefaults);
    if (server == Sybase) {
        for (const PlacedOption& entry : SybaseLastOptions)
            addPlaced(entry);
        for (const TraceFlagOption& entry : SybaseTraceFlagOptions)
            infos.push_back({entry.option, OptionKind::Flag, "trace flag " + std::string(entry.flag)});
    }
    std::sort(infos.begin(), infos.end(),
              [](const OptionInfo& left, const OptionInfo& right) { return left.option < right.option; });
    return infos;
}

}  // namespace qxdbsqlengine
