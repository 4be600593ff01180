#include "tools/qxsql/command_line.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "tools/qxsql/connection_text.h"
#include "tools/qxsql/file_formats.h"
#include "tools/qxsql/progress_line.h"

namespace qxsql {
namespace {

std::optional<CommandLine> Parse(const std::vector<const char*>& arguments, int& exitCode) {
    std::vector<const char*> words{"qxsql"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return ParseCommandLine(static_cast<int>(words.size()), words.data(), exitCode);
}

TEST(CommandLine, TakesConnectionAndSql) {
    int exitCode = -1;
    const auto line = Parse({"sqlite:a.db", "SELECT 1"}, exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ("sqlite:a.db", line->connection);
    EXPECT_EQ("SELECT 1", line->sql.value());
    EXPECT_TRUE(line->headers);
    EXPECT_TRUE(line->quoting);
    EXPECT_TRUE(line->expandTabs);
    EXPECT_FALSE(line->result);
    EXPECT_EQ(0, line->maxRows);
}

TEST(CommandLine, TakesEveryOption) {
    int exitCode = -1;
    const auto line = Parse({"sqlite:a.db",  "-f",          "x.sql",        "-o",
                             "out.csv",      "--format",    "pipe",         "--no-headers",
                             "--no-quoting", "--keep-tabs", "--columns",    "0,2",
                             "--result",     "1",           "--sort",       "name:desc,2",
                             "--max-rows",   "10",          "--max-errors", "3",
                             "--as-strings", "--option",    "50147=2",      "--option",
                             "50403=on",     "--timing",    "--quiet",      "--create",
                             "--rows",       "0-9,20,30-"},
                            exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ("x.sql", line->sqlFile);
    EXPECT_EQ("out.csv", line->outputFile);
    EXPECT_EQ("pipe", line->format);
    EXPECT_FALSE(line->headers);
    EXPECT_FALSE(line->quoting);
    EXPECT_FALSE(line->expandTabs);
    EXPECT_EQ((std::vector<int>{0, 2}), line->columns);
    ASSERT_EQ(3U, line->rows.size());
    EXPECT_EQ(9, line->rows[0].last);
    EXPECT_EQ(20, line->rows[1].first);
    EXPECT_EQ(20, line->rows[1].last);
    EXPECT_EQ(30, line->rows[2].first);
    EXPECT_EQ(-1, line->rows[2].last);
    EXPECT_EQ(1, line->result.value());
    ASSERT_EQ(2U, line->sort.size());
    EXPECT_EQ("name", line->sort[0].column);
    EXPECT_FALSE(line->sort[0].ascending);
    EXPECT_EQ("2", line->sort[1].column);
    EXPECT_TRUE(line->sort[1].ascending);
    EXPECT_EQ(10, line->maxRows);
    EXPECT_EQ(3, line->maxErrors);
    EXPECT_TRUE(line->asStrings);
    ASSERT_EQ(2U, line->options.size());
    EXPECT_EQ(50147U, line->options[0].first);
    EXPECT_EQ("2", line->options[0].second);
    EXPECT_EQ("on", line->options[1].second);
    EXPECT_TRUE(line->timing);
    EXPECT_TRUE(line->quiet);
    EXPECT_TRUE(line->create);
}

TEST(CommandLine, RefusesWhatMakesNoSense) {
    const std::vector<std::vector<const char*>> cases{
        {},
        {"--unknown"},
        {"sqlite:a.db", "SELECT 1", "-f", "x.sql"},
        {"sqlite:a.db", "SELECT 1", "three"},
        {"--read", "a.csv", "sqlite:a.db"},
        {"sqlite:a.db", "SELECT 1", "--columns", "0,x"},
        {"sqlite:a.db", "SELECT 1", "--max-rows", "-1"},
        {"sqlite:a.db", "SELECT 1", "--max-rows", "many"},
        {"sqlite:a.db", "SELECT 1", "--option", "50147"},
        {"sqlite:a.db", "SELECT 1", "--option", "x=1"},
        {"sqlite:a.db", "SELECT 1", "--option", "-1=1"},
        {"sqlite:a.db", "SELECT 1", "--format", "pdf"},
        {"sqlite:a.db", "SELECT 1", "--format", "HTML"},
        {"sqlite:a.db", "SELECT 1", "--format", "html", "--delimiter", ";"},
        {"sqlite:a.db", "SELECT 1", "--aligned", "--format", "tab"},
        {"sqlite:a.db", "SELECT 1", "--aligned", "-o", "a.txt"},
        {"sqlite:a.db", "SELECT 1", "--table"},
        {"sqlite:a.db", "SELECT 1", "--table", "t"},
        {"sqlite:a.db", "SELECT 1", "--table", "", "--format", "insert"},
        {"sqlite:a.db", "SELECT 1", "--table", "t", "-o", "a.csv"},
        {"sqlite:a.db", "SELECT 1", "--read-format", "xml"},
        {"sqlite:a.db", "SELECT 1", "--rows", "1-x"},
        {"sqlite:a.db", "SELECT 1", "--rows", "-1"},
        {"sqlite:a.db", "SELECT 1", "--rows", "3-1"},
        {"sqlite:a.db", "SELECT 1", "--rows", "1,,2"},
        {"--read", "a.csv", "--read-format", "html"},
        {"--read", "a.csv", "--read-format", "pdf"},
        {"--read", "a.csv", "--read-format", "pipe", "--delimiter", ";"},
        {"--read", "a.html"},
        {"--read", "a.xls"},
        {"--read", "a.sql"},
        {"--read", "a.csv", "--dbtype", "mysql"},
        {"--read", "a.csv", "--dialect", "mysql"},
        {"sqlite:a.db", "SELECT 1", "--dialect", "mysql", "--format", "xml"},
        {"--read", "a.csv", "--dbtype", "mysql", "--format", "xml"},
        {"sqlite:a.db", "SELECT 1", "--delimiter", "ab"},
        {"sqlite:a.db", "SELECT 1", "--delimiter", ";", "--format", "tab"},
        {"sqlite:a.db", "SELECT 1", "--sort", "a,,b"},
        {"sqlite:a.db", "SELECT 1", "--sort", ":desc"},
        {"sqlite:a.db", "SELECT 1", "--timeout", "0"},
        {"sqlite:a.db", "SELECT 1", "--timeout", "-1"},
        {"sqlite:a.db", "SELECT 1", "--timeout", "2s"},
        {"sqlite:a.db", "SELECT 1", "--timeout", ""},
        {"sqlite:a.db", "SELECT 1", "--timeout", "nan"},
        {"sqlite:a.db", "SELECT 1", "--timeout", "1e10"},
        {"sqlite:a.db", "SELECT 1", "--separator", "go"},
        {"sqlite:a.db", "-f", "x.sql", "--separator", "go", "--param", "1"},
        {"sqlite:a.db", "-f", "x.sql", "--dialect", "oracle"},
        {"--split", "-f", "x.sql"},
        {"--split", "-f", "x.sql", "--dialect", "sql92"},
        {"--split", "-f", "x.sql", "--dialect", "oracle", "sqlite:a.db"},
        {"--split", "-f", "x.sql", "--dialect", "oracle", "--read", "a.csv"},
        {"--split", "-f", "x.sql", "--dialect", "oracle", "--param", "1"},
        {"--read", "a.csv", "--param", "1"},
        {"sqlite:a.db", "SELECT ?", "--param-type", "int"},
        {"sqlite:a.db", "SELECT ?", "--param-type", "int", "--param-type", "long", "--param", "1"},
        {"sqlite:a.db", "SELECT ?", "--param-type", "number", "--param", "1"},
        {"sqlite:a.db", "SELECT ?", "--param-type", "int", "--param", "x"},
        {"sqlite:a.db", "-f", ""},
        {"sqlite:a.db", "SELECT 1", "-o", ""},
        {"--read", ""},
        {"odbc:a", "SELECT 1", "--user", ""},
        {"odbc:a", "--procedure", ""},
        {"odbc:a", "--function", ""},
        {"sqlite:a.db", "SELECT 1", "--user", "me"},
        {"odbc:a", "SELECT 1", "--dbtype", "postgres"},
        {"odbc:a", "SELECT 1", "--procedure", "p"},
        {"odbc:a", "-f", "x.sql", "--function", "f"},
        {"odbc:a", "--procedure", "p", "--function", "f"},
        {"odbc:a", "--procedure", "p", "--explain"},
        {"odbc:a", "--procedure", "p", "--separator", "go"},
        {"odbc:a", "--procedure", "p", "--param-out", ""},
        {"odbc:a", "--procedure", "p", "--param-type", "int", "--param-out", "x"},
        {"--procedure", "p"},
        {"odbc:a", "SELECT ?", "--param-out", "x"},
        {"odbc:a", "SELECT 1", "--server-output=x"},
        {"odbc:a", "SELECT 1", "--server-output=-1"},
        {"--options"},
        {"odbc:a", "SELECT 1", "--options"},
        {"--options", "--dbtype", "oracle", "-f", "x.sql"},
        {"odbc:a", "--drivers"},
        {"--drivers", "-f", "x.sql"},
        {"--drivers", "--options", "--dbtype", "oracle"},
        {"--read", "a.csv", "--explain"},
        {"--read", "a.csv", "--user", "me"},
        {"--read", "a.csv", "--procedure", "p"},
        {"--read", "a.csv", "--option", "50147=1"},
        {"--split", "-f", "x.sql", "--dialect", "oracle", "--procedure", "p"},
    };
    for (const auto& arguments : cases) {
        int exitCode = -1;
        testing::internal::CaptureStderr();
        EXPECT_FALSE(Parse(arguments, exitCode)) << testing::PrintToString(arguments);
        EXPECT_NE("", testing::internal::GetCapturedStderr()) << testing::PrintToString(arguments);
        EXPECT_EQ(ExitUsage, exitCode) << testing::PrintToString(arguments);
    }
}

TEST(CommandLine, HelpIsNoFailure) {
    int exitCode = -1;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(Parse({"--help"}, exitCode));
    const std::string help = testing::internal::GetCapturedStdout();
    EXPECT_EQ(ExitDone, exitCode);
    EXPECT_NE(std::string::npos, help.find("Exit codes"));
    EXPECT_NE(std::string::npos, help.find("--sort"));
}

TEST(CommandLine, TakesTheOptionsOfScripts) {
    int exitCode = -1;
    const auto run =
        Parse({"sqlite:a.db", "-f", "x.sql", "--separator", "go", "--verbose", "--progress"}, exitCode);
    ASSERT_TRUE(run);
    EXPECT_TRUE(run->IsScript());
    EXPECT_EQ("go", run->separator);
    EXPECT_TRUE(run->verbose);
    EXPECT_TRUE(run->progress);
    EXPECT_FALSE(run->split);
    EXPECT_FALSE(run->timeout);
    EXPECT_EQ(0, run->maxErrors);

    const auto split = Parse({"--split", "-f", "x.sql", "--dialect", "db2zos"}, exitCode);
    ASSERT_TRUE(split);
    EXPECT_TRUE(split->split);
    EXPECT_EQ(qxdb::DBTYPE_DB2OS390, split->dialect->server);

    EXPECT_TRUE(Parse({"sqlite:a.db"}, exitCode)->IsScript());
    EXPECT_FALSE(Parse({"sqlite:a.db", "SELECT 1"}, exitCode)->IsScript());
    EXPECT_FALSE(Parse({"sqlite:a.db", "-f", "x.sql", "--param", "1"}, exitCode)->IsScript());
}

TEST(CommandLine, DialectsOfServers) {
    const struct {
        const char* name;
        int server;
    } cases[] = {{"oracle", 5}, {"db2", 4},    {"db2zos", 10}, {"sqlserver", 3},
                 {"sybase", 2}, {"mysql", 14}, {"other", 101}};
    for (const auto& one : cases) {
        ASSERT_NE(nullptr, FindDialect(one.name)) << one.name;
        EXPECT_EQ(one.server, FindDialect(one.name)->server) << one.name;
    }
    EXPECT_EQ(nullptr, FindDialect("Oracle"));
    EXPECT_EQ(nullptr, FindDialect(""));
    EXPECT_EQ("oracle, db2, db2zos, sqlserver, sybase, mysql, other", DialectNames());
}

TEST(CommandLine, TimeoutsHaveFractions) {
    const struct {
        const char* text;
        long long milliseconds;
    } cases[] = {{"1", 1000}, {"0.25", 250}, {"2.5", 2500}, {"0.0001", 1}, {"86400", 86400000}};
    for (const auto& one : cases) {
        int exitCode = -1;
        const auto line = Parse({"sqlite:a.db", "SELECT 1", "--timeout", one.text}, exitCode);
        ASSERT_TRUE(line) << one.text;
        EXPECT_EQ(one.milliseconds, line->timeout->count()) << one.text;
    }
}

TEST(CommandLine, EachTypeGoesWithTheParameterBehindIt) {
    int exitCode = -1;
    const auto line = Parse({"sqlite:a.db", "--param", "-5", "--param-type", "int", "SELECT ?, ?, ?, ?",
                             "--param", "-5", "--param", "", "--param", "[1,2]"},
                            exitCode);
    ASSERT_TRUE(line);
    ASSERT_EQ(4U, line->parameters.GetParameterCount());
    EXPECT_EQ(qxdb::Column::BindString, line->parameters[0].GetType());
    EXPECT_EQ("-5", line->parameters[0].AsString());
    EXPECT_EQ(qxdb::Column::BindInt, line->parameters[1].GetType());
    EXPECT_EQ(-5, line->parameters[1].AsInt());
    EXPECT_EQ("", line->parameters[2].AsString());
    EXPECT_EQ("[1,2]", line->parameters[3].AsString());
}

TEST(CommandLine, TakesTheOptionsOfServers) {
    int exitCode = -1;
    const auto line = Parse({"odbc:a", "SELECT 1", "--user", "me", "--dbtype", "db2zos", "--explain",
                             "--statistics", "--server-output", "--option", "50147=2", "--option", "5=a=b"},
                            exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ("me", line->user);
    EXPECT_EQ(qxdb::DBTYPE_DB2OS390, line->family->server);
    EXPECT_TRUE(line->explain);
    EXPECT_TRUE(line->statistics);
    EXPECT_EQ(0, line->serverOutput.value());
    ASSERT_EQ(2U, line->options.size());
    EXPECT_EQ(5U, line->options[1].first);
    EXPECT_EQ("a=b", line->options[1].second);
    EXPECT_FALSE(line->IsCall());

    const auto plain = Parse({"odbc:a", "SELECT 1"}, exitCode);
    EXPECT_EQ(nullptr, plain->family);
    EXPECT_FALSE(plain->explain || plain->statistics || plain->serverOutput);
    EXPECT_TRUE(Parse({"--drivers"}, exitCode)->listDrivers);
    EXPECT_TRUE(Parse({"--options", "odbc:a"}, exitCode)->listOptions);
    EXPECT_TRUE(Parse({"--options", "--dbtype", "oracle"}, exitCode)->listOptions);
}

TEST(CommandLine, TakesTheOptionsOfFormats) {
    int exitCode = -1;
    const auto insert = Parse({"odbc:a", "SELECT 1", "--format", "insert", "--table", "s.t"}, exitCode);
    ASSERT_TRUE(insert);
    EXPECT_EQ("insert", insert->format);
    EXPECT_EQ("s.t", insert->table);
    EXPECT_FALSE(insert->aligned);
    EXPECT_TRUE(Parse({"odbc:a", "SELECT 1", "-o", "a.sql", "--table", "t"}, exitCode));
    EXPECT_TRUE(Parse({"odbc:a", "SELECT 1", "--aligned"}, exitCode)->aligned);
    const auto read = Parse({"--read", "a.dat", "--read-format", "xml", "--format", "insert", "--table", "t",
                             "--dbtype", "oracle"},
                            exitCode);
    ASSERT_TRUE(read);
    EXPECT_EQ("xml", read->readFormat);
    EXPECT_EQ(qxdb::DBTYPE_ORACLE, read->family->server);
    const auto other = Parse({"sqlite:a.db", "SELECT 1", "-o", "a.sql", "--dialect", "mysql"}, exitCode);
    ASSERT_TRUE(other);
    EXPECT_EQ(qxdb::DBTYPE_MYSQL, other->dialect->server);
    EXPECT_EQ(nullptr, other->family);
}

// The value may be missing; what is no number behind it is not taken for one.
TEST(CommandLine, BytesOfTheServersOutput) {
    const struct {
        std::vector<const char*> arguments;
        int bytes;
    } cases[] = {
        {{"--server-output", "odbc:a", "SELECT 1"}, 0},
        {{"--server-output", "20000", "odbc:a", "SELECT 1"}, 20000},
        {{"--server-output=20000", "odbc:a", "SELECT 1"}, 20000},
        {{"odbc:a", "--server-output", "SELECT 1"}, 0},
        {{"odbc:a", "SELECT 1", "--server-output", "1"}, 1},
        {{"odbc:a", "SELECT 1", "--server-output"}, 0},
    };
    for (const auto& one : cases) {
        int exitCode = -1;
        const auto line = Parse(one.arguments, exitCode);
        ASSERT_TRUE(line) << testing::PrintToString(one.arguments);
        EXPECT_EQ(one.bytes, line->serverOutput.value());
        EXPECT_EQ("odbc:a", line->connection);
        EXPECT_EQ("SELECT 1", line->sql.value());
    }
}

// Options with one value leave the words behind it alone.
TEST(CommandLine, ValuesDoNotTakeTheSql) {
    int exitCode = -1;
    const auto line = Parse({"--option", "50147=2", "odbc:a", "--param", "1", "SELECT ?"}, exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ("odbc:a", line->connection);
    EXPECT_EQ("SELECT ?", line->sql.value());
}

TEST(CommandLine, CallsTakeTheirParametersAsTheyAre) {
    int exitCode = -1;
    const auto line = Parse({"odbc:a", "--procedure", "p", "--param-type", "int", "--param", "a=1",
                             "--param-out", "b", "--param", "c=x"},
                            exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ(CallKind::Procedure, line->call);
    EXPECT_EQ("p", line->callName);
    EXPECT_FALSE(line->IsScript());
    ASSERT_EQ(3U, line->parameterWords.size());
    EXPECT_EQ("int", line->parameterWords[0].type);
    EXPECT_EQ("a=1", line->parameterWords[0].text);
    EXPECT_FALSE(line->parameterWords[0].isOutput);
    EXPECT_EQ("b", line->parameterWords[1].text);
    EXPECT_TRUE(line->parameterWords[1].isOutput);
    EXPECT_EQ("", line->parameterWords[2].type);
    EXPECT_EQ(CallKind::Function, Parse({"odbc:a", "--function", "f"}, exitCode)->call);
}

TEST(CommandLine, DelimiterByItsName) {
    int exitCode = -1;
    const auto line = Parse({"sqlite:a.db", "SELECT 1", "--delimiter", "\\t"}, exitCode);
    ASSERT_TRUE(line);
    EXPECT_EQ('\t', line->delimiter.value());
}

TEST(ParseSort, LabelsMayHoldColons) {
    const auto terms = ParseSort("a:b,c:d:desc,x:asc");
    ASSERT_EQ(3U, terms.size());
    EXPECT_EQ("a:b", terms[0].column);
    EXPECT_TRUE(terms[0].ascending);
    EXPECT_EQ("c:d", terms[1].column);
    EXPECT_FALSE(terms[1].ascending);
    EXPECT_EQ("x", terms[2].column);
    EXPECT_TRUE(terms[2].ascending);
}

TEST(ConnectionText, DriverAndSource) {
    const struct {
        const char* text;
        const char* driver;
        const char* source;
    } cases[] = {{"sqlite:a.db", "sqlite", "a.db"},
                 {"sqlite::memory:", "sqlite", ":memory:"},
                 {"sqlite:", "sqlite", ""},
                 {"other:Driver=X;Server=y:1", "other", "Driver=X;Server=y:1"}};
    for (const auto& one : cases) {
        const ConnectionText text = ParseConnectionText(one.text);
        EXPECT_EQ(one.driver, text.driver) << one.text;
        EXPECT_EQ(one.source, text.dataSource) << one.text;
    }
    EXPECT_THROW(ParseConnectionText("a.db"), std::invalid_argument);
    EXPECT_THROW(ParseConnectionText(":memory:"), std::invalid_argument);
}

TEST(GroupedNumber, PartsThousands) {
    const struct {
        long long number;
        const char* text;
    } cases[] = {{0, "0"},          {999, "999"},  {1000, "1,000"}, {1234567, "1,234,567"},
                 {-1000, "-1,000"}, {-999, "-999"}};
    for (const auto& one : cases)
        EXPECT_EQ(one.text, GroupedNumber(one.number));
}

}  // namespace
}  // namespace qxsql
