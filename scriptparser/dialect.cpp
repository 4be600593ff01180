#include "scriptparser/dialect.h"

#include <string_view>

#include "scriptparser/mysql_splitter.h"
#include "scriptparser/oracle_splitter.h"
#include "scriptparser/standard_splitter.h"
#include "scriptparser/tsql_splitter.h"

namespace qxscriptparser {

namespace {

enum class Family { Common, Oracle, Db2, Tsql, MySql };

struct Name {
    std::string_view name;
    Family family;
};

constexpr Name kNames[] = {
    {"Generic:0", Family::Tsql},
    {"Generic:1", Family::Common},
    {"MySQLGeneric:1", Family::MySql},
    {"DB2OS390Generic:1", Family::Db2},
    {"Oracle92", Family::Oracle},
    {"Oracle9i", Family::Oracle},
    {"Oracle8i", Family::Oracle},
    {"SQL2000", Family::Tsql},
    {"DB28", Family::Db2},
    {"DB272", Family::Db2},
    {"DB271", Family::Db2},
    {"DB26", Family::Db2},
    {"DB2OS3907", Family::Db2},
    {"DB2OS3906", Family::Db2},
    {"Sybase125", Family::Tsql},
    {"Sybase12", Family::Tsql},
    {"MySQL501", Family::MySql},
};

}  // namespace

std::unique_ptr<Splitter> MakeSplitter(const std::string& parserName, const std::string& separator,
                                       ScriptText& text, ItemSink& sink) {
    const std::string given(Trim(separator));
    for (const Name& known : kNames) {
        if (known.name != parserName)
            continue;
        Family family = known.family;
        if (family == Family::Common && given == "/")
            family = Family::Oracle;
        switch (family) {
            case Family::Tsql:
                return std::make_unique<TsqlSplitter>(text, given, sink);
            case Family::Oracle:
                return std::make_unique<OracleSplitter>(text, given, sink);
            case Family::MySql:
                return std::make_unique<MySqlSplitter>(text, given, sink);
            case Family::Db2:
                return std::make_unique<StandardSplitter>(text, given, StandardSplitter::Server::Db2, sink);
            case Family::Common:
                return std::make_unique<StandardSplitter>(
                    text, given,
                    given.empty() ? StandardSplitter::Server::Other : StandardSplitter::Server::Db2, sink);
        }
    }
    return nullptr;
}

}  // namespace qxscriptparser
