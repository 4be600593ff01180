#include "tools/qxsql/server_options.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "dbms/option_table.h"

namespace qxsql {
namespace {

using Option = std::pair<unsigned int, std::string>;

constexpr double Newest = 1e6;

QueryOptions Make(qxdb::DBTYPE server, const std::vector<Option>& options) {
    CommandLine line;
    line.options = options;
    return MakeQueryOptions(line, server, Newest);
}

std::string Refusal(const CommandLine& line, qxdb::DBTYPE server, double version = Newest) {
    try {
        MakeQueryOptions(line, server, version);
        CheckPlans(line, server);
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return "";
}

// But for the limits of large objects, which are always there.
std::set<unsigned int> IdsOf(const QueryOptions::Map& options) {
    std::set<unsigned int> ids;
    for (const auto& option : options) {
        if (option.first != 50252 && option.first != 50331)
            ids.insert(option.first);
    }
    return ids;
}

TEST(ServerOptions, TheLimitOfErrorsIsAlwaysThere) {
    CommandLine line;
    line.maxErrors = 7;
    const QueryOptions options = MakeQueryOptions(line, qxdb::DBTYPE_SQLITE, 3.4);
    EXPECT_EQ((std::set<unsigned int>{50147}), IdsOf(options.current));
    EXPECT_EQ(7, static_cast<int>(options.current.at(50147)));
    EXPECT_TRUE(options.defaults.empty());
}

TEST(ServerOptions, LargeObjectsAreWhole) {
    const QueryOptions options = Make(qxdb::DBTYPE_ORACLE, {});
    EXPECT_EQ(2147483647, static_cast<int>(options.current.at(50331)));
    EXPECT_EQ(2147483647, static_cast<int>(options.current.at(50252)));
    const QueryOptions limited = Make(qxdb::DBTYPE_ORACLE, {{50331, "100"}});
    EXPECT_EQ(100, static_cast<int>(limited.current.at(50331)));
    EXPECT_TRUE(options.defaults.empty());
}

TEST(ServerOptions, ValuesHaveTheTypeOfTheTable) {
    const struct {
        unsigned int option;
        const char* text;
        int type;
        const char* value;
    } cases[] = {
        {50403, "on", VT_BOOL, "1"},  {50403, "true", VT_BOOL, "1"},  {50403, "1", VT_BOOL, "1"},
        {50403, "off", VT_BOOL, "0"}, {50403, "false", VT_BOOL, "0"}, {50403, "0", VT_BOOL, "0"},
        {50402, "77", VT_I4, "77"},   {50402, "-1", VT_I4, "-1"},     {50147, "3", VT_I4, "3"},
        {50405, "77", VT_BSTR, "77"}, {50424, "", VT_BSTR, ""},       {50424, "a;b", VT_BSTR, "a;b"},
    };
    for (const auto& one : cases) {
        const QueryOptions options = Make(qxdb::DBTYPE_MYSQL, {{one.option, one.text}});
        const _variant_t& value = options.current.at(one.option);
        EXPECT_EQ(one.type, value.vt) << one.option << one.text;
        if (one.type == VT_BOOL)
            EXPECT_EQ(one.value[0] == '1', static_cast<bool>(value));
        else if (one.type == VT_I4)
            EXPECT_EQ(one.value, std::to_string(static_cast<int>(value)));
        else
            EXPECT_EQ(one.value, std::string(_bstr_t(value)));
    }
}

TEST(ServerOptions, Refusals) {
    const struct {
        qxdb::DBTYPE server;
        Option option;
        const char* message;
    } cases[] = {
        {qxdb::DBTYPE_MYSQL, {50402, "x"}, "--option 50402: \"x\" is not a whole number"},
        {qxdb::DBTYPE_MYSQL, {50402, "5 "}, "--option 50402: \"5 \" is not a whole number"},
        {qxdb::DBTYPE_MYSQL, {50402, ""}, "--option 50402: \"\" is not a whole number"},
        {qxdb::DBTYPE_MYSQL, {50402, "4294967296"}, "--option 50402: \"4294967296\" is not a whole number"},
        {qxdb::DBTYPE_MYSQL, {50403, "2"}, "--option 50403: \"2\" is neither on nor off"},
        {qxdb::DBTYPE_MYSQL, {50403, ""}, "--option 50403: \"\" is neither on nor off"},
        {qxdb::DBTYPE_SQLITE,
         {50403, "on"},
         "--option 50403: this server has no such option (--options lists those that it has)"},
        {qxdb::DBTYPE_ORACLE,
         {50385, "on"},
         "--option 50385: this server has no such option (--options lists those that it has)"},
    };
    for (const auto& one : cases) {
        CommandLine line;
        line.options = {one.option};
        EXPECT_EQ(one.message, Refusal(line, one.server));
    }
}

TEST(ServerOptions, TheVersionDecides) {
    CommandLine line;
    line.options = {{50422, "utf8"}};
    EXPECT_EQ("", Refusal(line, qxdb::DBTYPE_MYSQL, 4.11));
    EXPECT_NE("", Refusal(line, qxdb::DBTYPE_MYSQL, 4.1));
}

// Oracle reads what concerns its output from the defaults alone.
TEST(ServerOptions, ServerOutput) {
    CommandLine line;
    line.serverOutput = 20000;
    const QueryOptions options = MakeQueryOptions(line, qxdb::DBTYPE_ORACLE, 10.1);
    EXPECT_EQ((std::set<unsigned int>{50147}), IdsOf(options.current));
    EXPECT_EQ((std::set<unsigned int>{50149, 50206}), IdsOf(options.defaults));
    EXPECT_EQ(VT_BOOL, options.defaults.at(50149).vt);
    EXPECT_TRUE(static_cast<bool>(options.defaults.at(50149)));
    EXPECT_EQ(20000, static_cast<int>(options.defaults.at(50206)));
    const QueryOptions byNumber = Make(qxdb::DBTYPE_ORACLE, {{50149, "on"}, {50206, "5"}, {50313, "9"}});
    EXPECT_EQ((std::set<unsigned int>{50149, 50206}), IdsOf(byNumber.defaults));
    EXPECT_EQ((std::set<unsigned int>{50147, 50313}), IdsOf(byNumber.current));
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_SQLITE, qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_DB2,
                                      qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_OTHER})
        EXPECT_EQ("--server-output is not available for this server", Refusal(line, server)) << server;
}

TEST(ServerOptions, Statistics) {
    CommandLine line;
    line.statistics = true;
    EXPECT_EQ((std::set<unsigned int>{50147, 50287, 50288, 50289, 50306, 50448, 50449, 50450, 50451, 50452}),
              IdsOf(MakeQueryOptions(line, qxdb::DBTYPE_ORACLE, 10.0).current));
    EXPECT_EQ((std::set<unsigned int>{50147, 50287, 50288, 50289, 50306, 50448, 50449, 50450}),
              IdsOf(MakeQueryOptions(line, qxdb::DBTYPE_ORACLE, 9.2).current));
    EXPECT_EQ((std::set<unsigned int>{50122, 50123, 50147}),
              IdsOf(MakeQueryOptions(line, qxdb::DBTYPE_SQLSERVER, 8.0).current));
    // One that is asked for by its number goes before the lot.
    line.options = {{50306, "off"}};
    EXPECT_FALSE(static_cast<bool>(MakeQueryOptions(line, qxdb::DBTYPE_ORACLE, 10.0).current.at(50306)));
    line.options.clear();
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_SQLITE, qxdb::DBTYPE_MYSQL, qxdb::DBTYPE_DB2,
                                      qxdb::DBTYPE_DB2OS390, qxdb::DBTYPE_OTHER})
        EXPECT_EQ("--statistics is not available for this server", Refusal(line, server)) << server;
}

TEST(ServerOptions, Plans) {
    CommandLine line;
    line.explain = true;
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_DB2, qxdb::DBTYPE_DB2OS390,
                                      qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_MYSQL})
        EXPECT_EQ("", Refusal(line, server)) << server;
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_SQLITE, qxdb::DBTYPE_OTHER, qxdb::DBTYPE(77)})
        EXPECT_EQ("--explain is not available for this server; its own EXPLAIN statement may be",
                  Refusal(line, server))
            << server;
}

// Line by line what the table of the library has.
TEST(ServerOptions, ListOfAllOptions) {
    std::ostringstream sqlite;
    PrintOptions(sqlite, qxdb::DBTYPE_SQLITE, 3.4);
    EXPECT_EQ(
        "50147  number  errors after which a script ends, 0: no limit\n"
        "50385  flag    scripts are split by the server's own parser\n",
        sqlite.str());
    for (const qxdb::DBTYPE server : {qxdb::DBTYPE_ORACLE, qxdb::DBTYPE_DB2, qxdb::DBTYPE_DB2OS390,
                                      qxdb::DBTYPE_SQLSERVER, qxdb::DBTYPE_SYBASE, qxdb::DBTYPE_MYSQL}) {
        std::ostringstream out;
        PrintOptions(out, server, Newest);
        std::istringstream lines(out.str());
        std::string line;
        for (const auto& option : qxdbsqlengine::DescribeOptions(server, Newest)) {
            ASSERT_TRUE(std::getline(lines, line)) << option.option;
            EXPECT_EQ(std::to_string(option.option) + "  ", line.substr(0, 7));
            ASSERT_LT(option.text.size(), line.size());
            EXPECT_EQ("  " + option.text, line.substr(line.size() - option.text.size() - 2));
        }
        EXPECT_FALSE(std::getline(lines, line));
    }
}

}  // namespace
}  // namespace qxsql
