// Parameters of statements, through the qxsql binary.

#include <gtest/gtest.h>

#include <string>

#include "tools/qxsql_fixture.h"

namespace qxtest {
namespace {

class QxsqlParameters : public QxsqlTool {};

TEST_F(QxsqlParameters, EveryTypeReachesTheServer) {
    const struct {
        const char* type;
        const char* value;
        const char* row;  // typeof and value
    } cases[] = {
        {"string", "5", "text\t5"},
        {"short", "-7", "integer\t-7"},
        {"int", "5", "integer\t5"},
        {"long", "2147483647", "integer\t2147483647"},
        {"bigint", "-9223372036854775808", "integer\t-9223372036854775808"},
        {"float", "1.5", "real\t1.5"},
        {"double", "0.1", "real\t0.1"},
        {"decimal", "12345678901234567890.5", "text\t12345678901234567890.5"},
        {"decimal", "1.25", "real\t1.25"},
        {"binary", "00FF", "blob\t00FF"},
        {"timestamp", "2024-02-29 23:59:59.125", "text\t2024-02-29 23:59:59.125"},
        {"null", "", "null\t"},
        {"default", "", "null\t"},
    };
    for (const auto& one : cases) {
        const ToolResult byPosition = Qxsql({"sqlite::memory:", "SELECT typeof(?1) AS t, ?1 AS v",
                                             "--no-headers", "--param-type", one.type, "--param", one.value});
        EXPECT_EQ(0, byPosition.exitCode) << one.type << byPosition.err;
        EXPECT_EQ(std::string(one.row) + "\r\n", byPosition.out) << one.type;
        const ToolResult byName = Qxsql({"sqlite::memory:", "SELECT typeof(:v) AS t, @w AS v", "--no-headers",
                                         "--param-type", one.type, "--param", "w=" + std::string(one.value),
                                         "--param-type", one.type, "--param", "v=" + std::string(one.value)});
        EXPECT_EQ(0, byName.exitCode) << one.type << byName.err;
        EXPECT_EQ(std::string(one.row) + "\r\n", byName.out) << one.type;
    }
}

TEST_F(QxsqlParameters, TextsAreTakenAsTheyAre) {
    const ToolResult result =
        Qxsql({"sqlite::memory:", "SELECT ? AS a, ? AS b, ? AS c, ? AS d", "--no-headers", "--format",
               "comma", "--param", "it's; -- \"x\"", "--param", "=a=b", "--param", "-1", "--param", "[ü]"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("it's; -- \"x\",a=b,-1,[ü]\r\n", result.out);
}

TEST_F(QxsqlParameters, ANameStandsForAllItsPlaces) {
    const ToolResult result =
        Qxsql({"sqlite::memory:", "SELECT :a || :b || :a AS x", "--param", "b=-", "--param", ":a=1"});
    EXPECT_EQ(0, result.exitCode) << result.err;
    EXPECT_EQ("x\r\n1-1\r\n", result.out);
}

TEST_F(QxsqlParameters, StatementsOfFilesAndOfStandardInput) {
    WriteFile(directory.File("q.sql"), "SELECT ? AS n");
    EXPECT_EQ("n\r\n7\r\n", Qxsql({"sqlite::memory:", "-f", directory.File("q.sql"), "--param", "7"}).out);
    EXPECT_EQ("n\r\n8\r\n", Qxsql({"sqlite::memory:", "--param", "8"}, "SELECT ? AS n").out);
    const ToolResult missing = Qxsql({"sqlite::memory:", "-f", directory.File("no.sql"), "--param", "7"});
    EXPECT_EQ(4, missing.exitCode);
    EXPECT_EQ("Cannot read " + directory.File("no.sql") + ": No such file or directory\n", missing.err);
}

TEST_F(QxsqlParameters, ChangesAreCountedAsWithout) {
    MakeShop();
    const ToolResult result = Qxsql({Database(), "UPDATE product SET price = ? WHERE sku LIKE ?",
                                     "--param-type", "decimal", "--param", "9.99", "--param", "TEA%"});
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("2 row(s) affected.\n", result.err);
    EXPECT_EQ(
        "n\r\n2\r\n",
        Qxsql({Database(), "SELECT count(*) AS n FROM product WHERE price = ?", "--param", "9.99"}).out);
}

TEST_F(QxsqlParameters, Refusals) {
    const std::string sql = "SELECT ? AS a, ? AS b";
    const std::string named = "SELECT :a AS a, :b AS b";
    const struct {
        Words arguments;
        int exitCode;
        const char* message;
    } cases[] = {
        {{sql, "--param", "1"}, 2, "--param: the statement has 2 parameter(s), and 1 are given\n"},
        {{sql, "--param", "1", "--param", "2", "--param", "3"},
         2,
         "--param: the statement has 2 parameter(s), and 3 are given\n"},
        {{"SELECT 1", "--param", "1"}, 2, "--param: the statement has 0 parameter(s), and 1 are given\n"},
        {{named, "--param", "a=1"},
         2,
         "--param: nothing is given for the parameter \"b\" of the statement\n"},
        {{named, "--param", "a=1", "--param", "b=2", "--param", "c=3"},
         2,
         "--param: the statement has no parameter \"c\"; it has a, b\n"},
        {{sql, "--param", "a=1", "--param", "b=1"},
         2,
         "--param: the statement has parameters without names, which can only be given without names\n"},
        {{"SELECT 1", "--param", "a=1"}, 2, "--param: the statement has no parameter \"a\"; it has none\n"},
        {{"SELECT FORM ?", "--param", "1"}, 1, "near \"?\": syntax error\n"},
        {{"SELECT ? AS a"}, 1, "The statement has parameters, and was not prepared\n"},
        {{sql, "--param-type", "int", "--param", "x", "--param", "1"},
         2,
         "--param: \"x\" is not a whole number from -2147483648 to 2147483647\n"},
        {{sql, "--param", "1", "--param-type", "int"}, 2, "--param-type int has no --param behind it\n"},
    };
    for (const auto& one : cases) {
        Words words = one.arguments;
        words.insert(words.begin(), "sqlite::memory:");
        const ToolResult result = Qxsql(words);
        EXPECT_EQ(one.exitCode, result.exitCode) << one.message;
        EXPECT_NE(std::string::npos, result.err.find(one.message)) << result.err;
        EXPECT_EQ("", result.out);
    }
}

}  // namespace
}  // namespace qxtest
